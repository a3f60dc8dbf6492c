#include "host/src/doctor/file_checks.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <utility>

#include "host/src/output/private_folder.h"
#include "host/src/process/placed_path.h"

namespace fictl {

namespace {

std::string errorText(int error)
{
    return std::error_code(error, std::generic_category()).message();
}

std::string modeText(mode_t mode)
{
    char text[16];
    std::snprintf(text, sizeof text, "%04o", mode & 07777U);
    return text;
}

// The path itself, or the nearest folder above it that exists.
std::string existingPart(std::string path)
{
    struct stat status = {};
    while (path.size() > 1 && lstat(path.c_str(), &status) != 0) {
        path = std::filesystem::path(path).parent_path();
    }
    return path.empty() ? "." : path;
}

}  // namespace

Checks checkTrusted(const std::string& what, const std::string& path)
{
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0) return {};
    Checks checks;
    if ((status.st_mode & S_IWOTH) != 0) {
        checks.push_back({ELevel::WARN, "rights",
                          what + " " + path + " can be changed by anybody (mode " + modeText(status.st_mode) + ")",
                          "chmod o-w " + path});
    }
    if (status.st_uid != 0 && status.st_uid != geteuid()) {
        checks.push_back({ELevel::WARN, "rights",
                          what + " " + path + " belongs to user " + std::to_string(status.st_uid) +
                              ", who can change what fictl runs",
                          "chown root " + path});
    }
    return checks;
}

Checks checkOwnConfiguration()
{
    const std::string path = placedPath("/etc/qz/fictl.conf");
    struct stat status = {};
    if (lstat(path.c_str(), &status) != 0) return {};
    const bool isFile = stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
    if (!isFile || access(path.c_str(), R_OK) != 0) {
        return {{ELevel::FAIL, "configuration", "is not read, so nothing that it sets holds",
                 "make it a regular file that this user can read", path}};
    }
    Checks checks = {{ELevel::OK, "configuration", "is there and can be read", "", path}};
    for (SCheck& check : checkTrusted("configuration", path)) {
        checks.push_back(std::move(check));
    }
    return checks;
}

SCheck checkTemporaryFolder()
{
    const std::string folder = temporaryFolder();
    const std::string what = "temporary folder " + folder;
    const char* const next = "name a folder that this user can write to in the environment variable TMPDIR";
    std::string name = folder + "/fictl-doctor.XXXXXX";
    const int file = mkostemp(name.data(), O_CLOEXEC);
    if (file < 0) return {ELevel::FAIL, "temporary", what + ": no file can be made: " + errorText(errno), next};
    const bool isWritten = write(file, "probe\n", 6) == 6;
    const int error = errno;
    close(file);
    unlink(name.c_str());
    if (!isWritten) return {ELevel::FAIL, "temporary", what + ": nothing can be written: " + errorText(error), next};
    return {ELevel::OK, "temporary", what + " can be written to"};
}

SCheck checkFolder(const char* name, const std::string& what, const std::string& path, ELevel otherwise)
{
    const std::string there = existingPart(path);
    struct stat status = {};
    const std::string next = "mkdir -p " + path + " && chown " + std::to_string(geteuid()) + " " + path;
    if (stat(there.c_str(), &status) != 0 || !S_ISDIR(status.st_mode)) {
        return {otherwise, name, what + " " + path + ": " + there + " is no folder", next};
    }
    if (access(there.c_str(), W_OK | X_OK) != 0) {
        const std::string reason = errorText(errno);
        return {otherwise, name,
                there == path ? what + " " + path + " cannot be written to: " + reason
                              : what + " " + path + " cannot be made in " + there + ": " + reason,
                next};
    }
    return {ELevel::OK, name, what + " " + path + (there == path ? " can be written to" : " can be made")};
}

SCheck checkTraceFile(const std::string& path, uint64_t sizeLimit)
{
    // A warning only: a provider works without its trace file.
    struct stat status = {};
    const char* const next = "make it a regular file that this user can write to";
    if (stat(path.c_str(), &status) != 0) {
        return checkFolder("trace", "folder of the trace file", std::filesystem::path(path).parent_path(),
                           ELevel::WARN);
    }
    if (!S_ISREG(status.st_mode)) return {ELevel::WARN, "trace", "trace file " + path + " is no regular file", next};
    if (access(path.c_str(), W_OK) != 0) {
        return {ELevel::WARN, "trace", "trace file " + path + " cannot be written to: " + errorText(errno), next};
    }
    const auto size = static_cast<uint64_t>(status.st_size);
    if (sizeLimit != 0 && size > 2 * sizeLimit) {
        return {ELevel::WARN, "trace",
                "trace file " + path + " has " + std::to_string(size) + " bytes, and should be exchanged at " +
                    std::to_string(sizeLimit),
                "see that its folder can be written to, so that a new one can be begun"};
    }
    return {ELevel::OK, "trace", "trace file " + path + " can be written to, " + std::to_string(size) + " bytes"};
}

}  // namespace fictl
