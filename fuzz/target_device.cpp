// Tagged values: the reader of single tags, and the names of target devices that are made of them.
#include "fuzz/fuzz.h"
#include "providers/cdp/cdp_names.h"
#include "providers/cdp/cdp_state_text.h"
#include "providers/cdp/cdp_text.h"

using cdpfi::CString;
using fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string_view text = fuzz::textOf(data, size);
    const cdpfi::STargetDevice target = cdpfi::parseTargetDevice(text);
    for (const CString* value : {&target.m_source, &target.m_checkPoint}) {
        require(text.find(cdpfi::bytesOf(*value)) != std::string_view::npos, "a value stands in the name");
    }

    fuzz::CInput input(data, size);
    const CString serial = cdpfi::textOf(input.text(input.byte()));
    const CString checkPoint = cdpfi::textOf(input.rest());
    const CString name = cdpfi::targetDeviceName("", cdpfi::bytesOf(serial), cdpfi::bytesOf(checkPoint));
    const cdpfi::STargetDevice again = cdpfi::parseTargetDevice(cdpfi::bytesOf(name));
    if (text.find('<') == std::string_view::npos) {
        require(again.m_source == serial, "the serial of a name that was made is read back");
        require(again.m_checkPoint == checkPoint, "the checkpoint of a name that was made is read back");
    }
    return 0;
}
