// The line reader of the appliance list, and the registry that is made of its lines.
#include "base/tests/test_root.h"
#include "fuzz/fuzz.h"
#include "providers/cdp/cdp_appliance_factory.h"
#include "providers/cdp/cdp_support.h"
#include "providers/cdp/cdp_text.h"

using fuzz::require;

namespace {

constexpr size_t LONGEST_LINE = 4095;

std::string joined(const std::vector<std::string>& lines)
{
    std::string text;
    for (const std::string& line : lines) {
        text += (&line == &lines.front() ? "" : "\n") + line;
    }
    return text;
}

void requireNamed(const std::string& text)
{
    cdpfi::CCDPApplianceFactory registry;
    registry.initialize();
    for (const cdpfi::CAppliancePtr& appliance : registry.getApplianceList()) {
        const cdpfi::CString name = appliance->getName();
        const std::string found(cdpfi::bytesOf(name));
        require(!found.empty() && found.find_first_of(":=\n") == std::string::npos, "a name is a part of one line");
        require(text.find(found) != std::string::npos, "an appliance is named in the file");
        require(text.find("RSURL") != std::string::npos, "only a line with the mark names an appliance");
        require(registry.getApplianceInstance(name).get() == appliance.get(), "an appliance is found by its name");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const base_test::CTestRoot root;
    const std::string text(fuzz::textOf(data, size));
    root.write("etc/qz/hls.conf", text);
    std::vector<std::string> lines;
    cdpfi::CDPSupportFunction::readFile((root / "etc/qz/hls.conf").string(), lines);
    bool whole = true;
    for (const std::string& line : lines) {
        require(line.size() <= LONGEST_LINE && line.find('\n') == std::string::npos, "a line is one line, cut if long");
        whole = whole && line.size() < LONGEST_LINE;
    }
    require(!whole || joined(lines) == text, "the lines together are the file");
    requireNamed(text);
    return 0;
}
