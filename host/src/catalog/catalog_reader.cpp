#include "host/src/catalog/catalog_reader.h"

#include "host/src/catalog/catalog_failure.h"
#include "host/src/catalog/catalog_file.h"
#include "host/src/catalog/catalog_place.h"

namespace fictl {

namespace {

std::vector<std::string> namesOf(const base::CSqliteDatabase& database)
{
    std::vector<std::string> names;
    for (base::CSqliteQuery row(database, "SELECT name FROM snapshot ORDER BY name"); row.next();) {
        names.push_back(row.text(0));
    }
    return names;
}

class CCollectedRecords : public CBaseRecordTaker
{
  public:
    void begin() override { m_snapshots.clear(); }
    void take(SSnapshot&& snapshot) override { m_snapshots.push_back(std::move(snapshot)); }
    std::vector<SSnapshot> takeAll() { return std::move(m_snapshots); }

  private:
    std::vector<SSnapshot> m_snapshots;
};

}  // namespace

CCatalogReader::CCatalogReader() : m_path(catalogPath()), m_lock(m_path + "-owners", COwnerLock::EUse::LOOK)
{
    if (!isCatalogThere(m_path, ECatalogUse::READ)) return;
    telling(m_path, "open it", [this] { m_reading.emplace(m_path); });
}

void CCatalogReader::read(const CCatalogReading::Work& work)
{
    telling(m_path, "read", [&] { m_reading->run(work); });
}

std::set<std::string> CCatalogReader::names()
{
    std::vector<std::string> names;
    if (isThere()) {
        read([&](const base::CSqliteDatabase& database) { names = namesOf(database); });
    }
    return {names.begin(), names.end()};
}

SListing CCatalogReader::list()
{
    CCollectedRecords records;
    std::vector<SUnreadable> unreadable = each(records, ERecordParts::ALL);
    return {.snapshots = records.takeAll(), .unreadable = std::move(unreadable)};
}

std::vector<SUnreadable> CCatalogReader::each(CBaseRecordTaker& taker, ERecordParts parts)
{
    std::vector<SUnreadable> unreadable;
    if (isThere()) {
        read([&](const base::CSqliteDatabase& database) { unreadable = readAllRecords(database, taker, parts); });
    }
    return unreadable;
}

std::optional<SSnapshot> CCatalogReader::find(const std::string& name)
{
    std::optional<SSnapshot> snapshot;
    if (isThere()) {
        read([&](const base::CSqliteDatabase& database) { snapshot = findRecord(database, name); });
    }
    return snapshot;
}

SSnapshot CCatalogReader::get(const std::string& name)
{
    std::optional<SSnapshot> snapshot = find(name);
    if (!snapshot) failNotFound(name);
    return *std::move(snapshot);
}

}  // namespace fictl
