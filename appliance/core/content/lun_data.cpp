#include "appliance/core/content/lun_data.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <vector>

#include "appliance/core/conventions/error.h"
#include "appliance/core/conventions/names.h"
#include "appliance/core/files/file_io.h"
#include "appliance/core/files/gate.h"
#include "appliance/core/store/work_folder.h"

namespace lumora {
namespace fs = std::filesystem;
namespace {

uint64_t sizeOfFile(const fs::path& file)
{
    struct stat info = {};
    const bool isThere = ::stat(file.c_str(), &info) == 0;
    if (!isThere && errno != ENOENT && errno != ENOTDIR) throwStorage("look at", file.string(), errno);
    if (!isThere || !S_ISREG(info.st_mode) || info.st_size == 0) {
        throw EApplianceError(EStatus::MALFORMED,
                              "file " + inQuotes(file.string()) + " is not a regular file with content");
    }
    return static_cast<uint64_t>(info.st_size);
}

uint64_t chooseSize(std::optional<uint64_t> size, const std::optional<fs::path>& file)
{
    if (!size && !file) throw EApplianceError(EStatus::MALFORMED, "a LUN needs a size or a file");
    const uint64_t content = file ? sizeOfFile(*file) : 0;
    const uint64_t chosen = size.value_or(content);
    if (chosen < content) {
        throw EApplianceError(EStatus::MALFORMED, "file " + inQuotes(file->string()) + " is larger than the LUN of " +
                                                      formatSize(chosen) + "; leave the size out or raise it");
    }
    return chosen;
}

void checkRange(const SLun& lun, uint64_t offset, uint64_t length)
{
    if (offset > lun.size || length > lun.size - offset) {
        throw EApplianceError(EStatus::MALFORMED, "LUN " + inQuotes(lun.name) + " has " + std::to_string(lun.size) +
                                                      " bytes: " + std::to_string(length) + " bytes at offset " +
                                                      std::to_string(offset) + " are not inside it");
    }
}

uint64_t writeFrom(const CLunData::Source& source, int file, uint64_t offset, uint64_t length, const fs::path& data)
{
    uint64_t done = 0;
    while (done < length) {
        const std::string_view bytes = source(length - done);
        if (bytes.empty()) break;
        writeAt(file, bytes.substr(0, length - done), offset + done, data);
        done += std::min<uint64_t>(bytes.size(), length - done);
    }
    return done;
}

}  // namespace

SVolume volumeOf(const SLun& lun)
{
    return {lun.id, lun.name, lun.size, lun.groupId};
}

CLunData::CLunData(CStore& store, const SAppliance& appliance)
    : m_store(store),
      m_appliance(appliance),
      m_engine(store.makeEngine(appliance.name, appliance.engine)),
      m_inventory(store)
{
}

fs::path CLunData::path(const SLun& lun) const
{
    return m_store.layout().lun(m_appliance.name, lun.name);
}

void CLunData::attach(const std::vector<SLun>& luns)
{
    std::vector<SDevice> devices;
    devices.reserve(luns.size());
    for (const SLun& lun : luns) {
        devices.push_back({volumeOf(lun), "", path(lun), ""});
    }
    m_engine->attach(devices);
}

SLun CLunData::create(const std::string& groupName, const std::string& name, std::optional<uint64_t> size,
                      const std::optional<fs::path>& file)
{
    checkName(EObject::LUN, name);
    m_inventory.group(m_appliance, groupName);
    const fs::path home = m_store.layout().appliance(m_appliance.name);
    {
        const base::CFileDescriptor alone = lockLuns(home);
        collect();
    }

    SLun lun;
    lun.name = name;
    lun.serial = newSerial();
    lun.size = chooseSize(size, file);
    lun.group = groupName;
    const CWorkFolder folder(home, EArea::WORK, [this](const fs::path& left) { m_engine->dropWork(left); });
    m_engine->makeData(volumeOf(lun), file, folder.path());
    {
        const base::CFileDescriptor alone = lockLuns(home);
        CTransaction transaction(m_store.database(), CTransaction::EKind::WRITE);
        const SGroup group = m_inventory.group(m_appliance, groupName);
        lun.groupId = group.id;
        lun.id = m_inventory.insertLun(m_appliance, group, lun);
        // From here on the data stays, whatever happens: only collect() can prove that no LUN came of it.
        m_engine->publishData(volumeOf(lun), folder.path());
        transaction.commit();
    }
    attach({lun});
    return lun;
}

void CLunData::remove(const std::string& name)
{
    const base::CFileDescriptor alone = lockLuns(m_store.layout().appliance(m_appliance.name));
    SLun lun;
    {
        CTransaction transaction(m_store.database(), CTransaction::EKind::WRITE);
        lun = m_inventory.lun(m_appliance, name);
        m_inventory.removeLun(lun);
        transaction.commit();
    }
    tidyUp([&] {
        m_engine->dropData(volumeOf(lun));
        collect();
    });
}

void CLunData::collect()
{
    const fs::path home = m_store.layout().appliance(m_appliance.name);
    collectLeftovers(
        home, EArea::WORK,
        {[](const std::string&) { return false; }, [] {}, [this](const fs::path& left) { m_engine->dropWork(left); }});
    const auto now = [this] { return listed(); };
    if (!m_engine->hasStrayData(now)) return;
    m_store.database().settle();
    m_engine->dropStrayData(now);
}

std::vector<SVolume> CLunData::listed()
{
    std::vector<SVolume> volumes;
    for (const SLun& lun : m_inventory.luns(m_appliance)) {
        volumes.push_back(volumeOf(lun));
    }
    return volumes;
}

uint64_t CLunData::write(const SLun& lun, uint64_t offset, uint64_t length, const Source& source)
{
    checkRange(lun, offset, length);
    const SGroup group = m_inventory.group(m_appliance, lun.group);
    const fs::path data = path(lun);
    attach({lun});
    const CGate gate(m_store.layout().gate(m_appliance.name, group.id));
    const base::CFileDescriptor file = openFile(data, O_RDWR);
    const uint64_t done = writeFrom(source, file.get(), offset, length, data);
    syncFile(file.get(), data);
    return done;
}

uint64_t CLunData::writeUngated(const SLun& lun, uint64_t offset, uint64_t length, const Source& source)
{
    checkRange(lun, offset, length);
    const fs::path data = path(lun);
    attach({lun});
    return writeFrom(source, openFile(data, O_RDWR).get(), offset, length, data);
}

void CLunData::read(const SLun& lun, uint64_t offset, uint64_t length,
                    const std::function<void(std::string_view)>& sink)
{
    checkRange(lun, offset, length);
    const fs::path data = path(lun);
    attach({lun});
    const base::CFileDescriptor file = openFile(data, O_RDONLY);
    std::vector<char> buffer(size_t{1} << 20U);
    while (length > 0) {
        const size_t wanted = std::min<uint64_t>(buffer.size(), length);
        const size_t count = readAt(file.get(), buffer.data(), wanted, offset, data);
        if (count == 0) throwStorage("read", data.string(), EIO);
        sink(std::string_view(buffer.data(), count));
        offset += count;
        length -= count;
    }
}

}  // namespace lumora
