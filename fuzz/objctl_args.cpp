// The text of an object-control request.
#include "pdk/include/cfiobjctlargs.h"

#include "fuzz/fuzz.h"

using fuzz::require;
using obzx_pdk_4_4::CFiKeyValuePair;
using obzx_pdk_4_4::CFiObjctlArgs;

namespace {

std::string bytes(const ACE_String_Base<char>& text)
{
    return {text.fast_rep(), text.length()};
}

CFiObjctlArgs::CPairs read(std::string text)
{
    CFiObjctlArgs args;
    require(args.importArgs(text.data()) == 0, "a request is always taken");
    return args.getInputs();
}

std::string write(const CFiObjctlArgs::CPairs& pairs)
{
    CFiObjctlArgs args;
    for (const CFiKeyValuePair& pair : pairs) {
        args.addOutput(pair);
    }
    std::string reply = bytes(args.exportArgs());
    constexpr std::string_view OUTPUT = "OBJCTL_OUTPUT arg=";
    for (size_t at = reply.find(OUTPUT); at != std::string::npos; at = reply.find(OUTPUT, at)) {
        reply.replace(at, OUTPUT.size(), "OBJCTL_INPUT arg=");
    }
    return reply;
}

// The request begins with the elements, written in the one form that is read.
void requireFound(const std::string& text, const CFiObjctlArgs::CPairs& pairs)
{
    std::string written = "<OBJCTL_ARG_LIST>";
    for (const CFiKeyValuePair& pair : pairs) {
        for (const ACE_String_Base<char>* value : {&pair.m_arg, &pair.m_value, &pair.m_type}) {
            require(!value->is_empty() && bytes(*value).find(' ') == std::string::npos, "a value has no blank");
        }
        written += " <OBJCTL_INPUT arg=" + bytes(pair.m_arg) + " value=" + bytes(pair.m_value) +
                   " type=" + bytes(pair.m_type) + " />";
    }
    require(pairs.empty() || text.substr(0, written.size()) == written, "the elements stand in the request as written");
}

bool same(const CFiObjctlArgs::CPairs& a, const CFiObjctlArgs::CPairs& b)
{
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i) {
        if (a[i].m_arg != b[i].m_arg || a[i].m_value != b[i].m_value || a[i].m_type != b[i].m_type) return false;
    }
    return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string text(fuzz::textOf(data, size));
    const CFiObjctlArgs::CPairs pairs = read(text);
    requireFound(text, pairs);
    const std::string written = write(pairs);
    // A value may itself be called like an element; then the text that is put in its place differs.
    if (text.find("OBJCTL_OUTPUT") == std::string::npos) {
        require(same(read(written), pairs), "arguments that are written are read back the same");
    }
    return 0;
}
