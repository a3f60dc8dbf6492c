// The 77 entry points of the provider.
#include "providers/cdp/cdp_plugin.h"

#define FI_PROVIDER cdpfi
#define FI_PLUGIN_CLASS cdpfi::CCDPPlugin

#include "pdk/include/cfiapiexport.h"
