#include "host/src/doctor/checks.h"

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>

#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

const char* levelText(ELevel level)
{
    constexpr std::array TEXTS = {"OK", "WARN", "FAIL"};  // in order of ELevel
    return TEXTS.at(static_cast<size_t>(level));
}

}  // namespace

std::string checksText(const Checks& checks)
{
    constexpr size_t LEVEL_WIDTH = 5;
    std::string text;
    for (const SCheck& check : checks) {
        std::string line = levelText(check.level);
        line.append(LEVEL_WIDTH - line.size(), ' ');
        if (!check.file.empty()) line += check.file + (check.line == 0 ? "" : ":" + std::to_string(check.line)) + ": ";
        line += check.text;
        if (!check.next.empty()) line += "; next: " + check.next;
        text += printable(line) + "\n";
    }
    return text;
}

json doctorJson(const Checks& checks)
{
    json list = json::array();
    for (const SCheck& check : checks) {
        list.push_back({{"level", levelText(check.level)},
                        {"name", check.name},
                        {"text", check.text},
                        {"file", textOrNull(check.file)},
                        {"line", check.line == 0 ? json() : json(check.line)},
                        {"next", textOrNull(check.next)}});
    }
    return {{"doctor", {{"checks", std::move(list)}, {"ok", isHealthy(checks)}}}};
}

bool isHealthy(const Checks& checks)
{
    return std::none_of(checks.begin(), checks.end(), [](const SCheck& check) { return check.level == ELevel::FAIL; });
}

}  // namespace fictl
