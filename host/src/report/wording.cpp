#include "host/src/report/wording.h"

#include "host/src/text/age_text.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

struct SMarkWords
{
    const char* text;
    const char* word;
};

constexpr std::array<SMarkWords, MARKS.size()> WORDS = {{
    {"deleted", "deleted"},
    {"complete", "complete"},
    {"copies show here", "imported"},
    {"under way", "under-way"},
    {"needs attention", "attention"},
    {"no record has it", "orphan"},
}};

const SMarkWords& wordsOf(EMark mark)
{
    return WORDS.at(static_cast<size_t>(mark));
}

}  // namespace

const char* markText(EMark mark)
{
    return wordsOf(mark).text;
}

const char* markWord(EMark mark)
{
    return wordsOf(mark).word;
}

std::string freezeText(std::chrono::microseconds frozen)
{
    return frozen.count() > 0 ? secondsText(std::chrono::duration<double>(frozen).count()) : "";
}

std::string ageSince(std::optional<UtcTime> time, UtcTime now)
{
    return time ? ageText(std::chrono::floor<std::chrono::seconds>(now - *time)) : "-";
}

std::string plainTime(const std::string& time)
{
    constexpr size_t DAY = 10;
    constexpr size_t CLOCK = 8;
    return isInstantText(time) ? time.substr(0, DAY) + " " + time.substr(DAY + 1, CLOCK) : time;
}

std::string plainTime(UtcTime time)
{
    return plainTime(utcSecondsText(time));
}

std::string shortGroup(const GroupKey& group)
{
    return group.first + "/" + group.second;
}

std::string laneFacts(const SReportLane& lane, UtcTime now)
{
    return lane.present == 0 ? "no snapshot"
                             : counted(lane.present, "snapshot") + ", oldest " + ageSince(lane.oldest, now);
}

const char* copyText(ECopyEnd end)
{
    switch (end) {
        case ECopyEnd::SHOWS:
            return "a copy that shows";
        case ECopyEnd::GIVEN_BACK:
            return "one that was given back";
        case ECopyEnd::NOT_KNOWN:
            break;
    }
    return "one of which not all is known";
}

const char* endText(ECopyEnd end)
{
    switch (end) {
        case ECopyEnd::SHOWS:
            return "shows";
        case ECopyEnd::GIVEN_BACK:
            return "given back";
        case ECopyEnd::NOT_KNOWN:
            break;
    }
    return "not known";
}

}  // namespace fictl
