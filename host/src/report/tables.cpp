#include "host/src/report/tables.h"

#include <vector>

#include "host/src/report/markup.h"
#include "host/src/report/wording.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

/// A section with a heading and one table, whose first column names the row.
class CTable
{
  public:
    struct SColumn
    {
        const char* heading;
        bool isWhole = false;  ///< its texts are short, and stay on one line
    };

    CTable(const std::string& id, const std::string& heading, const std::string& caption, std::vector<SColumn> columns)
        : m_columns(std::move(columns))
    {
        m_markup = "<section>\n<h2 id=\"" + id + "\">" + heading +
                   "</h2>\n<div class=\"scroll\" role=\"region\" tabindex=\"0\" aria-labelledby=\"" + id +
                   "\">\n<table>\n<caption>" + caption + "</caption>\n<thead><tr>";
        for (const SColumn& column : m_columns) {
            m_markup += std::string(column.isWhole ? "<th scope=\"col\" class=\"whole\">" : "<th scope=\"col\">") +
                        column.heading + "</th>";
        }
        m_markup += "</tr></thead>\n<tbody>\n";
    }

    /// @param id empty: the row has none
    void add(const std::string& id, const std::vector<std::string>& cells)
    {
        m_markup += id.empty() ? "<tr>" : "<tr id=\"" + id + "\">";
        for (size_t i = 0; i < cells.size(); ++i) {
            const std::string text = cells[i].empty() ? "-" : escaped(cells[i]);
            const char* const cell = m_columns.at(i).isWhole ? "<td class=\"whole\">" : "<td>";
            m_markup += i == 0 ? "<th scope=\"row\">" + text + "</th>" : cell + text + "</td>";
        }
        m_markup += "</tr>\n";
    }

    std::string markup() const { return m_markup + "</tbody>\n</table>\n</div>\n</section>\n"; }

  private:
    std::vector<SColumn> m_columns;
    std::string m_markup;
};

std::string groupsText(const std::vector<GroupKey>& groups)
{
    std::string text;
    for (const GroupKey& group : groups) {
        text += (text.empty() ? "" : ", ") + shortGroup(group);
    }
    return text;
}

std::string stateOf(const SReportSnapshot& snapshot)
{
    return snapshot.deleted.empty() ? snapshot.state : snapshot.state + " " + plainTime(snapshot.deleted);
}

// What the last step failed with belongs to what people say of the snapshot.
std::string notesOf(const SReportSnapshot& snapshot)
{
    return snapshot.note + (snapshot.note.empty() || snapshot.message.empty() ? "" : "; ") + snapshot.message;
}

std::string snapshotsMarkup(const SReport& report)
{
    const std::string left =
        report.earlier == 0 ? "" : " " + counted(report.earlier, "snapshot") + " of earlier times not shown.";
    CTable table("snapshots", "Snapshots",
                 "All that were made from " + plainTime(report.from) + " to " + plainTime(report.until) +
                     ", the latest first." + left,
                 {{"Name"},
                  {"State"},
                  {"Made", true},
                  {"Age", true},
                  {"Groups"},
                  {"LUNs", true},
                  {"Frozen", true},
                  {"By"},
                  {"Labels"},
                  {"Notes"}});
    for (size_t i = 0; i < report.snapshots.size(); ++i) {
        const SReportSnapshot& snapshot = report.snapshots[i];
        table.add("s" + std::to_string(i),
                  {snapshot.name, stateOf(snapshot), plainTime(snapshot.created), ageSince(snapshot.time, report.until),
                   groupsText(snapshot.groups), snapshot.devices == 0 ? "" : std::to_string(snapshot.devices),
                   freezeText(snapshot.frozen), snapshot.creator, snapshot.labels, notesOf(snapshot)});
    }
    return table.markup();
}

std::string timeText(std::optional<UtcTime> time)
{
    return time ? plainTime(*time) : "";
}

std::string copiesMarkup(const SReport& report)
{
    if (report.copies.empty()) return "";
    CTable table("copies", "Copies",
                 "Time images of checkpoints, by the host that imported them. Other hosts' imports are known there.",
                 {{"Snapshot"}, {"Host"}, {"Group"}, {"From", true}, {"Until", true}, {"End", true}});
    for (const SReportCopy& copy : report.copies) {
        table.add("", {copy.snapshot, copy.host, shortGroup(copy.group),
                       timeText(copy.from) + (copy.isSure ? "" : " (not sure)"),
                       copy.end == ECopyEnd::SHOWS ? "" : timeText(copy.until), endText(copy.end)});
    }
    return table.markup();
}

std::string gapsMarkup(const SReport& report)
{
    if (report.gaps.empty()) return "";
    CTable table("gaps", "Missing runs", "Times in which a run of a job was due and none began.",
                 {{"Job"}, {"From", true}, {"Until", true}});
    for (const SReportGap& gap : report.gaps) {
        table.add("", {gap.job, plainTime(gap.from), plainTime(gap.until)});
    }
    return table.markup();
}

std::string unreadableMarkup(const SReport& report)
{
    if (report.unreadable.empty()) return "";
    CTable table("unreadable", "Records that cannot be read", "fictl catalog check tells more.",
                 {{"Name"}, {"Reason"}});
    for (const SUnreadable& each : report.unreadable) {
        table.add("", {each.name, each.reason});
    }
    return table.markup();
}

std::string lookMarkup(const SReport& report)
{
    if (!report.look) {
        return "<section>\n<h2>On the appliances</h2>\n<p>The appliances were not asked, so what they hold and no "
               "record has "
               "is not shown; <code>fictl report --look</code> asks them.</p>\n</section>\n";
    }
    const SReportLook& look = *report.look;
    std::string markup;
    if (look.orphans.empty()) {
        markup = "<section>\n<h2>On the appliances</h2>\n";
        if (look.notTold.empty()) markup += "<p>The appliances hold nothing of this host that no record has.</p>\n";
        markup += "</section>\n";
    } else {
        CTable table("orphans", "On the appliances",
                     "What they hold and no record has; fictl reconcile tells what to do about it.",
                     {{"Name"}, {"Kind", true}, {"Class", true}, {"Group"}, {"Made", true}, {"Evidence"}});
        for (size_t i = 0; i < look.orphans.size(); ++i) {
            const SReportOrphan& orphan = look.orphans[i];
            table.add("o" + std::to_string(i), {orphan.name, orphan.kind, orphan.klass, shortGroup(orphan.group),
                                                plainTime(orphan.time), orphan.evidence});
        }
        markup = table.markup();
    }
    for (const std::string& reason : look.notTold) {
        markup += "<p>Not everything was told: " + escaped(reason) + "</p>\n";
    }
    return markup;
}

}  // namespace

std::string tablesMarkup(const SReport& report)
{
    return snapshotsMarkup(report) + copiesMarkup(report) + gapsMarkup(report) + unreadableMarkup(report) +
           lookMarkup(report);
}

}  // namespace fictl
