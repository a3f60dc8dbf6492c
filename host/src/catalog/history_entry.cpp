#include "host/src/catalog/history_entry.h"

#include <iterator>

namespace fictl {

namespace {

constexpr const char* TEXTS[] = {"asked", "sure", "lost", "refused"};

}  // namespace

const char* outcomeText(EOutcome outcome)
{
    return TEXTS[static_cast<size_t>(outcome)];
}

std::optional<EOutcome> outcomeOf(const std::string& text)
{
    for (size_t i = 0; i < std::size(TEXTS); ++i) {
        if (text == TEXTS[i]) return static_cast<EOutcome>(i);
    }
    return std::nullopt;
}

}  // namespace fictl
