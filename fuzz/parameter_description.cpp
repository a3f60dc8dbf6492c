// The description of a provider's configuration values.
#include "framework/src/plugin/parameter_parser.h"

#include <algorithm>
#include <set>

#include "fuzz/fuzz.h"

using fuzz::require;
using obzx_pdk_4_4::CFiConfigParamInfo;
using obzx_pdk_4_4::CFiConfigParamInfoList;

namespace {

std::string escaped(const std::string& text)
{
    std::string result;
    for (const char c : text) {
        result += std::string_view("<>&\"'").find(c) == std::string_view::npos
                      ? std::string(1, c)
                      : "&#" + std::to_string(static_cast<int>(c)) + ";";
    }
    return result;
}

std::string write(const CFiConfigParamInfoList& parameters)
{
    std::string xml = "<parameters>";
    for (const CFiConfigParamInfo& info : parameters) {
        xml += "<parameter name=\"" + escaped(info.name) + "\" type=\"" + escaped(info.type) + "\" default=\"" +
               escaped(info.defaultValue) + "\"><help>" + escaped(info.help) + "</help></parameter>";
    }
    return xml + "</parameters>";
}

// Printable ASCII: what stands in an attribute as it is.
bool isPlain(const std::string& text)
{
    for (const char c : text) {
        if (c < ' ' || c > '~') return false;
    }
    return true;
}

bool same(const CFiConfigParamInfo& a, const CFiConfigParamInfo& b)
{
    return a.name == b.name && a.type == b.type && a.defaultValue == b.defaultValue && a.help == b.help;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    CFiConfigParamInfoList parameters;
    if (!obzx_pdk_4_4::parseParameterDescription(std::string(fuzz::textOf(data, size)), parameters)) return 0;
    std::set<std::string> names;
    bool plain = true;
    for (const CFiConfigParamInfo& info : parameters) {
        require(!info.name.empty(), "a parameter has a name");
        require(names.insert(info.name).second, "a name stands once");
        require(info.help.find_first_of("\t\r\n") == std::string::npos, "a help text is one line");
        for (const std::string* text : {&info.name, &info.type, &info.defaultValue, &info.help}) {
            plain = plain && isPlain(*text);
        }
    }
    CFiConfigParamInfoList again;
    require(!plain || obzx_pdk_4_4::parseParameterDescription(write(parameters), again), "what is written can be read");
    require(!plain || std::equal(parameters.begin(), parameters.end(), again.begin(), again.end(), same),
            "parameters that are written are read back the same");
    return 0;
}
