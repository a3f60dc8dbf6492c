#include "host/src/schedule/jobs.h"

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "base/file_read.h"
#include "host/src/output/error.h"
#include "host/src/process/placed_path.h"
#include "host/src/text/display_text.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

namespace fs = std::filesystem;

constexpr const char* FOLDER = "/etc/qz/jobs";
constexpr std::string_view ENDING = ".env";
constexpr size_t LONGEST = 65536;

// Names in the folder, and what keeps it from being read.
std::vector<std::string> namesIn(const std::string& folder, std::error_code& error)
{
    std::vector<std::string> names;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
        const std::string file = entry->path().filename();
        // What is hidden is an editor's, such as the lock of a file that somebody is at.
        if (!file.starts_with('.') && file.ends_with(ENDING)) {
            names.push_back(file.substr(0, file.size() - ENDING.size()));
        }
    }
    std::ranges::sort(names, SNameOrder());
    return names;
}

std::string pathOf(const std::string& folder, const std::string& name)
{
    return folder + "/" + name + std::string(ENDING);
}

UtcTime changedAt(const std::string& path)
{
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0) return {};
    return UtcTime(std::chrono::seconds(status.st_mtim.tv_sec) + std::chrono::nanoseconds(status.st_mtim.tv_nsec));
}

SJobFile readJob(const std::string& name, const std::string& path)
{
    SJobFile file{.name = name, .path = path};
    if (!isJobName(name)) {
        file.problem = "a job's name is 1 to 64 letters, digits or ._-, the first one a letter or a digit";
        return file;
    }
    const base::SFileText read = base::readFile(path, LONGEST);
    if (!read) {
        file.problem = base::reasonOf(read, LONGEST);
        return file;
    }
    try {
        file.job = parseJob(name, read.text);
        file.job->since = changedAt(path);
    } catch (const EJobFile& problem) {
        file.problem = problem.what();
    }
    return file;
}

}  // namespace

std::vector<SJobFile> readJobs()
{
    const std::string folder = placedPath(FOLDER);
    std::error_code error;
    std::vector<SJobFile> files;
    for (const std::string& name : namesIn(folder, error)) {
        files.push_back(readJob(name, pathOf(folder, name)));
    }
    if (error && error != std::errc::no_such_file_or_directory) {
        throw EFictl(EExit::IO, "cannot read " + folder + ": " + error.message());
    }
    return files;
}

std::vector<std::string> jobNames()
{
    std::error_code ignored;
    return namesIn(placedPath(FOLDER), ignored);
}

std::vector<std::string> jobPaths()
{
    const std::string folder = placedPath(FOLDER);
    std::error_code ignored;
    if (!fs::exists(folder, ignored)) return {};
    std::vector<std::string> paths = {folder};
    for (const std::string& name : jobNames()) {
        paths.push_back(pathOf(folder, name));
    }
    return paths;
}

}  // namespace fictl
