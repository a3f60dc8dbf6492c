#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "host/src/catalog/catalog_reader.h"
#include "host/src/catalog/history_entry.h"

namespace fictl {

/// All of the catalog at one moment, with what was under way then.
struct SCatalogView
{
    std::string path;
    SListing records;
    std::vector<SHistoryEntry> history;  ///< oldest first
    std::set<std::string> held;          ///< records that another living process is at work on
    std::set<int64_t> running;           ///< entries of living processes other than this one

    const SSnapshot* record(const std::string& name) const;
};

/// Throws EFictl (CATALOG) when it cannot be read; a catalog that is not there has nothing in it.
SCatalogView viewCatalog();

/**
 * What was under way while the appliances were looked at: between two views of the catalog, so that what a command has
 * changed meanwhile is taken for nothing else.
 */
class CUnderWay
{
  public:
    CUnderWay(const SCatalogView& before, const SCatalogView& after);

    /// What is under way with a record, or with an object of a group; empty when nothing is.
    std::string ofRecord(const std::string& name) const;
    std::string ofObject(const std::string& kind, const GroupKey& group, const std::string& name) const;
    bool isEntry(int64_t number) const { return m_entries.contains(number); }

  private:
    void addRecord(const SSnapshot& record, const std::string& what);

    std::map<std::string, std::string> m_records;
    std::map<std::pair<GroupKey, std::string>, std::string> m_objects;
    std::set<int64_t> m_entries;
};

}  // namespace fictl
