#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "host/src/provider_check/checks.h"

namespace fictl {

enum class ECheckOutcome
{
    PASS,
    FAIL,
    SKIP,  ///< the provider gave no occasion to tell
};

/// What became of a check.
struct SCheckResult
{
    const SProviderCheck* check = nullptr;
    ECheckOutcome outcome = ECheckOutcome::FAIL;
    std::string call{};  ///< that broke it
    std::string expected{};
    std::string came{};    ///< of a check that failed what came, of one that was skipped why
    std::string remark{};  ///< of a check that passed
    double seconds = 0;
};

const char* nameOf(ECheckOutcome outcome);

/// What the process of a check tells the one that waits for it.
nlohmann::json toJson(const SCheckResult& result);
/// False for a document that none of these processes writes.
bool readResult(const nlohmann::json& document, SCheckResult& result);

/// One line: "NAME: PASS", "NAME: FAIL: what was called: expected this, came that".
std::string lineOf(const SCheckResult& result);
/// The results as a JUnit document, one test case for each.
std::string junitText(const std::string& library, const std::vector<SCheckResult>& results);

}  // namespace fictl
