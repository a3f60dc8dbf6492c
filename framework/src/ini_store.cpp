#include "framework/src/ini_store.h"

#include <algorithm>

namespace obzx_pdk_4_4 {

namespace {

constexpr size_t MAX_NAME = 255;

std::string_view trimmed(std::string_view text)
{
    constexpr std::string_view blanks = " \t\r\v\f";
    const size_t begin = text.find_first_not_of(blanks);
    if (begin == std::string_view::npos) return {};
    return text.substr(begin, text.find_last_not_of(blanks) - begin + 1);
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

char lower(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

}  // namespace

bool CIniStore::SNameOrder::operator()(std::string_view a, std::string_view b) const
{
    return std::ranges::lexicographical_compare(a, b, {}, lower, lower);
}

std::optional<CIniStore> CIniStore::parse(std::string_view text)
{
    if (text.find('\0') != std::string_view::npos) return std::nullopt;
    CIniStore store;
    CSection* section = nullptr;
    while (!text.empty()) {
        const size_t end = std::min(text.find('\n'), text.size());
        if (!store.readLine(trimmed(text.substr(0, end)), section)) return std::nullopt;
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return store;
}

const CIniStore::CSection* CIniStore::findSection(std::string_view name) const
{
    const auto found = m_sections.find(name);
    return found == m_sections.end() ? nullptr : &found->second;
}

/// False when the line is malformed.
bool CIniStore::readLine(std::string_view line, CSection*& section)
{
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
    (*section)[std::string(name)] = unquoted(trimmed(line.substr(equals + 1)));
    return true;
}

}  // namespace obzx_pdk_4_4
