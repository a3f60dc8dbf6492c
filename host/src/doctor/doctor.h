#pragma once

#include <chrono>
#include <nlohmann/json.hpp>
#include <string>

#include "host/src/doctor/checks.h"
#include "host/src/output/progress.h"

namespace fictl {

/// Limit of each appliance command when the user sets none: a command that needs longer is worth a line.
constexpr std::chrono::seconds DOCTOR_PATIENCE{20};

struct SDoctorOrder
{
    std::string provider;  ///< name or path
    std::chrono::seconds timeout = DOCTOR_PATIENCE;
    const CProgress& progress;
};

/// What was found, and what it was found from.
struct SDiagnosis
{
    Checks checks;
    json inspection;  ///< the inspector's document; null when there is none
    json provider;    ///< what "provider show" tells; null when the provider could not be loaded
};

/// Looks at everything that a snapshot needs on this host, and changes nothing. There must be a guardian. Throws EFictl
/// (STOPPED) when fictl was asked to stop.
SDiagnosis diagnose(const SDoctorOrder& order);

}  // namespace fictl
