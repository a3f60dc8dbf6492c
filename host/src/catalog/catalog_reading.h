#pragma once

#include <functional>
#include <optional>
#include <string>

#include "base/sqlite.h"

namespace fictl {

/**
 * A catalog that is opened to be read: nothing is made or changed in it, and a lock that others hold for writing is no
 * hindrance. Where SQLite cannot keep its own files beside the catalog, since the file system is read-only or full, or
 * the folder is not to be written to by this user, the catalog is read without locks, its log too; what was read counts
 * when neither has changed meanwhile.
 *
 * All calls throw as base::CSqliteDatabase does, and EFictl (CATALOG) for a layout that this fictl does not know.
 */
class CCatalogReading
{
  public:
    using Work = std::function<void(const base::CSqliteDatabase& database)>;

    /// The file must be there.
    explicit CCatalogReading(const std::string& path);

    /// Does work that only reads; it sees one state of the catalog throughout, and may have to be done anew.
    void run(const Work& work);

  private:
    /// Tells one state of the catalog from another.
    struct SMark
    {
        int64_t inode = 0;
        int64_t size = 0;
        int64_t seconds = 0;
        int64_t nanoseconds = 0;

        static SMark of(const std::string& file);
        bool operator==(const SMark&) const = default;
    };
    struct SMarks
    {
        SMark file{};
        SMark log{};
        bool operator==(const SMarks&) const = default;
    };

    SMarks marks() const { return {SMark::of(m_path), SMark::of(m_path + "-wal")}; }
    bool openWithLocks();
    void openWithoutLocks();
    void runOnce(const Work& work);

    std::string m_path;
    SMarks m_marks;  // as it was when it was opened without locks
    bool m_isLocked = false;
    std::optional<base::CSqliteDatabase> m_database;
};

}  // namespace fictl
