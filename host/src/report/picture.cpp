#include "host/src/report/picture.h"

#include <algorithm>
#include <cstdint>

#include "host/src/report/axis.h"
#include "host/src/report/clusters.h"
#include "host/src/report/markup.h"
#include "host/src/report/wording.h"
#include "host/src/text/display_text.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

// Of the width, left free at both ends, so that no mark is cut.
constexpr double MARGIN = 0.03;

/// How far apart marks have to be.
struct SDistance
{
    double least;
    size_t beyond;  ///< numbers of so many checkpoints need more room
};
// The narrowest picture has 300 pixels; a mark takes 12 of them, as two digits do.
constexpr SDistance DISTANCES[] = {{0.04, 100}, {0.075, 1000}, {0.1, SIZE_MAX}};

constexpr double LEAST_BAR = 0.012;

constexpr int MARKS_HEIGHT = 58;
constexpr int MARKS_CENTRE = 32;
constexpr int LONGEST_STEM = 18;
constexpr int HOST_HEIGHT = 30;
constexpr size_t MOST_TICKS = 7;

double across(double place)
{
    return MARGIN + (1 - 2 * MARGIN) * place;
}

std::string number(int value)
{
    return std::to_string(value);
}

struct SShape
{
    EMark mark;
    const char* markup;
};

constexpr SShape SHAPES[] = {
    {EMark::DELETED, R"(<circle r="4.7" class="hollow"/>)"},
    {EMark::COMPLETE, R"(<circle r="5.5" class="solid"/>)"},
    {EMark::IMPORTED, R"(<path d="M0-6 6 0 0 6-6 0Z" class="solid"/>)"},
    {EMark::UNDER_WAY, R"(<circle r="4.7" class="hollow"/><circle r="2" class="solid"/>)"},
    {EMark::ATTENTION, R"(<path d="M0-6.5 6 5H-6Z" class="solid"/><path d="M0-2.5V1M0 2.6V3.8" class="bar"/>)"},
    {EMark::ORPHAN, R"(<path d="M-4.5-4.5 4.5 4.5M4.5-4.5-4.5 4.5" class="cross"/>)"},
};

std::string shapeMarkup(EMark mark)
{
    return std::string("<use href=\"#mark-") + markWord(mark) + "\"/>";
}

/// How copies are drawn, that which counts most last.
enum class ECopyLook
{
    GIVEN_BACK,
    NOT_KNOWN,
    SHOWS,
};
constexpr const char* LOOK_WORDS[] = {"given-back", "not-known", "shows"};

// Of one that nobody is sure of as little is known as of one whose end is not known.
ECopyLook lookOf(ECopyEnd end, bool isSure = true)
{
    if (end == ECopyEnd::NOT_KNOWN || !isSure) return ECopyLook::NOT_KNOWN;
    return end == ECopyEnd::SHOWS ? ECopyLook::SHOWS : ECopyLook::GIVEN_BACK;
}

/// One lane's picture.
class CLanePicture
{
  public:
    CLanePicture(const SReport& report, const SReportLane& lane, const std::vector<STick>& ticks)
        : m_report(report), m_lane(lane), m_ticks(ticks)
    {
    }

    std::string markup()
    {
        const std::string hosts = hostRows();
        m_markup = "<svg class=\"plot\" height=\"" + number(m_height) +
                   "\" role=\"group\" aria-describedby=\"keys\" aria-label=\"" +
                   escaped("Checkpoints of group " + m_lane.group.second + " of appliance " + m_lane.group.first) +
                   "\">\n";
        for (const STick& tick : m_ticks) {
            const std::string at = percent(across(m_report.placeOf(tick.time)));
            m_markup += "<line class=\"grid\" x1=\"" + at + "\" x2=\"" + at + "\" y1=\"0\" y2=\"100%\"/>";
        }
        m_markup += "<line class=\"rail\" x1=\"0\" x2=\"100%\" y1=\"" + number(MARKS_CENTRE) + "\" y2=\"" +
                    number(MARKS_CENTRE) + "\"/>\n";
        for (const SGapBar& gap : gapBars()) {
            addGap(gap);
        }
        for (const SCluster& cluster : clusters()) {
            addMark(cluster);
        }
        return m_markup + hosts + "</svg>\n";
    }

  private:
    std::vector<SPlaced> placed() const
    {
        std::vector<SPlaced> all;
        for (const size_t place : m_lane.snapshots) {
            const SReportSnapshot& snapshot = m_report.snapshots[place];
            all.push_back({across(m_report.placeOf(*snapshot.time)), snapshot.mark, place});
        }
        for (const size_t orphan : m_lane.orphans) {
            const std::optional<UtcTime> time = utcSecondsOf(m_report.look->orphans[orphan].time);
            if (!time || *time < m_report.from) continue;
            all.push_back({across(m_report.placeOf(*time)), EMark::ORPHAN, m_report.snapshots.size() + orphan});
        }
        std::ranges::stable_sort(all, {}, &SPlaced::at);
        return all;
    }

    std::vector<SCluster> clusters() const
    {
        const std::vector<SPlaced> all = placed();
        std::vector<SCluster> marks;
        for (const SDistance& distance : DISTANCES) {
            marks = clustersOf(all, distance.least);
            const auto isSmall = [&](const SCluster& each) { return each.members.size() < distance.beyond; };
            if (std::ranges::all_of(marks, isSmall)) break;
        }
        return marks;
    }

    bool isOrphan(size_t member) const { return member >= m_report.snapshots.size(); }

    std::string rowOf(size_t member) const
    {
        return isOrphan(member) ? "o" + std::to_string(member - m_report.snapshots.size())
                                : "s" + std::to_string(member);
    }

    std::string describe(size_t member) const
    {
        if (isOrphan(member)) {
            const SReportOrphan& orphan = m_report.look->orphans[member - m_report.snapshots.size()];
            return orphan.name + ", " + orphan.kind + " that no record has, " + plainTime(orphan.time);
        }
        const SReportSnapshot& snapshot = m_report.snapshots[member];
        const std::string frozen = freezeText(snapshot.frozen);
        return snapshot.name + ", " + snapshot.state + ", " + plainTime(snapshot.created) +
               (frozen.empty() ? "" : ", application frozen " + frozen);
    }

    std::string describe(const SCluster& cluster) const
    {
        if (cluster.members.size() == 1) return describe(cluster.members.front());
        return counted(cluster.members.size(), "checkpoint") + " from " + describe(cluster.members.front()) + " to " +
               describe(cluster.members.back()) + "; of all: " + markText(cluster.mark);
    }

    std::chrono::microseconds freezeOf(const SCluster& cluster) const
    {
        std::chrono::microseconds longest{0};
        for (const size_t member : cluster.members) {
            if (!isOrphan(member)) longest = std::max(longest, m_report.snapshots[member].frozen);
        }
        return longest;
    }

    void addMark(const SCluster& cluster)
    {
        std::string rows;
        for (const size_t member : cluster.members) {
            rows += (rows.empty() ? "" : " ") + rowOf(member);
        }
        m_markup += "<a href=\"#" + rowOf(cluster.members.front()) + "\" class=\"mark " + markWord(cluster.mark) +
                    "\" data-rows=\"" + rows + "\" data-at=\"" + percent(cluster.at) + "\"><title>" +
                    escaped(describe(cluster)) + "</title><svg x=\"" + percent(cluster.at) + "\" y=\"" +
                    number(MARKS_CENTRE) + "\" width=\"1\" height=\"1\"><rect class=\"hit\" x=\"-6\" y=\"-28\" " +
                    "width=\"12\" height=\"52\"/><circle class=\"ring\" r=\"9.5\"/>";
        const auto frozen = freezeOf(cluster);
        if (frozen.count() > 0) {
            const auto height =
                static_cast<int>(std::max<int64_t>(2, LONGEST_STEM * frozen / m_report.longestFreeze()));
            m_markup += "<path class=\"stem\" d=\"M0-8V-" + number(8 + height) + "\"/>";
        }
        m_markup += shapeMarkup(cluster.mark);
        if (cluster.members.size() > 1) {
            m_markup += "<text class=\"count\" y=\"20\">" + std::to_string(cluster.members.size()) + "</text>";
        }
        m_markup += "</svg></a>\n";
    }

    /// Missing runs of one job that would lie upon each other, as one bar.
    struct SGapBar
    {
        double from = 0;
        double until = 0;
        size_t number = 0;
        SReportGap gap{};  ///< from the first one's begin to the last one's end
    };

    std::vector<SGapBar> gapBars() const
    {
        std::vector<SGapBar> bars;
        for (const size_t place : m_lane.gaps) {
            const SReportGap& gap = m_report.gaps[place];
            const double from = across(m_report.placeOf(gap.from));
            const bool isApart = bars.empty() || bars.back().gap.job != gap.job || from > bars.back().until;
            if (isApart) bars.push_back({.from = from, .gap = gap});
            SGapBar& bar = bars.back();
            bar.until = std::max(from + LEAST_BAR, across(m_report.placeOf(gap.until)));
            bar.gap.until = gap.until;
            ++bar.number;
        }
        return bars;
    }

    void addGap(const SGapBar& bar)
    {
        const std::string runs = bar.number == 1 ? "no run" : std::to_string(bar.number) + " missing runs";
        m_markup += "<rect class=\"gap\" x=\"" + percent(bar.from) + "\" width=\"" + percent(bar.until - bar.from) +
                    "\" y=\"" + number(MARKS_CENTRE - 12) + "\" height=\"24\" rx=\"3\"><title>" +
                    escaped(runs + " of job " + bar.gap.job + " from " + plainTime(bar.gap.from) + " to " +
                            plainTime(bar.gap.until)) +
                    "</title></rect>\n";
    }

    /// Copies of one host that would lie upon each other, as one bar.
    struct SBar
    {
        double from = 0;
        double until = 0;
        ECopyLook look = ECopyLook::GIVEN_BACK;
        std::vector<std::string> texts{};
    };

    static std::string describe(const SReportCopy& copy)
    {
        const std::string from = copy.from ? " from " + plainTime(*copy.from) : "";
        const std::string until = copy.end == ECopyEnd::SHOWS ? ", shows"
                                  : copy.until                ? " until " + plainTime(*copy.until)
                                                              : "";
        return copy.snapshot + " on " + copy.host + from + until + (copy.end == ECopyEnd::NOT_KNOWN ? " or later" : "");
    }

    std::vector<SBar> barsOf(const std::vector<size_t>& copies) const
    {
        std::vector<SBar> bars;
        for (const size_t place : copies) {
            const SReportCopy& copy = m_report.copies[place];
            const double from = copy.from ? across(m_report.placeOf(*copy.from)) : 0;
            const bool isOpen = copy.end == ECopyEnd::SHOWS || !copy.until;
            const double until = isOpen ? 1 : across(m_report.placeOf(*copy.until));
            if (bars.empty() || from > bars.back().until) bars.push_back({.from = from, .until = from});
            SBar& bar = bars.back();
            bar.until = std::min(1.0, std::max({bar.until, until, from + LEAST_BAR}));
            bar.look = std::max(bar.look, lookOf(copy.end, copy.isSure));
            bar.texts.push_back(describe(copy));
        }
        return bars;
    }

    static std::string titleOf(const SBar& bar)
    {
        if (bar.texts.size() == 1) return bar.texts.front();
        return std::to_string(bar.texts.size()) + " copies from " + bar.texts.front() + " to " + bar.texts.back();
    }

    std::string barMarkup(const SBar& bar) const
    {
        const double from = std::min(bar.from, 1 - LEAST_BAR);
        return std::string("<rect class=\"copy ") + LOOK_WORDS[static_cast<size_t>(bar.look)] + "\" x=\"" +
               percent(from) + "\" width=\"" + percent(bar.until - from) + "\" y=\"" + number(m_height + 16) +
               "\" height=\"9\" rx=\"3\"><title>" + escaped(titleOf(bar)) + "</title></rect>\n";
    }

    // A host's name stands above its bars, so that it hides none.
    std::string hostRows()
    {
        constexpr size_t LONGEST_NAME = 36;
        std::string rows;
        for (size_t i = 0; i < m_lane.copies.size();) {
            const std::string& host = m_report.copies[m_lane.copies[i]].host;
            std::vector<size_t> copies;
            for (; i < m_lane.copies.size() && m_report.copies[m_lane.copies[i]].host == host; ++i) {
                copies.push_back(m_lane.copies[i]);
            }
            rows += "<text class=\"host\" x=\"0\" y=\"" + number(m_height + 11) + "\">" +
                    escaped("on " + cutToWidth(printable(host), LONGEST_NAME)) + "</text>\n";
            for (const SBar& bar : barsOf(copies)) {
                rows += barMarkup(bar);
            }
            m_height += HOST_HEIGHT;
        }
        return rows;
    }

    const SReport& m_report;
    const SReportLane& m_lane;
    const std::vector<STick>& m_ticks;
    int m_height = MARKS_HEIGHT;
    std::string m_markup;
};

// Every second one gives way where there is little room.
std::string axisMarkup(const SReport& report, const std::vector<STick>& ticks)
{
    constexpr double NEAR_END = 0.06;
    std::string markup = "<div class=\"axis\" aria-hidden=\"true\"><svg height=\"24\">\n";
    bool isMinor = false;
    for (const STick& tick : ticks) {
        const double at = across(report.placeOf(tick.time));
        const char* const anchor = at < NEAR_END ? "start" : at > 1 - NEAR_END ? "end" : "middle";
        markup += "<text x=\"" + percent(at) + "\" y=\"16\" text-anchor=\"" + anchor + "\"" +
                  (isMinor ? " class=\"minor\"" : "") + ">" + tick.text + "</text>\n";
        isMinor = !isMinor;
    }
    return markup + "</svg></div>\n";
}

}  // namespace

std::string shapesMarkup()
{
    std::string markup =
        "<svg class=\"shapes\" width=\"0\" height=\"0\" aria-hidden=\"true\" focusable=\"false\"><defs>\n";
    for (const SShape& shape : SHAPES) {
        markup += std::string("<g id=\"mark-") + markWord(shape.mark) + "\">" + shape.markup + "</g>\n";
    }
    return markup +
           "<pattern id=\"hatch\" width=\"6\" height=\"6\" patternUnits=\"userSpaceOnUse\" "
           "patternTransform=\"rotate(45)\"><rect class=\"hatch-line\" width=\"2\" height=\"6\"/></pattern>\n"
           "</defs></svg>\n";
}

std::string legendMarkup(const SReport& report)
{
    std::string markup = "<ul class=\"legend\">\n";
    const auto add = [&](const std::string& markupOfSign, const std::string& text) {
        markup +=
            "<li><svg width=\"26\" height=\"20\" aria-hidden=\"true\">" + markupOfSign + "</svg>" + text + "</li>\n";
    };
    for (const EMark mark : MARKS) {
        if (report.count(mark) == 0) continue;
        add(std::string("<svg x=\"13\" y=\"10\" width=\"1\" height=\"1\" class=\"") + markWord(mark) + "\">" +
                shapeMarkup(mark) + "</svg>",
            markText(mark));
    }
    const auto addBar = [&](ECopyEnd end) {
        const auto isSuch = [&](const SReportCopy& copy) { return lookOf(copy.end, copy.isSure) == lookOf(end); };
        if (std::ranges::none_of(report.copies, isSuch)) return;
        add(std::string("<rect class=\"copy ") + LOOK_WORDS[static_cast<size_t>(lookOf(end))] +
                "\" x=\"1\" y=\"6\" width=\"24\" height=\"9\" rx=\"3\"/>",
            copyText(end));
    };
    for (const ECopyEnd end : {ECopyEnd::SHOWS, ECopyEnd::GIVEN_BACK, ECopyEnd::NOT_KNOWN}) {
        addBar(end);
    }
    if (!report.gaps.empty()) {
        add(R"(<rect class="gap" x="1" y="2" width="24" height="16" rx="3"/>)", GAP_TEXT);
    }
    if (report.longestFreeze().count() > 0) {
        add(R"(<path class="stem" d="M13 18V2"/>)",
            "how long the application was frozen, " + freezeText(report.longestFreeze()) + " at most");
    }
    return markup + "</ul>\n";
}

std::string pictureMarkup(const SReport& report)
{
    const std::vector<STick> ticks = ticksOf(report.from, report.until, MOST_TICKS);
    std::string markup = "<div class=\"lanes\">\n" + axisMarkup(report, ticks);
    for (const SReportLane& lane : report.lanes) {
        markup += "<section class=\"lane\">\n<div class=\"of\"><h3>" + isolated(lane.group.second) + "</h3>\n<p>" +
                  isolated(lane.group.first) + "</p>\n<p>" + laneFacts(lane, report.until) + "</p></div>\n" +
                  CLanePicture(report, lane, ticks).markup() + "</section>\n";
    }
    return markup + "</div>\n";
}

}  // namespace fictl
