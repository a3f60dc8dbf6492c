// The configuration store of a component.
#include <climits>
#include <utility>

#include "framework/include/cficonfiguration.h"
#include "fuzz/root_folder.h"

using fuzz::require;
using obzx_pdk_4_4::CFiConfiguration;

namespace {

constexpr std::pair<const char*, const char*> VALUES[] = {{"FI_TRACE", "LEVEL"},
                                                          {"FI_TRACE", "FILE"},
                                                          {"FI_TRACE", "MAX_SIZE"},
                                                          {"FI_EXEC", "MAX_TIMEOUT"},
                                                          {"FI_NETWORK", "LOCAL_NAME"},
                                                          {"LMR_CLI_CONFIG", "LMR_LMSH_PATH"},
                                                          {"LMR_CLI_CONFIG", "LMR_LMSH_NAME"}};

constexpr std::string_view UNTOUCHED = "untouched";

std::string read(CFiConfiguration& store, const char* section, const char* name)
{
    ACE_Configuration_Section_Key key;
    ACE_String_Base<char> value(UNTOUCHED.data());
    if (store.openSection(section, key, 1) != 0 || store.getStringValue(name, value) != 0) {
        require(value == UNTOUCHED.data(), "a value that is not there leaves the text alone");
        return {};
    }
    return {value.fast_rep(), value.length()};
}

void requireValues(const std::string& text)
{
    CFiConfiguration store("fuzz");
    for (const auto& [section, name] : VALUES) {
        const std::string value = read(store, section, name);
        require(text.find(value) != std::string::npos, "a value stands in the file");
        long number = -1;
        if (store.getIntegerValue(name, number) == 0)
            require(number >= 0 && number <= INT_MAX, "a number is one of those that are documented");
        else
            require(number == -1, "a number that is not there leaves the value alone");
    }
}

// Letters, digits and the marks of a path, as the values of the store are.
std::string plainText(std::string_view text)
{
    std::string plain;
    for (const char c : text.substr(0, 200)) {
        const auto byte = static_cast<unsigned char>(c);
        plain += "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789/._-"[byte % 66];
    }
    return plain;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const fuzz::CRootFolder root;
    const std::string text(fuzz::textOf(data, size));
    root.write("fuzz.conf", text);
    requireValues(text);

    const std::string value = plainText(text);
    root.write("fuzz.conf", "[FI_TRACE]\nLEVEL=3\n[FI_NETWORK]\nLOCAL_NAME=" + value + "\nOTHER=1\n");
    CFiConfiguration store("fuzz");
    require(read(store, "FI_NETWORK", "LOCAL_NAME") == value, "a value that is written is read back the same");
    return 0;
}
