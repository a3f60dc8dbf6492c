#include "host/src/report/page.h"

#include "host/src/report/markup.h"
#include "host/src/report/picture.h"
#include "host/src/report/tables.h"
#include "host/src/report/wording.h"

namespace fictl {

namespace {

std::string headMarkup(const std::string& title)
{
    const std::string policy = "default-src 'none'; style-src " + policySource(PAGE_STYLE) + "; script-src " +
                               policySource(PAGE_SCRIPT) + "; base-uri 'none'; form-action 'none'";
    return "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
           "<meta http-equiv=\"Content-Security-Policy\" content=\"" +
           policy +
           "\">\n<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
           "<meta name=\"color-scheme\" content=\"light dark\">\n<meta name=\"referrer\" "
           "content=\"no-referrer\">\n<title>" +
           escaped(title) + "</title>\n<style>" + std::string(PAGE_STYLE) + "</style>\n</head>\n";
}

std::string tile(const std::string& name, const std::string& value, bool isAlarm = false)
{
    return std::string(isAlarm ? "<div class=\"alarm\">" : "<div>") + "<dt>" + name + "</dt><dd>" + value +
           "</dd></div>\n";
}

std::string numberTile(const std::string& name, size_t number, bool isAlarm = false)
{
    return tile(name, std::to_string(number), isAlarm && number > 0);
}

std::string tilesMarkup(const SReport& report)
{
    const std::string frozen = freezeText(report.longestFreeze());
    return "<section aria-label=\"In short\">\n<dl class=\"tiles\">\n" + numberTile("Snapshots", report.present) +
           tile("Oldest", ageSince(report.oldest, report.until)) +
           numberTile("Copies show here", report.count(EMark::IMPORTED)) +
           numberTile("Need attention", report.count(EMark::ATTENTION) + report.unreadable.size(), true) +
           tile("Longest freeze", frozen.empty() ? "-" : frozen) +
           (report.gaps.empty() ? "" : numberTile("Missing runs", report.gaps.size(), true)) +
           (report.look ? numberTile("Without record", report.count(EMark::ORPHAN), true) : "") + "</dl>\n</section>\n";
}

std::string timelineMarkup(const SReport& report)
{
    const std::string begin = "<section>\n<h2 id=\"timeline\">Timeline</h2>\n";
    if (report.lanes.empty()) return begin + "<p>There are no snapshots.</p>\n</section>\n";
    return begin + legendMarkup(report) +
           "<p id=\"keys\" class=\"keys\" hidden>Left and right go to the next mark of a group, up and down to the "
           "next group, "
           "Home and "
           "End to the ends; Escape closes the details.</p>\n" +
           pictureMarkup(report) +
           // What is there all the time is where a screen reader notices what appears in it.
           "<div class=\"told\" aria-live=\"polite\"><aside id=\"details\" aria-label=\"Details of the chosen mark\" "
           "hidden></aside></div>\n</section>\n";
}

}  // namespace

std::string pageOf(const SReport& report, const std::string& title)
{
    return headMarkup(title) + "<body>\n<a class=\"skip\" href=\"#snapshots\">To the table of all snapshots</a>\n" +
           shapesMarkup() + "<header>\n<h1>" + isolated(title) + "</h1>\n<p>" + plainTime(report.from) + " to " +
           plainTime(report.until) + ", all times in UTC</p>\n</header>\n<main>\n" + tilesMarkup(report) +
           timelineMarkup(report) + tablesMarkup(report) + "</main>\n<script>" + std::string(PAGE_SCRIPT) +
           "</script>\n</body>\n</html>\n";
}

}  // namespace fictl
