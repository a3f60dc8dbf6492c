#pragma once

#include <ace/SString.h>

namespace cdpfi {

/// Names, device paths, serials and command lines of the model.
using CString = ACE_String_Base<char>;

/// One LUN that a consistency group protects.
struct SCDPDeviceInfo
{
    CString m_device;  ///< as the appliance names it
    CString m_serial;
};

}  // namespace cdpfi
