#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "framework/include/cficonfiguration.h"

namespace obzx_pdk_4_4 {

/**
 * Sections of named values, from a text in INI form:
 *
 *     store = { line NEWLINE }
 *     line  = "" | (";" | "#") text | "[" name "]" text | name "=" value
 *     value = text | '"' text '"'
 *     name  = 1 to 255 characters other than "[", "]", '"', "\" and "/"
 *
 * Blanks around lines, names and values do not belong to them; of quotes around a value one pair does not. Names are
 * exact. A section may come again; the last of several values of one name counts. A line of any other form, a value
 * before the first section and a line with a NUL are passed over and noted; all other lines count.
 *
 * ACE's own store of this form answers with wrong values, or ends the process, when memory runs out; this one throws
 * std::bad_alloc.
 */
class CIniStore
{
  public:
    struct SValue
    {
        std::string m_text;
        long m_line;  ///< from 1
    };
    using CSection = std::map<std::string, SValue, std::less<>>;

    CIniStore() = default;
    explicit CIniStore(std::string_view text);

    /// Null when there is no such section, or no such value in it; valid as long as the store is.
    const CSection* findSection(std::string_view name) const;
    const SValue* findValue(std::string_view section, std::string_view name) const;
    /// In the order of the lines.
    const std::vector<SFiUnreadableLine>& unreadableLines() const { return m_unreadable; }

  private:
    bool readLine(std::string_view line, long number, CSection*& section);

    std::map<std::string, CSection, std::less<>> m_sections;
    std::vector<SFiUnreadableLine> m_unreadable;
};

}  // namespace obzx_pdk_4_4
