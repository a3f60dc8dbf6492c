#include "framework/src/text/locale_name.h"

#include <algorithm>

#include "framework/include/cfistringtool.h"

namespace obzx_pdk_4_4 {
namespace {

constexpr size_t MAX_LOCALE_NAME = 64;

bool isLetter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}
char toLower(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}
char toUpper(char c)
{
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

// Languages are in lower case, scripts (four letters) capitalised, regions and variants in upper case.
std::string inUsualCase(std::string part, bool isLanguage)
{
    const bool isScript = !isLanguage && part.size() == 4 && std::all_of(part.begin(), part.end(), isLetter);
    for (size_t i = 0; i < part.size(); ++i) {
        const bool lower = isLanguage || (isScript && i > 0);
        part[i] = lower ? toLower(part[i]) : toUpper(part[i]);
    }
    return part;
}

}  // namespace

std::string normalizeLocale(const std::string& locale)
{
    // The character set and the modifier that a POSIX name carries say nothing about the language.
    const std::string name = locale.substr(0, locale.find_first_of(".@"));
    if (name.empty() || name.size() > MAX_LOCALE_NAME || name == "C" || name == "POSIX") return {};
    std::string result;
    for (const std::string& part : CFiStringTool::tokenize(name, "-_")) {
        if (!std::all_of(part.begin(), part.end(), [](char c) { return isLetter(c) || isDigit(c); })) return {};
        if (result.empty() && (part.size() < 2 || !std::all_of(part.begin(), part.end(), isLetter))) return {};
        const bool isLanguage = result.empty();
        if (!isLanguage) result += '_';
        result += inUsualCase(part, isLanguage);
    }
    return result;
}

std::vector<std::string> localeChain(const std::string& locale, const std::string& rootName)
{
    std::vector<std::string> chain;
    std::string name = normalizeLocale(locale);
    while (!name.empty() && name != rootName) {
        chain.push_back(name);
        const size_t end = name.rfind('_');
        name.resize(end == std::string::npos ? 0 : end);
    }
    chain.push_back(rootName);
    return chain;
}

}  // namespace obzx_pdk_4_4
