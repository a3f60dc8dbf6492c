#include "appliance/core/store/store.h"

#include <fcntl.h>

#include <system_error>

#include "appliance/core/conventions/error.h"
#include "appliance/core/conventions/names.h"
#include "appliance/core/engines/table/engine_module.h"
#include "appliance/core/files/file_io.h"
#include "appliance/core/files/range_lock.h"
#include "appliance/core/store/work_folder.h"

namespace lumora {
namespace fs = std::filesystem;
namespace {

constexpr int SCHEMA_VERSION = 2;

// Rows of time_image_grant are the hosts that were granted one image, rows of group_grant those granted the whole
// group. A row of discovered says that a host has looked since it was granted.
constexpr const char* SCHEMA = R"sql(
CREATE TABLE appliance (id INTEGER PRIMARY KEY, name TEXT NOT NULL UNIQUE, created TEXT NOT NULL);
CREATE TABLE host (id INTEGER PRIMARY KEY, appliance_id INTEGER NOT NULL REFERENCES appliance(id),
  name TEXT NOT NULL, UNIQUE (appliance_id, name));
CREATE TABLE cgroup (id INTEGER PRIMARY KEY AUTOINCREMENT, appliance_id INTEGER NOT NULL REFERENCES appliance(id),
  name TEXT NOT NULL, UNIQUE (appliance_id, name));
CREATE TABLE lun (id INTEGER PRIMARY KEY AUTOINCREMENT, appliance_id INTEGER NOT NULL REFERENCES appliance(id),
  cgroup_id INTEGER NOT NULL REFERENCES cgroup(id), name TEXT NOT NULL, serial TEXT NOT NULL UNIQUE,
  size INTEGER NOT NULL, UNIQUE (appliance_id, name));
CREATE INDEX lun_cgroup ON lun(cgroup_id);
CREATE TABLE presentation (lun_id INTEGER NOT NULL REFERENCES lun(id), host_id INTEGER NOT NULL REFERENCES host(id),
  PRIMARY KEY (lun_id, host_id)) WITHOUT ROWID;
CREATE TABLE group_grant (cgroup_id INTEGER NOT NULL REFERENCES cgroup(id),
  host_id INTEGER NOT NULL REFERENCES host(id), PRIMARY KEY (cgroup_id, host_id)) WITHOUT ROWID;
CREATE TABLE annotation (id INTEGER PRIMARY KEY AUTOINCREMENT, cgroup_id INTEGER NOT NULL REFERENCES cgroup(id),
  name TEXT NOT NULL, message TEXT NOT NULL, created TEXT NOT NULL, folder TEXT NOT NULL UNIQUE,
  UNIQUE (cgroup_id, name));
CREATE TABLE annotation_lun (annotation_id INTEGER NOT NULL REFERENCES annotation(id) ON DELETE CASCADE,
  lun_id INTEGER NOT NULL REFERENCES lun(id), PRIMARY KEY (annotation_id, lun_id)) WITHOUT ROWID;
CREATE INDEX annotation_lun_lun ON annotation_lun(lun_id);
CREATE TABLE time_image (id INTEGER PRIMARY KEY AUTOINCREMENT, cgroup_id INTEGER NOT NULL REFERENCES cgroup(id),
  annotation_id INTEGER NOT NULL REFERENCES annotation(id), name TEXT NOT NULL, created TEXT NOT NULL,
  folder TEXT NOT NULL UNIQUE, preserve INTEGER NOT NULL, prevent_expiration INTEGER NOT NULL,
  proactive_expiration INTEGER NOT NULL, UNIQUE (cgroup_id, name));
CREATE INDEX time_image_annotation ON time_image(annotation_id);
CREATE TABLE time_image_lun (id INTEGER PRIMARY KEY,
  time_image_id INTEGER NOT NULL REFERENCES time_image(id) ON DELETE CASCADE,
  lun_id INTEGER NOT NULL REFERENCES lun(id), serial TEXT NOT NULL UNIQUE, UNIQUE (time_image_id, lun_id));
CREATE TABLE time_image_grant (time_image_id INTEGER NOT NULL REFERENCES time_image(id) ON DELETE CASCADE,
  host_id INTEGER NOT NULL REFERENCES host(id), PRIMARY KEY (time_image_id, host_id)) WITHOUT ROWID;
CREATE TABLE discovered (time_image_id INTEGER NOT NULL REFERENCES time_image(id) ON DELETE CASCADE,
  host_id INTEGER NOT NULL REFERENCES host(id), PRIMARY KEY (time_image_id, host_id)) WITHOUT ROWID;
CREATE VIEW granted AS
  SELECT time_image_id, host_id FROM time_image_grant
  UNION SELECT time_image.id, group_grant.host_id FROM time_image JOIN group_grant USING (cgroup_id);
)sql";

// What version 2 has and version 1 had not: there, one engine kept all.
constexpr const char* ENGINE_OF_EACH_APPLIANCE = R"sql(
ALTER TABLE appliance ADD COLUMN engine TEXT NOT NULL DEFAULT 'files';
)sql";

[[noreturn]] void refuseFolder(const fs::path& root)
{
    throw EApplianceError(EStatus::UNUSABLE, "folder " + inQuotes(root.string()) + " holds no appliance store");
}

SLayout prepareLayout(const fs::path& root, CStore::EMode mode)
{
    if (root.empty()) throw EApplianceError(EStatus::UNUSABLE, "no store folder given");
    checkStorePath(root.string());
    if (mode == CStore::EMode::CREATE) makeFolder(SLayout{root}.base());
    std::error_code error;
    const fs::path real = fs::canonical(root, error);
    if (error && mode == CStore::EMode::EXISTING) refuseFolder(root);
    checkStorePath(real.string());
    return SLayout{real};
}

CDatabase openDatabase(const SLayout& layout, const SEngineSetup& setup, CDatabase::EMode mode)
{
    if (setup.isShared) return {cephModule().prepareCatalog(setup), mode};
    return {layout.database(), mode};
}

void makeTables(CDatabase& database)
{
    CTransaction transaction(database, CTransaction::EKind::WRITE);
    if (database.version() == 0) {
        database.execute(SCHEMA);
        database.execute(ENGINE_OF_EACH_APPLIANCE);
        database.execute("PRAGMA user_version = 2");
        transaction.commit();
    }
}

CDatabase prepareDatabase(const SLayout& layout, const SEngineSetup& setup, CStore::EMode mode)
{
    if (setup.isShared) makeFolder(layout.base());  // the first tool on a machine that joins others
    if (mode == CStore::EMode::CREATE) {
        // One process makes the tables; those that come meanwhile wait and find them.
        const base::CFileDescriptor lock = lockByte(layout.createLock(), 0);
        // The database library would make the file readable by others; its log files take the rights of this one.
        if (!setup.isShared) openFile(layout.database(), O_RDWR | O_CREAT);
        CDatabase database = openDatabase(layout, setup, CDatabase::EMode::CREATE);
        makeTables(database);
    } else if (std::error_code error; !setup.isShared && !fs::is_regular_file(layout.database(), error)) {
        refuseFolder(layout.root);
    }
    return openDatabase(layout, setup, CDatabase::EMode::EXISTING);
}

// Brings a database of an earlier version up to this one; several processes may try at once. Returns the version that
// it has now.
int64_t migrate(CDatabase& database)
{
    const int64_t found = database.version();
    if (found != 1) return found;
    CTransaction transaction(database, CTransaction::EKind::WRITE);
    if (database.version() == 1) {
        database.execute(ENGINE_OF_EACH_APPLIANCE);
        database.execute("PRAGMA user_version = 2");
        transaction.commit();
    }
    return database.version();
}

}  // namespace

CStore::CStore(const fs::path& root, EMode mode)
    : m_layout(prepareLayout(root, mode)),
      m_setup(readEngineSetup(m_layout.root, {m_layout.settings(), m_layout.earlierSettings()})),
      m_database(prepareDatabase(m_layout, m_setup, mode))
{
    m_setup.catalog = &m_database;
    if (migrate(m_database) != SCHEMA_VERSION) {
        throw EApplianceError(EStatus::UNUSABLE, "store database " + m_layout.database().string() +
                                                     " is of a version that this program does not know");
    }
}

std::unique_ptr<CBaseStorageEngine> CStore::makeEngine(const std::string& appliance, const std::string& engine)
{
    const fs::path home = m_layout.appliance(appliance);
    if (m_setup.isShared && !isThere(home)) makeAreas(home);  // another machine made the appliance
    return lumora::makeEngine(m_setup, {home, engine});
}

}  // namespace lumora
