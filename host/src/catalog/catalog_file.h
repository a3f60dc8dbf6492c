#pragma once

#include <sys/types.h>

#include <set>
#include <string>

namespace fictl {

/// Who may own the catalog and its folder: its user, root, and whom the administrator names. Whoever else could put in
/// its place what he likes, and would have it worked on with the rights of that user.
struct SCatalogOwners
{
    uid_t user;
    std::set<uid_t> named{};  ///< CATALOG/OWNERS of /etc/qz/fictl.conf

    /// Of the user of this process.
    static SCatalogOwners current();
    bool mayBe(uid_t owner) const { return owner == user || owner == 0 || named.contains(owner); }
};

/// What the catalog is looked at for.
enum class ECatalogUse
{
    READ,
    WRITE,
};

/**
 * Whether there is a catalog at a path. Throws EFictl (CATALOG) for what cannot be one that is whole: something that is
 * no regular file, belongs to somebody else or may not be used by this user; a file that was cut to nothing, since a
 * catalog appears with its tables in it; a log that was left without its file.
 */
bool isCatalogThere(const std::string& path, ECatalogUse use, const SCatalogOwners& owners);
bool isCatalogThere(const std::string& path, ECatalogUse use);

/// The same for the catalog of this user, which is made where there is none: its folder (0700), those above with the
/// usual rights, and a file without records (0600). Of several processes that do so at once one makes it. All of it is
/// on disk then. Gives the path. Throws EFictl (CATALOG).
std::string prepareCatalogFile();

}  // namespace fictl
