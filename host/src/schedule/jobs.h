#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/src/schedule/job_file.h"

namespace fictl {

/// A file of the jobs' folder.
struct SJobFile
{
    std::string name{};  ///< of the job
    std::string path{};
    std::optional<SJob> job{};
    std::string problem{};  ///< why there is no job; empty when there is one
};

/// Files /etc/qz/jobs/NAME.env below OBZX_ROOT, in order of the names as people count; none where there is no such
/// folder. Other files there, and hidden ones, are not looked at. Throws EFictl (IO) when the folder is there and
/// cannot be read.
std::vector<SJobFile> readJobs();

/// Names of the jobs, also of those that cannot be read; none where the folder cannot be read.
std::vector<std::string> jobNames();
/// What decides on what a job runs: the folder, where it is there, and the files of the jobs in it.
std::vector<std::string> jobPaths();

}  // namespace fictl
