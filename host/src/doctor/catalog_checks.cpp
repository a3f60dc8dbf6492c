#include "host/src/doctor/catalog_checks.h"

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <utility>

#include "host/src/catalog/catalog_check.h"
#include "host/src/catalog/catalog_file.h"
#include "host/src/catalog/catalog_reader.h"
#include "host/src/catalog/sure_look.h"
#include "host/src/doctor/file_checks.h"
#include "host/src/output/error.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

constexpr const char* NAME = "catalog";
constexpr const char* MOVE_AWAY = "keep a copy of the file, move it away, and look up what the appliances hold";

SCheck checkRights(const std::string& path, const struct stat& status)
{
    constexpr mode_t OF_OTHERS = 077;
    const std::string file = "catalog " + path;
    if (!S_ISREG(status.st_mode)) return {ELevel::FAIL, NAME, file + " is no regular file", "move it away"};
    if (access(path.c_str(), R_OK | W_OK) != 0) {
        return {ELevel::FAIL, NAME, file + " cannot be read and written by this user",
                "run fictl as the user who owns it (" + std::to_string(status.st_uid) + "), or chown it"};
    }
    if ((status.st_mode & OF_OTHERS) != 0) {
        return {ELevel::WARN, NAME, file + " can be read or written by others", "chmod 600 " + path};
    }
    return {ELevel::OK, NAME, file + " belongs to this user alone"};
}

SCheck checkFolderRights(const std::string& path)
{
    const std::string folder = std::filesystem::path(path).parent_path();
    struct stat status = {};
    constexpr mode_t WRITABLE_BY_OTHERS = 022;
    if (stat(folder.c_str(), &status) == 0 && (status.st_mode & WRITABLE_BY_OTHERS) != 0) {
        return {ELevel::WARN, NAME, "folder of the catalog " + folder + " can be written to by others",
                "chmod 700 " + folder};
    }
    return checkFolder(NAME, "folder of the catalog", folder, ELevel::FAIL);
}

// All of it, before anything else trusts it.
SCheck checkSoundness(const std::string& path)
{
    SCatalogState state;
    try {
        CCatalogReading(path).run([&](const base::CSqliteDatabase& database) { state = checkContent(database); });
    } catch (const base::ESqlite& error) {
        return {ELevel::FAIL, NAME, "catalog " + path + " cannot be read: " + error.what(), MOVE_AWAY};
    } catch (const EFictl& error) {
        return {ELevel::FAIL, NAME, error.what(), error.next()};
    }
    if (state.problems.empty()) return {ELevel::OK, NAME, "catalog " + path + " is sound"};
    const std::string& first = state.problems.front().text;
    if (state.problems.front().table.empty()) {
        return {ELevel::FAIL, NAME, "catalog " + path + " is damaged: " + first, MOVE_AWAY};
    }
    return {ELevel::FAIL, NAME,
            "catalog " + path + ": " + counted(state.problems.size(), "problem") + " in its records",
            "fictl catalog check"};
}

void checkRecord(const SSnapshot& snapshot, Checks& checks)
{
    const std::string quoted = "snapshot \"" + printable(snapshot.name) + "\"";
    if (!snapshot.thaw.empty() && !snapshot.isHeld()) {
        checks.push_back({ELevel::WARN, NAME, quoted + ": the application may still be frozen",
                          "run its thaw command if it is: " + snapshot.thaw});
    }
    if (snapshot.isInterrupted()) {
        checks.push_back(
            {ELevel::WARN, NAME, quoted + " is " + snapshot.shownState(), "fictl snapshot show " + snapshot.name});
    }
}

void checkRecords(Checks& checks)
{
    try {
        CCatalogReader catalog;
        const Checks found = lookUntilSure([&](CMetProcesses& met) {
            const SListing listing = catalog.list();
            met.add(listing);
            const std::string number = counted(listing.snapshots.size(), "record");
            Checks records = {{ELevel::OK, NAME, "the catalog holds " + number + ", each of which can be read"}};
            for (const SSnapshot& snapshot : listing.snapshots) {
                checkRecord(snapshot, records);
            }
            return records;
        });
        checks.insert(checks.end(), found.begin(), found.end());
    } catch (const EFictl& error) {
        checks.push_back({ELevel::FAIL, NAME, error.what(), error.next().empty() ? MOVE_AWAY : error.next()});
    }
}

}  // namespace

Checks checkCatalog(const std::string& path)
{
    Checks checks = {checkFolderRights(path)};
    struct stat status = {};
    if (lstat(path.c_str(), &status) == 0) {
        checks.push_back(checkRights(path, status));
        if (checks.back().level == ELevel::FAIL) return checks;
    }
    try {
        if (!isCatalogThere(path, ECatalogUse::WRITE)) {
            checks.push_back({ELevel::OK, NAME, "there is no catalog yet; the first snapshot begins it"});
            return checks;
        }
    } catch (const EFictl& error) {
        checks.push_back({ELevel::FAIL, NAME, error.what(), error.next()});
        return checks;
    }
    checks.push_back(checkSoundness(path));
    if (checks.back().level == ELevel::OK) checkRecords(checks);
    return checks;
}

}  // namespace fictl
