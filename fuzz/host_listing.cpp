// The appliance's answer to "list hosts".
#include "providers/cdp/lmr/listings/lmr_inventory_listing.h"

#include "fuzz/listing.h"

using cdpfi::CString;
using fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::vector<std::string> lines = fuzz::linesOf(data, size);
    const std::vector<CString> names = cdpfi::parseHostNames(lines);
    require(names.size() <= lines.size(), "a line names one host at most");
    size_t line = 0;
    std::vector<std::string> written;
    for (const CString& name : names) {
        const std::string_view text = cdpfi::bytesOf(name);
        while (line < lines.size() && lines[line].find(text) == std::string::npos) {
            ++line;
        }
        require(line < lines.size(), "the hosts stand in the listing in their order");
        written.push_back(std::string(text) + "  10.0.0.7");
    }
    bool plain = true;  // a name that is nothing but a carriage return is trimmed away
    for (const CString& name : names) {
        plain = plain && !name.is_empty();
    }
    require(!plain || cdpfi::parseHostNames(written) == names, "hosts that are written are read back the same");
    return 0;
}
