#include "framework/src/configuration/ini_store.h"

#include <algorithm>

namespace obzx_pdk_4_4 {

namespace {

constexpr size_t MAX_NAME = 255;

std::string_view trimmed(std::string_view text)
{
    constexpr std::string_view BLANKS = " \t\r\v\f";
    const size_t begin = text.find_first_not_of(BLANKS);
    if (begin == std::string_view::npos) return {};
    return text.substr(begin, text.find_last_not_of(BLANKS) - begin + 1);
}

std::string_view unquoted(std::string_view text)
{
    const bool quoted = text.size() >= 2 && text.front() == '"' && text.back() == '"';
    return quoted ? text.substr(1, text.size() - 2) : text;
}

bool isName(std::string_view text)
{
    return !text.empty() && text.size() <= MAX_NAME && text.find_first_of("[]\"\\/") == std::string_view::npos;
}

}  // namespace

CIniStore::CIniStore(std::string_view text)
{
    CSection* section = nullptr;
    for (long number = 1; !text.empty(); ++number) {
        const size_t end = std::min(text.find('\n'), text.size());
        const std::string_view line = trimmed(text.substr(0, end));
        if (!readLine(line, number, section)) m_unreadable.push_back({number, std::string(line)});
        text.remove_prefix(std::min(end + 1, text.size()));
    }
}

const CIniStore::CSection* CIniStore::findSection(std::string_view name) const
{
    const auto found = m_sections.find(name);
    return found == m_sections.end() ? nullptr : &found->second;
}

const CIniStore::SValue* CIniStore::findValue(std::string_view section, std::string_view name) const
{
    const CSection* const values = findSection(section);
    if (values == nullptr) return nullptr;
    const auto found = values->find(name);
    return found == values->end() ? nullptr : &found->second;
}

/// False when the line cannot be read.
bool CIniStore::readLine(std::string_view line, long number, CSection*& section)
{
    if (line.find('\0') != std::string_view::npos) return false;
    if (line.empty() || line.front() == ';' || line.front() == '#') return true;
    if (line.front() == '[') {
        const size_t end = line.rfind(']');
        if (end == std::string_view::npos) return false;
        const std::string_view name = line.substr(1, end - 1);
        if (!isName(name)) return false;
        section = &m_sections[std::string(name)];
        return true;
    }
    const size_t equals = line.find('=');
    if (section == nullptr || equals == std::string_view::npos) return false;
    const std::string_view name = trimmed(line.substr(0, equals));
    if (!isName(name)) return false;
    (*section)[std::string(name)] = {std::string(unquoted(trimmed(line.substr(equals + 1)))), number};
    return true;
}

}  // namespace obzx_pdk_4_4
