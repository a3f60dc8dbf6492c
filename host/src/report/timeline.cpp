#include "host/src/report/timeline.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <map>
#include <set>

#include "host/src/report/axis.h"
#include "host/src/report/clusters.h"
#include "host/src/report/wording.h"
#include "host/src/text/display_text.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

constexpr size_t NARROWEST = 40;

/// What stands for what in one column.
struct SSigns
{
    std::array<const char*, MARKS.size()> marks;
    const char* rail;
    const char* shows;
    const char* givenBack;
    const char* notKnown;
    const char* gap;
};

constexpr SSigns UNICODE_SIGNS = {{"○", "●", "◆", "◐", "▲", "✕"}, "·", "━", "─", "┄", "░"};
constexpr SSigns ASCII_SIGNS = {{"o", "*", "I", "%", "!", "x"}, ".", "=", "-", "~", "/"};

const char* signOf(const SSigns& signs, ECopyEnd end)
{
    return end == ECopyEnd::SHOWS ? signs.shows : end == ECopyEnd::GIVEN_BACK ? signs.givenBack : signs.notKnown;
}

/// A line of signs of one column each.
class CTrack
{
  public:
    CTrack(size_t width, const char* sign) : m_signs(width, sign) {}

    size_t columnOf(double place) const
    {
        return static_cast<size_t>(std::lround(place * static_cast<double>(m_signs.size() - 1)));
    }
    void put(size_t column, const char* sign) { m_signs.at(column) = sign; }
    void put(double from, double until, const char* sign)
    {
        for (size_t column = columnOf(from); column <= columnOf(until); ++column) {
            put(column, sign);
        }
    }
    std::string text() const
    {
        std::string all;
        for (const char* const sign : m_signs) {
            all += sign;
        }
        return all.substr(0, all.find_last_not_of(' ') + 1);
    }

  private:
    std::vector<const char*> m_signs;
};

class CTimeline
{
  public:
    CTimeline(const SReport& report, const STimelineForm& form)
        : m_report(report),
          m_signs(form.isAscii ? ASCII_SIGNS : UNICODE_SIGNS),
          m_isAscii(form.isAscii),
          m_width(std::max(form.width, NARROWEST) - 1)  // a full line would wrap on some terminals
    {
    }

    std::string text()
    {
        for (const SReportLane& lane : m_report.lanes) {
            addLane(lane);
        }
        return m_text + axis() + legend();
    }

  private:
    void addLine(const std::string& line) { m_text += line + "\n"; }

    // Names come from appliances, and a terminal of ASCII shows no others.
    std::string shown(const std::string& name, size_t width) const
    {
        std::string text = printable(name);
        if (m_isAscii) {
            std::erase_if(text, [](char c) { return (static_cast<unsigned char>(c) & 0xc0U) == 0x80U; });
            std::ranges::replace_if(
                text, [](char c) { return static_cast<unsigned char>(c) > '~'; }, '?');
            return text.substr(0, width);
        }
        return cutToWidth(text, width);
    }

    void addLane(const SReportLane& lane)
    {
        const std::string facts = laneFacts(lane, m_report.until);
        constexpr size_t GAP = 2;
        const size_t room = m_width - std::min(m_width, facts.size() + GAP);
        const std::string group = shown(shortGroup(lane.group), std::max<size_t>(room, 1));
        addLine(group + std::string(room - std::min(room, displayWidth(group)) + GAP, ' ') + facts);
        CTrack track(m_width, m_signs.rail);
        for (const size_t place : lane.gaps) {
            const SReportGap& gap = m_report.gaps[place];
            track.put(m_report.placeOf(gap.from), m_report.placeOf(gap.until), m_signs.gap);
            m_hasGap = true;
        }
        for (const SCluster& cluster : clusters(lane, track)) {
            track.put(static_cast<size_t>(cluster.at), m_signs.marks.at(static_cast<size_t>(cluster.mark)));
            m_marks.insert(cluster.mark);
        }
        addLine(track.text());
        addCopies(lane);
        addLine("");
    }

    // Those of one column are one mark.
    std::vector<SCluster> clusters(const SReportLane& lane, const CTrack& track) const
    {
        std::vector<SPlaced> placed;
        for (const size_t place : lane.snapshots) {
            const SReportSnapshot& snapshot = m_report.snapshots[place];
            const auto column = static_cast<double>(track.columnOf(m_report.placeOf(*snapshot.time)));
            placed.push_back({column, snapshot.mark, place});
        }
        return clustersOf(placed, 1);
    }

    void addCopies(const SReportLane& lane)
    {
        constexpr size_t LONGEST_NAME = 20;
        std::map<std::string, CTrack> tracks;
        for (const size_t place : lane.copies) {
            const SReportCopy& copy = m_report.copies[place];
            CTrack& track = tracks.try_emplace(copy.host, m_width, " ").first->second;
            const double from = copy.from ? m_report.placeOf(*copy.from) : 0;
            const bool isOpen = copy.end == ECopyEnd::SHOWS || !copy.until;
            const ECopyEnd end = copy.isSure ? copy.end : ECopyEnd::NOT_KNOWN;
            track.put(from, std::max(from, isOpen ? 1 : m_report.placeOf(*copy.until)), signOf(m_signs, end));
            m_ends.insert(end);
        }
        for (const auto& [host, track] : tracks) {
            addLine("  copies on " + shown(host, LONGEST_NAME));
            addLine(track.text());
        }
    }

    std::string axis() const
    {
        constexpr size_t OF_A_DAY = 9;
        constexpr size_t OF_AN_HOUR = 15;
        std::vector<STick> ticks = ticksOf(m_report.from, m_report.until, m_width / OF_A_DAY);
        const auto isLong = [](const STick& tick) { return tick.text.size() + 1 >= OF_A_DAY; };
        if (std::ranges::any_of(ticks, isLong)) ticks = ticksOf(m_report.from, m_report.until, m_width / OF_AN_HOUR);
        std::string line;
        for (const STick& tick : ticks) {
            const auto column =
                static_cast<size_t>(std::lround(m_report.placeOf(tick.time) * static_cast<double>(m_width - 1)));
            const std::string text = "|" + tick.text;
            // The last one may have no room.
            if (column + text.size() > m_width || (!line.empty() && column <= line.size())) continue;
            line += std::string(column - line.size(), ' ') + text;
        }
        return line + "\n";
    }

    std::string legend() const
    {
        std::vector<std::string> entries;
        for (const EMark mark : m_marks) {
            entries.push_back(std::string(m_signs.marks.at(static_cast<size_t>(mark))) + " " + markText(mark));
        }
        for (const ECopyEnd end : m_ends) {
            entries.push_back(std::string(signOf(m_signs, end)) + " " + copyText(end));
        }
        if (m_hasGap) entries.push_back(std::string(m_signs.gap) + " " + GAP_TEXT);
        entries.emplace_back("times in UTC");
        std::string text;
        size_t column = 0;
        for (const std::string& entry : entries) {
            const size_t width = displayWidth(entry);
            const bool isFirst = column == 0 || column + 2 + width > m_width;
            if (column > 0) text += isFirst ? "\n" : "  ";
            text += entry;
            column = isFirst ? width : column + 2 + width;
        }
        return text + "\n";
    }

    const SReport& m_report;
    const SSigns& m_signs;
    bool m_isAscii;
    size_t m_width;
    std::string m_text;
    std::set<EMark> m_marks;
    std::set<ECopyEnd> m_ends;
    bool m_hasGap = false;
};

size_t columnsOfEnvironment()
{
    const char* const text = std::getenv("COLUMNS");  // NOLINT(concurrency-mt-unsafe)
    size_t columns = 0;
    if (text != nullptr) std::from_chars(text, text + std::strlen(text), columns);
    return columns;
}

// The character set of the locale as the environment names it; the program itself runs in none.
bool isUtf8Locale()
{
    for (const char* const name : {"LC_ALL", "LC_CTYPE", "LANG"}) {
        const char* const value = std::getenv(name);  // NOLINT(concurrency-mt-unsafe)
        if (value == nullptr || *value == '\0') continue;
        // The C library takes any case, and leaves out the hyphen.
        std::string locale;
        for (const char* next = value; *next != '\0'; ++next) {
            if (*next != '-') locale += static_cast<char>(std::tolower(static_cast<unsigned char>(*next)));
        }
        return locale.find(".utf8") != std::string::npos;
    }
    return false;
}

}  // namespace

STimelineForm timelineForm()
{
    STimelineForm form{.isAscii = !isUtf8Locale()};
    const size_t terminal = outputWidth();
    const size_t given = terminal != 0 ? terminal : columnsOfEnvironment();
    if (given != 0) form.width = std::min<size_t>(given, 1000);
    return form;
}

std::string timelineOf(const SReport& report, const STimelineForm& form)
{
    if (report.lanes.empty()) return "there is no such snapshot\n";
    return CTimeline(report, form).text();
}

}  // namespace fictl
