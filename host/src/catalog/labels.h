#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace fictl {

/// What people say of a snapshot, so that it can be found and kept by that: values by their keys.
using Labels = std::map<std::string, std::string>;

constexpr size_t MOST_LABELS = 64;

/// 1 to 64 letters, digits or "._-/", the first one a letter or a digit.
bool isLabelKey(std::string_view key);
/// At most 256 bytes of UTF-8 without control characters; may be empty.
bool isLabelValue(std::string_view value);
/// At most 1024 bytes of UTF-8 without control characters; an empty one stands for none.
bool isNote(std::string_view note);

/// Labels of texts "KEY=VALUE". Throws EFictl (USAGE) for what is no label, for a key that is given twice, and for more
/// labels than a snapshot may have.
Labels parseLabels(const std::vector<std::string>& texts);
/// Each throws EFictl (USAGE).
void requireLabelKey(const std::string& key);
void requireNote(const std::string& note);
void requireFewLabels(const Labels& labels);

/// "tier=gold,urgent="; empty for none.
std::string labelsText(const Labels& labels);

/// Which snapshots are meant: those with the key, or those with the key and that value.
struct SLabelFilter
{
    std::string key;
    std::optional<std::string> value{};

    bool matches(const Labels& labels) const;
};

/// Of texts "KEY" or "KEY=VALUE". Throws EFictl (USAGE).
std::vector<SLabelFilter> parseLabelFilters(const std::vector<std::string>& texts);
/// Whether labels match all of them.
bool matchesAll(const Labels& labels, const std::vector<SLabelFilter>& filters);

/// What a command changes of labels and note.
struct SAnnotationChange
{
    Labels set{};
    std::set<std::string> removed{};    ///< keys
    std::optional<std::string> note{};  ///< nothing: it stays; empty: it goes

    bool isEmpty() const { return set.empty() && removed.empty() && !note; }
};

}  // namespace fictl
