#pragma once

#include <string>

namespace fictl {

/// What of a user decides where the catalog lies.
struct SCatalogUser
{
    std::string common;  ///< /var/lib/qz/fictl.db, below OBZX_ROOT
    bool isRoot = true;
    bool hasRootFolder = false;  ///< OBZX_ROOT is set
    std::string stateFolder;     ///< XDG_STATE_HOME
    std::string home;

    /// The user of this process.
    static SCatalogUser current();
};

/**
 * Where the catalog of a user lies: /var/lib/qz/fictl.db below OBZX_ROOT, for root and wherever OBZX_ROOT is set; else
 * cdpfi/fictl.db in the user's state folder ($XDG_STATE_HOME, by default ~/.local/state). A catalog in /var/lib/qz that
 * the user owns stays in use, so that none is lost out of sight.
 */
std::string catalogPath(const SCatalogUser& user);
std::string catalogPath();

}  // namespace fictl
