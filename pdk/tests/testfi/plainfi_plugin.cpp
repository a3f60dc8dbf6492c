// The smallest provider there is: every operation is the framework's own.
#include "framework/include/cfiplugininterposer.h"

namespace plainfi {

class CPlainPlugin : public obzx_pdk_4_4::CFiPluginInterposer
{
};

}  // namespace plainfi

#define FI_PROVIDER plainfi
#define FI_PLUGIN_CLASS plainfi::CPlainPlugin
#include "pdk/include/cfiapiexport.h"
