#include "providers/cdp/inspect/configuration_section.h"

#include <map>

#include "base/file_read.h"
#include "framework/include/cficonfiguration.h"
#include "framework/include/cfiplatformerror.h"
#include "pdk/include/cfipluginname.h"
#include "providers/cdp/cdp_appliance_lines.h"
#include "providers/cdp/cdp_support.h"
#include "providers/cdp/lmr/listings/lmr_text.h"
#include "providers/cdp/lmr/lmr_configuration.h"

namespace cdpfi::inspect {

using obzx_pdk_4_4::CFiConfiguration;
using obzx_pdk_4_4::CFiPlatformError;

namespace {

constexpr size_t MEBIBYTE = size_t{1024} * 1024;
constexpr size_t MAX_LIST_SIZE = 16 * MEBIBYTE;
constexpr size_t MAX_STORE_SIZE = MEBIBYTE;

struct SKnownValue
{
    const char* section;
    const char* key;
    const char* byDefault;
};

// The values that the provider and the runtime read; the provider's parameters.xml describes the same ones.
constexpr SKnownValue KNOWN_VALUES[] = {
    {LMR_TOOL_SECTION, LMR_SHELL.pathKey, LMR_SHELL.path},
    {LMR_TOOL_SECTION, LMR_SHELL.nameKey, LMR_SHELL.name},
    {LMR_TOOL_SECTION, LMR_DISK_UTILITY.pathKey, LMR_DISK_UTILITY.path},
    {LMR_TOOL_SECTION, LMR_DISK_UTILITY.nameKey, LMR_DISK_UTILITY.name},
    {LMR_TOOL_SECTION, LMR_MAX_PARALLEL, "8"},
    {LMR_TOOL_SECTION, LMR_MAX_ANSWER_SIZE.key, "268435456"},
    {LMR_TOOL_SECTION, LMR_MAX_ANSWER_LINES.key, "4000000"},
    {LMR_TOOL_SECTION, LMR_MAX_LINE_LENGTH.key, "4194304"},
    {LMR_TOOL_SECTION, LMR_MAX_INVENTORY_SIZE.key, "1073741824"},
    {LMR_TOOL_SECTION, LMR_MAX_NAMES.key, "100000"},
    {LMR_TOOL_SECTION, LMR_MAX_REPEATED_NAMES.key, "100000"},
    {"FI_TRACE", "LEVEL", "2"},
    {"FI_TRACE", "FILE", "/var/log/qz/cdpfi.log"},
    {"FI_TRACE", "MAX_SIZE", "10485760"},
    {"FI_TRACE", "MAX_FILES", "5"},
    {"FI_TRACE", "MAX_LINE", "65536"},
    {"FI_MESSAGE", "MAX_LENGTH", "1048576"},
    {"FI_EXEC", "MAX_TIMEOUT", "600"},
    {"FI_NETWORK", "LOCAL_NAME", ""},
};

/// Why a file cannot be read: it cannot be opened, is no regular file, or is larger than the provider would read.
CReason problemOf(const std::string& path, size_t most)
{
    const base::SFileText file = base::readFile(path, most);
    switch (file.outcome) {
        case base::EFileRead::NOT_READABLE:
            return CFiPlatformError::errorText(file.error);
        case base::EFileRead::NOT_REGULAR_FILE:
            return "not a regular file";
        case base::EFileRead::TOO_LARGE:
            return "larger than " + std::to_string(most / MEBIBYTE) + " MiB";
        case base::EFileRead::DONE:
            break;
    }
    return {};
}

bool looksLikeComment(const std::string& line)
{
    const std::string_view text = trimBlanks(line);
    return text.starts_with('#') || text.starts_with(';') || text.starts_with("//");
}

void readApplianceList(SConfiguration& configuration)
{
    const std::string path = applianceListPath();
    configuration.files.push_back({path, problemOf(path, MAX_LIST_SIZE)});
    std::vector<std::string> lines;
    CDPSupportFunction::readFile(path, lines);
    std::map<std::string, SConfiguredAppliance> appliances;  // by name; the last of several lines counts
    for (size_t i = 0; i < lines.size(); ++i) {
        const SLine line{path, static_cast<long>(i) + 1, lines[i]};
        const auto read = parseApplianceLine(lines[i], LMR_LIST_MARK);
        if (read && !read->name.empty()) {
            appliances[read->name] = {read->name, read->port, line};
            if (looksLikeComment(lines[i])) configuration.commented.push_back(appliances[read->name]);
        } else if (lines[i].find(LMR_LIST_MARK) != std::string::npos && !looksLikeComment(lines[i])) {
            configuration.unreadableLines.push_back(line);
        }
    }
    for (auto& [name, appliance] : appliances) {
        configuration.appliances.push_back(std::move(appliance));
    }
}

SValue readValue(CFiConfiguration& store, const SKnownValue& known)
{
    SValue value{std::string(known.section) + "/" + known.key, known.byDefault, {}};
    ACE_Configuration_Section_Key section;
    CString text;
    if (store.openSection(known.section, section, 1) != 0 || store.getStringValue(known.key, text) != 0) return value;
    value.value = bytesOf(text);
    value.line = SLine{store.path(), store.lineOf(known.section, known.key), {}};
    return value;
}

void readStore(SConfiguration& configuration)
{
    CFiConfiguration store(cfi_pgn_name_tstr);
    configuration.files.push_back({store.path(), problemOf(store.path(), MAX_STORE_SIZE)});
    for (const auto& line : store.unreadableLines()) {
        configuration.unreadableLines.push_back({store.path(), line.m_line, line.m_text});
    }
    for (const SKnownValue& known : KNOWN_VALUES) {
        configuration.values.push_back(readValue(store, known));
    }
}

}  // namespace

SConfiguration readConfiguration()
{
    SConfiguration configuration;
    readApplianceList(configuration);
    readStore(configuration);
    return configuration;
}

}  // namespace cdpfi::inspect
