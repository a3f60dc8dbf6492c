#pragma once

#include <ace/SString.h>

#include <string>
#include <string_view>
#include <vector>

#include "framework/include/obzx_export.h"

namespace obzx_pdk_4_4 {

/// Text helpers shared by the runtime and the providers. No function keeps state; all may be called from any thread.
class OBZX_API CFiStringTool
{
  public:
    /// Appends the pieces between separator characters to the list; empty pieces are dropped.
    static void tokenize(std::vector<std::string>& pieces, std::string_view text, std::string_view separators);
    /// The pieces between separator characters, in order; empty pieces are dropped.
    static std::vector<std::string> tokenize(std::string_view text, std::string_view separators);
    /// The text without the given characters at both ends.
    static std::string trim(std::string_view text, std::string_view characters);
    /// Index of the first line at or after start (below 0 counts as 0) that contains the marker, or -1; also stored in
    /// index.
    static int find(const std::vector<std::string>& lines, std::string_view marker, int& index, int start);

    /// Between the standard string and the framework's text; byte for byte. @throw std::bad_alloc; the text class
    /// itself leaves a text empty for which it finds no memory
    static ACE_String_Base<char> str2tstr(const std::string& text);
    static std::string tstr2str(const ACE_String_Base<char>& text);
    /// ASCII letters in upper case, everything else as it stands.
    static std::string tostrupper(const std::string& text);
    /// Decimal text of a number.
    static std::string int2str(int64_t number);
};

}  // namespace obzx_pdk_4_4
