// The configuration store of a component.
#include <ace/Configuration_Import_Export.h>

#include <climits>
#include <utility>
#include <vector>

#include "base/tests/test_root.h"
#include "framework/include/cficonfiguration.h"
#include "framework/include/cfistringtool.h"
#include "fuzz/fuzz.h"

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

std::vector<std::string> linesOf(const std::string& text)
{
    std::vector<std::string> lines(1);
    for (const char c : text) {
        if (c == '\n') {
            lines.emplace_back();
        } else {
            lines.back() += c;
        }
    }
    return lines;
}

void requireValues(const std::string& text)
{
    CFiConfiguration store("fuzz");
    const std::vector<std::string> lines = linesOf(text);
    for (const auto& [section, name] : VALUES) {
        const std::string value = read(store, section, name);
        const auto line = static_cast<size_t>(store.lineOf(section, name));
        require(line <= lines.size(), "a value stands on a line of the file");
        require(line != 0 || value.empty(), "a value that stands nowhere is none");
        if (line != 0) {
            const std::string& whole = lines[line - 1];
            require(whole.find(name) < whole.find('=') && whole.find(value) != std::string::npos,
                    "name and value stand on the line that is told");
        }
        long number = -1;
        if (store.getIntegerValue(name, number) == 0) {
            require(number >= 0 && number <= INT_MAX, "a number is one of those that are documented");
        } else {
            require(number == -1, "a number that is not there leaves the value alone");
        }
    }
}

// The text without the lines that cannot be read; they are told in order and as they stand.
std::string readablePart(const std::string& text)
{
    const CFiConfiguration store("fuzz");
    std::vector<std::string> lines = linesOf(text);
    long former = 0;
    for (const obzx_pdk_4_4::SFiUnreadableLine& line : store.unreadableLines()) {
        require(line.m_line > former && static_cast<size_t>(line.m_line) <= lines.size(), "a line is told once");
        former = line.m_line;
        std::string& whole = lines[static_cast<size_t>(line.m_line) - 1];
        require(!line.m_text.empty() && whole.find(line.m_text) != std::string::npos, "a line is told as it stands");
        whole.clear();
    }
    std::string rest;
    for (const std::string& line : lines) {
        rest += line + '\n';
    }
    return rest;
}

std::vector<std::string> allValues()
{
    CFiConfiguration store("fuzz");
    std::vector<std::string> values;
    for (const auto& [section, name] : VALUES) {
        values.push_back(read(store, section, name));
        values.push_back(std::to_string(store.lineOf(section, name)));
    }
    return values;
}

// Whether the library's own store of this form would read the text as it is meant: it takes long lines apart, gives
// paths of names a meaning, reads past a value that is one quote, and knows nothing of other bytes.
bool isTame(const std::string& text)
{
    // Whether it takes names that differ in case for one depends on where they fall in its tables.
    constexpr std::string_view NAME_CHARACTERS = "ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_";
    constexpr size_t LONGEST = 200;
    size_t begin = 0;
    for (size_t i = 0; i <= text.size(); ++i) {
        if (i < text.size() && text[i] != '\n') {
            if (text[i] != '\t' && (text[i] < ' ' || text[i] > '~')) return false;
            continue;
        }
        const std::string line = obzx_pdk_4_4::CFiStringTool::trim(text.substr(begin, i - begin), " \t");
        begin = i + 1;
        if (line.size() > LONGEST || line.ends_with("=\"") || line.ends_with(" \"") || line.ends_with("\t\"")) {
            return false;
        }
        if (line.empty() || line[0] == ';' || line[0] == '#') continue;
        const bool isSection = line[0] == '[';
        const std::string name = obzx_pdk_4_4::CFiStringTool::trim(
            isSection ? line.substr(1, line.rfind(']') - 1) : line.substr(0, line.find('=')), isSection ? "" : " \t");
        if (name.empty() || name.find_first_not_of(NAME_CHARACTERS) != std::string::npos) return false;
    }
    return true;
}

std::string readWithLibrary(const std::string& path, const char* section, const char* name)
{
    ACE_Configuration_Heap store;
    ACE_Configuration_Section_Key key;
    ACE_TString value;
    if (store.open() != 0 || ACE_Ini_ImpExp(store).import_config(path.c_str()) != 0) return {};
    if (store.open_section(store.root_section(), section, 0, key) != 0) return {};
    return store.get_string_value(key, name, value) == 0 ? std::string(value.fast_rep(), value.length())
                                                         : std::string();
}

void requireSameAsLibrary(const std::string& path)
{
    CFiConfiguration store("fuzz");
    for (const auto& [section, name] : VALUES) {
        require(read(store, section, name) == readWithLibrary(path, section, name),
                "a store is read as the library's is");
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
    static const base_test::CTestRoot root;
    const std::string text(fuzz::textOf(data, size));
    root.write("etc/qz/fuzz.conf", text);
    requireValues(text);

    const std::vector<std::string> values = allValues();
    const std::string readable = readablePart(text);
    root.write("etc/qz/fuzz.conf", readable);
    require(CFiConfiguration("fuzz").unreadableLines().empty(), "what is left can be read");
    require(allValues() == values, "a line that cannot be read costs nothing else");
    if (isTame(readable)) requireSameAsLibrary((root / "etc/qz/fuzz.conf").string());

    const std::string value = plainText(text);
    root.write("etc/qz/fuzz.conf", "[FI_TRACE]\nLEVEL=3\n[FI_NETWORK]\nLOCAL_NAME=" + value + "\nOTHER=1\n");
    CFiConfiguration store("fuzz");
    require(read(store, "FI_NETWORK", "LOCAL_NAME") == value, "a value that is written is read back the same");
    return 0;
}
