#include "framework/include/cfimessage.h"

#include <unicode/fmtable.h>
#include <unicode/msgfmt.h>
#include <unicode/unistr.h>

#include <cstdio>

#include "framework/include/cfistringtool.h"
#include "framework/src/messages/message_bound.h"
#include "framework/src/messages/message_text.h"
#include "framework/src/text/locale_name.h"

namespace obzx_pdk_4_4 {

CFiMessage::CFiMessage(std::string catalog, std::string id, std::vector<std::string> arguments, std::string file,
                       int32_t line, obz_eseverity severity)
    : m_catalog(std::move(catalog)),
      m_id(std::move(id)),
      m_arguments(std::move(arguments)),
      m_file(std::move(file)),
      m_line(line),
      m_severity(severity)
{
    for (std::string& argument : m_arguments) {
        boundMessage(argument, m_catalog);
    }
}

CFiMessage::~CFiMessage() = default;

std::string CFiMessage::format(const std::string& pattern, const std::string&) const
{
    return pattern;
}

CFiIcuMessage::~CFiIcuMessage() = default;

std::string CFiIcuMessage::format(const std::string& pattern, const std::string& locale) const
{
    // Only a name in the usual form reaches ICU; anything else formats as the root locale does.
    const std::string name = normalizeLocale(locale);
    UErrorCode status = U_ZERO_ERROR;
    const icu::MessageFormat format(icu::UnicodeString::fromUTF8(pattern),
                                    name.empty() ? icu::Locale::getRoot() : icu::Locale(name.c_str()), status);
    std::vector<icu::Formattable> values;
    for (const std::string& argument : getArguments()) {
        values.emplace_back(icu::UnicodeString::fromUTF8(argument));
    }
    icu::UnicodeString text;
    if (U_SUCCESS(status)) {
        icu::FieldPosition position(icu::FieldPosition::DONT_CARE);
        format.format(values.data(), static_cast<int32_t>(values.size()), text, position, status);
    }
    // A pattern that is no message pattern, or one that wants something else than texts, must not swallow the message.
    if (U_FAILURE(status)) return appendArguments(pattern, getArguments());
    std::string result;
    text.toUTF8String(result);
    return result;
}

CFiError::~CFiError() = default;

std::string CFiError::getMessageId(const std::string& component, int32_t offset) const
{
    const int64_t number = m_code > offset ? int64_t{m_code} - offset : m_code;
    char digits[24];
    std::snprintf(digits, sizeof digits, "%04lld", static_cast<long long>(number));
    return "MSG_ERROR_" + CFiStringTool::tostrupper(component) + "_" + digits;
}

}  // namespace obzx_pdk_4_4
