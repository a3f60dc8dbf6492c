#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace obzx_pdk_4_4 {

/**
 * Sections of named values, from a text in INI form:
 *
 *     store = { line NEWLINE }
 *     line  = "" | (";" | "#") text | "[" name "]" text | name "=" value
 *     value = text | '"' text '"'
 *     name  = 1 to 255 characters other than "[", "]", '"', "\" and "/"
 *
 * Blanks around lines, names and values do not belong to them; of quotes around a value one pair does not. Upper and
 * lower case do not differ in names. A section may come again; the last of several values of one name counts. A text of
 * any other form, with a value before the first section, or with a NUL has no sections at all.
 *
 * ACE's own store of this form answers with wrong values, or ends the process, when memory runs out; this one throws
 * std::bad_alloc.
 */
class CIniStore
{
  public:
    /// Names differ by more than the case of ASCII letters.
    struct SNameOrder
    {
        using is_transparent = void;
        bool operator()(std::string_view a, std::string_view b) const;
    };
    using CSection = std::map<std::string, std::string, SNameOrder>;

    /// Empty when the text is malformed.
    static std::optional<CIniStore> parse(std::string_view text);

    /// Null when there is no such section; valid as long as the store is.
    const CSection* findSection(std::string_view name) const;

  private:
    bool readLine(std::string_view line, CSection*& section);

    std::map<std::string, CSection, SNameOrder> m_sections;
};

}  // namespace obzx_pdk_4_4
