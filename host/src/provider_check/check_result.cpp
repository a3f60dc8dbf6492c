#include "host/src/provider_check/check_result.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

using nlohmann::json;

constexpr ECheckOutcome OUTCOMES[] = {ECheckOutcome::PASS, ECheckOutcome::FAIL, ECheckOutcome::SKIP};

std::string threeDecimals(double seconds)
{
    const std::string text = std::to_string(seconds);
    return text.substr(0, text.find('.') + 4);
}

// A value of an attribute. Control characters have no place in such a document.
std::string attribute(const char* name, const std::string& value)
{
    std::string text = std::string(" ") + name + "=\"";
    for (const char character : printable(value)) {
        switch (character) {
            case '&':
                text += "&amp;";
                break;
            case '<':
                text += "&lt;";
                break;
            case '"':
                text += "&quot;";
                break;
            default:
                text += character;
        }
    }
    return text + "\"";
}

std::string whyOf(const SCheckResult& result)
{
    if (result.outcome == ECheckOutcome::SKIP) return result.came;
    return result.call + ": expected " + result.expected + ", came " + result.came;
}

long countOf(const std::vector<SCheckResult>& results, ECheckOutcome outcome)
{
    return std::count_if(results.begin(), results.end(),
                         [outcome](const SCheckResult& result) { return result.outcome == outcome; });
}

}  // namespace

const char* nameOf(ECheckOutcome outcome)
{
    switch (outcome) {
        case ECheckOutcome::PASS:
            return "PASS";
        case ECheckOutcome::FAIL:
            return "FAIL";
        default:
            return "SKIP";
    }
}

json toJson(const SCheckResult& result)
{
    return {{"outcome", nameOf(result.outcome)}, {"call", result.call},
            {"expected", result.expected},       {"came", result.came},
            {"remark", result.remark},           {"seconds", result.seconds}};
}

bool readResult(const json& document, SCheckResult& result)
{
    if (!document.is_object()) return false;
    const std::string outcome = document.value("outcome", "");
    const auto* const found = std::find_if(std::begin(OUTCOMES), std::end(OUTCOMES),
                                           [&outcome](ECheckOutcome each) { return outcome == nameOf(each); });
    if (found == std::end(OUTCOMES)) return false;
    result.outcome = *found;
    result.call = document.value("call", "");
    result.expected = document.value("expected", "");
    result.came = document.value("came", "");
    result.remark = document.value("remark", "");
    return true;
}

std::string lineOf(const SCheckResult& result)
{
    const std::string head = std::string(result.check->name) + ": " + nameOf(result.outcome);
    const std::string rest = result.outcome == ECheckOutcome::PASS ? result.remark : whyOf(result);
    return printable(rest.empty() ? head : head + ": " + rest);
}

std::string junitText(const std::string& library, const std::vector<SCheckResult>& results)
{
    std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuite" + attribute("name", library) +
                       attribute("tests", std::to_string(results.size())) +
                       attribute("failures", std::to_string(countOf(results, ECheckOutcome::FAIL))) +
                       attribute("skipped", std::to_string(countOf(results, ECheckOutcome::SKIP))) + ">\n";
    for (const SCheckResult& result : results) {
        text += "  <testcase classname=\"provider-check\"" + attribute("name", result.check->name) +
                attribute("time", threeDecimals(result.seconds));
        if (result.outcome == ECheckOutcome::PASS) {
            text += "/>\n";
        } else {
            const char* const element = result.outcome == ECheckOutcome::FAIL ? "failure" : "skipped";
            text += std::string(">\n    <") + element + attribute("message", whyOf(result)) + "/>\n  </testcase>\n";
        }
    }
    return text + "</testsuite>\n";
}

}  // namespace fictl
