#pragma once

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "tests/site.h"

/// A site whose host "production" takes snapshots that the host "backup" imports.
class CBackupTest : public testing::Test
{
  protected:
    /// Takes a snapshot on the production host; its document.
    SRun create(const std::string& name, const std::vector<std::string>& devices) const;
    /// Carries the record to the backup host.
    void carry(const std::string& name) const;
    /// The same, and imports it there: import paths by source device.
    std::map<std::string, std::string> importOnBackup(const std::string& name) const;

    CSite site;
};
