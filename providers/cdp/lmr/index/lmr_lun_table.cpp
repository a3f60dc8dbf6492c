#include "providers/cdp/lmr/index/lmr_lun_table.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <stdexcept>

namespace cdpfi {

namespace {

uint32_t lengthOf(size_t size)
{
    if (size > std::numeric_limits<uint32_t>::max()) throw std::length_error("text of a device is too long");
    return static_cast<uint32_t>(size);
}

void copyTo(char* to, std::string_view text)
{
    if (!text.empty()) std::memcpy(to, text.data(), text.size());
}

}  // namespace

CLMRLunTable::CLMRLunTable() : m_byPath(SPathKeys{&m_records}), m_bySerial(SSerialKeys{&m_records}) {}

void CLMRLunTable::set(std::string_view path, std::string_view serial)
{
    bool isNew = false;
    CPlace& place = m_byPath.findOrAdd(path, [&] {
        isNew = true;
        return newRecord(path, serial, serial.size());
    });
    if (!isNew && serialAt(m_records, place) == serial) return;
    m_bySerialStale = true;
    if (!isNew) changeSerial(place, serial);
}

CString CLMRLunTable::serialOf(const CString& path)
{
    const CPlace place = m_byPath.findOrAdd(bytesOf(path), [&] { return newRecord(bytesOf(path), {}, 0); });
    return textOf(serialAt(m_records, place));
}

const CString* CLMRLunTable::firstPathOf(const CString& serial)
{
    if (serial.is_empty()) return nullptr;
    if (m_bySerialStale) indexSerials();
    const CPlace* const place = m_bySerial.find(bytesOf(serial));
    if (place == nullptr) return nullptr;
    assign(m_firstPath, pathAt(m_records, *place));
    return &m_firstPath;
}

void CLMRLunTable::clear()
{
    m_byPath.clear();
    m_bySerial.clear();
    m_bySerialStale = false;
    m_records.clear();
}

CLMRLunTable::SHead& CLMRLunTable::headAt(const CLMRArena& records, CPlace place)
{
    return *reinterpret_cast<SHead*>(records.at(place));
}

std::string_view CLMRLunTable::pathAt(const CLMRArena& records, CPlace place)
{
    return {records.at(place) + sizeof(SHead), headAt(records, place).pathLength};
}

std::string_view CLMRLunTable::serialAt(const CLMRArena& records, CPlace place)
{
    const SHead& head = headAt(records, place);
    return {records.at(place) + sizeof(SHead) + head.pathLength, head.serialLength};
}

CLMRLunTable::CPlace CLMRLunTable::newRecord(std::string_view path, std::string_view serial, size_t serialRoom)
{
    const SHead head{lengthOf(path.size()), lengthOf(serial.size()), lengthOf(serialRoom)};
    const CPlace place = m_records.allocate(sizeof head + path.size() + serialRoom);
    char* const bytes = m_records.at(place);
    std::memcpy(bytes, &head, sizeof head);
    copyTo(bytes + sizeof head, path);
    copyTo(bytes + sizeof head + path.size(), serial);
    return place;
}

void CLMRLunTable::changeSerial(CPlace& place, std::string_view serial)
{
    SHead& head = headAt(m_records, place);
    if (serial.size() > head.serialRoom) {
        // The former record stays in the arena, unused. Room doubles each time, so the records that a path leaves
        // behind are few.
        const size_t room = std::max(serial.size(), size_t{head.serialRoom} * 2);
        place = newRecord(pathAt(m_records, place), serial, room);
        return;
    }
    copyTo(m_records.at(place) + sizeof head + head.pathLength, serial);
    head.serialLength = lengthOf(serial.size());
}

void CLMRLunTable::indexSerials()
{
    m_bySerial.clear();
    m_byPath.forEach([this](CPlace place) {
        if (serialAt(m_records, place).empty()) return;
        CPlace& first = m_bySerial.findOrAdd(serialAt(m_records, place), [place] { return place; });
        if (pathAt(m_records, place) < pathAt(m_records, first)) first = place;
    });
    m_bySerialStale = false;
}

}  // namespace cdpfi
