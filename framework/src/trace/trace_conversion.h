#pragma once

#include <cstddef>
#include <string_view>

#include "framework/include/cfitrace.h"

namespace obzx_pdk_4_4 {

/// One conversion of a trace line's format: %[flags][width][.precision][length]type
struct STraceConversion
{
    static constexpr int NOT_GIVEN = -1;

    bool left = false, plus = false, blank = false, alternate = false, zero = false;
    int width = 0;
    int precision = NOT_GIVEN;
    char type = 0;
};

/// Reads conversions of a format from left to right and takes the arguments that they ask for.
class CTraceConversionReader
{
  public:
    CTraceConversionReader(std::string_view format, const CFiTraceArg* args, size_t count)
        : m_format(format), m_args(args), m_count(args == nullptr ? 0 : count)
    {
    }

    /// Reads one conversion that starts at the cursor's percent sign. False: it is none that can be carried out; the
    /// cursor is then on the character that does not fit, and no argument is used up.
    bool read(STraceConversion& conversion, size_t& cursor);

    /// For the conversion that was read; there is none for a percent sign.
    const CFiTraceArg& take() { return m_args[m_next++]; }

  private:
    char at(size_t cursor) const { return cursor < m_format.size() ? m_format[cursor] : '\0'; }
    bool readParts(STraceConversion& conversion, size_t& cursor);
    bool readNumber(int& number, size_t& cursor);

    std::string_view m_format;
    const CFiTraceArg* m_args;
    size_t m_count;
    size_t m_next = 0;
};

}  // namespace obzx_pdk_4_4
