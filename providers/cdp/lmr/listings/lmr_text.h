#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "providers/cdp/model/base_types.h"

namespace cdpfi {

/// What is cut off both ends of a name that was read from a listing.
inline constexpr std::string_view LMR_BLANKS = " \n\t\r";

/// The characters that separate the pieces of a line.
class CLMRSeparators
{
  public:
    constexpr explicit CLMRSeparators(std::string_view characters)
    {
        for (const char character : characters) {
            m_contains[static_cast<unsigned char>(character)] = true;
        }
    }
    constexpr bool contains(char character) const { return m_contains[static_cast<unsigned char>(character)]; }

  private:
    std::array<bool, 256> m_contains{};
};

/// Reads the pieces of a text from left to right; empty pieces are dropped. Refers to the text and the separators.
class CLMRPieceCursor
{
  public:
    CLMRPieceCursor(std::string_view text, const CLMRSeparators& separators) : m_rest(text), m_separators(separators) {}

    /// False when there is no further piece; the piece is left as it was then.
    bool next(std::string_view& piece)
    {
        size_t begin = 0;
        while (begin < m_rest.size() && m_separators.contains(m_rest[begin])) {
            ++begin;
        }
        if (begin == m_rest.size()) return false;
        size_t end = begin;
        while (end < m_rest.size() && !m_separators.contains(m_rest[end])) {
            ++end;
        }
        piece = m_rest.substr(begin, end - begin);
        m_rest.remove_prefix(end);
        return true;
    }

  private:
    std::string_view m_rest;
    const CLMRSeparators& m_separators;
};

/// How many pieces a text has; the first ones are stored.
template <size_t N>
size_t splitPieces(std::string_view text, const CLMRSeparators& separators, std::array<std::string_view, N>& pieces)
{
    CLMRPieceCursor cursor(text, separators);
    size_t count = 0;
    for (std::string_view piece; cursor.next(piece); ++count) {
        if (count < N) pieces[count] = piece;
    }
    return count;
}

/// The same for a single separator.
template <size_t N>
size_t splitPieces(std::string_view text, char separator, std::array<std::string_view, N>& pieces)
{
    size_t count = 0;
    while (!text.empty()) {
        const size_t end = std::min(text.find(separator), text.size());
        if (end > 0 && count++ < N) pieces[count - 1] = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return count;
}

/// All pieces, as copies.
std::vector<std::string> allPieces(std::string_view text, const CLMRSeparators& separators);
/// The text without LMR_BLANKS at both ends.
std::string_view trimBlanks(std::string_view text);
/// The texts in order with the separator between them.
/// @param most bytes; of more, the first ones and " ..."
std::string joinTexts(std::span<const std::string_view> texts, std::string_view separator,
                      size_t most = std::string_view::npos);
std::string joinTexts(const std::vector<std::string>& texts, std::string_view separator);
/// The same texts, not copied.
std::vector<std::string_view> viewsOf(const std::vector<std::string>& texts);

/// Adds a whole text at the end, in room that was reserved: a list that grows copies its texts unseen.
/// @throw std::bad_alloc, and the texts are as they were
void appendTo(std::vector<CString>& texts, std::string_view text);
/// Adds an entry behind all others of a map, with a whole key. @throw std::bad_alloc
template <class Value>
Value& appendTo(std::map<CString, Value>& map, std::string_view key)
{
    // The entry is made in a map of its own: a key for which there was no memory is empty, and must not be compared
    // with the map's.
    std::map<CString, Value> entry;
    const auto added =
        entry.emplace(std::piecewise_construct, std::forward_as_tuple(key.data(), key.size()), std::forward_as_tuple());
    if (bytesOf(added.first->first) != key) throw std::bad_alloc();
    return map.insert(map.end(), entry.extract(added.first))->second;
}

}  // namespace cdpfi
