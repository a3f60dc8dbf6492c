#include "host/src/catalog/labels.h"

#include <algorithm>

#include "host/src/output/error.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

constexpr size_t LONGEST_KEY = 64;
constexpr size_t LONGEST_VALUE = 256;
constexpr size_t LONGEST_NOTE = 1024;
constexpr std::string_view ALPHANUMERIC = "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
constexpr std::string_view IN_KEYS = "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ._-/";

void requireLabelValue(const std::string& key, const std::string& value)
{
    if (isLabelValue(value)) return;
    throw EFictl(EExit::USAGE, "the value of label \"" + key + "\" is too long, or holds what cannot be shown",
                 "use at most " + std::to_string(LONGEST_VALUE) + " bytes of UTF-8 without control characters");
}

}  // namespace

bool isLabelKey(std::string_view key)
{
    return !key.empty() && key.size() <= LONGEST_KEY && ALPHANUMERIC.find(key.front()) != std::string_view::npos &&
           key.find_first_not_of(IN_KEYS) == std::string_view::npos;
}

bool isLabelValue(std::string_view value)
{
    return value.size() <= LONGEST_VALUE && isPlainText(value);
}

bool isNote(std::string_view note)
{
    return note.size() <= LONGEST_NOTE && isPlainText(note);
}

void requireLabelKey(const std::string& key)
{
    if (isLabelKey(key)) return;
    throw EFictl(EExit::USAGE, "\"" + printable(key) + "\" cannot be a label's key",
                 "use 1 to 64 letters, digits or ._-/, beginning with a letter or a digit");
}

void requireNote(const std::string& note)
{
    if (isNote(note)) return;
    throw EFictl(EExit::USAGE, "the note is too long, or holds what cannot be shown",
                 "use at most " + std::to_string(LONGEST_NOTE) + " bytes of UTF-8 without control characters");
}

void requireFewLabels(const Labels& labels)
{
    if (labels.size() <= MOST_LABELS) return;
    throw EFictl(EExit::USAGE,
                 "a snapshot has at most " + std::to_string(MOST_LABELS) + " labels, and these would be " +
                     std::to_string(labels.size()),
                 "leave some away");
}

Labels parseLabels(const std::vector<std::string>& texts)
{
    Labels labels;
    for (const std::string& text : texts) {
        const size_t mark = text.find('=');
        const std::string key = text.substr(0, mark);
        requireLabelKey(key);
        if (mark == std::string::npos) {
            throw EFictl(EExit::USAGE, "label \"" + key + "\" has no value", "give it as " + key + "=VALUE");
        }
        const std::string value = text.substr(mark + 1);
        requireLabelValue(key, value);
        if (labels.emplace(key, value).second) continue;
        throw EFictl(EExit::USAGE, "label \"" + key + "\" is given twice", "give every key once");
    }
    requireFewLabels(labels);
    return labels;
}

std::string labelsText(const Labels& labels)
{
    std::string text;
    for (const auto& [key, value] : labels) {
        text += (text.empty() ? "" : ",") + key + "=" + value;
    }
    return text;
}

bool SLabelFilter::matches(const Labels& labels) const
{
    const auto found = labels.find(key);
    return found != labels.end() && (!value || found->second == *value);
}

std::vector<SLabelFilter> parseLabelFilters(const std::vector<std::string>& texts)
{
    std::vector<SLabelFilter> filters;
    for (const std::string& text : texts) {
        const size_t mark = text.find('=');
        SLabelFilter filter{.key = text.substr(0, mark)};
        requireLabelKey(filter.key);
        if (mark != std::string::npos) filter.value = text.substr(mark + 1);
        filters.push_back(std::move(filter));
    }
    return filters;
}

bool matchesAll(const Labels& labels, const std::vector<SLabelFilter>& filters)
{
    return std::ranges::all_of(filters, [&](const SLabelFilter& filter) { return filter.matches(labels); });
}

}  // namespace fictl
