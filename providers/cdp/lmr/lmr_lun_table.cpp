#include "providers/cdp/lmr/lmr_lun_table.h"

namespace cdpfi {

CLMRLunTable::CLMRLunTable() : m_last(m_map.end()), m_byPath(SByPath()), m_bySerial(SBySerial()) {}

void CLMRLunTable::set(std::string_view path, std::string_view serial)
{
    CEntry* const* known = m_byPath.find(path);
    CEntry& entry = known == nullptr ? insert(path) : **known;
    if (bytesOf(entry.second) == serial) return;
    // The index finds entries by the serial that they hold, so it is not to be read once one of them has another.
    const bool stale = m_bySerialStale || !entry.second.is_empty();
    m_bySerialStale = true;
    assign(entry.second, serial);
    if (stale) return;
    index(entry);
    m_bySerialStale = false;
}

const CString& CLMRLunTable::serialOf(const CString& path)
{
    CEntry* const* known = m_byPath.find(bytesOf(path));
    return (known == nullptr ? insert(bytesOf(path)) : **known).second;
}

const CString* CLMRLunTable::firstPathOf(const CString& serial)
{
    if (serial.is_empty()) return nullptr;
    if (m_bySerialStale) reindex();
    const CEntry* const* entry = m_bySerial.find(bytesOf(serial));
    return entry == nullptr ? nullptr : &(*entry)->first;
}

void CLMRLunTable::clear()
{
    m_byPath.clear();
    m_bySerial.clear();
    m_bySerialStale = false;
    m_map.clear();
    m_last = m_map.end();
}

CLMRLunTable::CEntry& CLMRLunTable::insert(std::string_view path)
{
    m_byPath.reserve(m_map.size() + 1);  // what can fail comes first: a path is in both or in neither
    const auto hint = m_last == m_map.end() ? m_last : std::next(m_last);
    const size_t before = m_map.size();
    const auto entry = m_map.emplace_hint(hint, std::piecewise_construct,
                                          std::forward_as_tuple(path.data(), path.size()), std::forward_as_tuple());
    if (bytesOf(entry->first) != path) {  // the key found no memory
        if (m_map.size() != before) m_map.erase(entry);
        throw std::bad_alloc();
    }
    m_last = entry;
    m_byPath.add(&*m_last);
    return *m_last;
}

void CLMRLunTable::index(CEntry& entry)
{
    if (entry.second.is_empty()) return;
    CEntry** first = m_bySerial.find(bytesOf(entry.second));
    if (first == nullptr) {
        m_bySerial.add(&entry);
    } else if (bytesOf(entry.first) < bytesOf((*first)->first)) {
        *first = &entry;
    }
}

void CLMRLunTable::reindex()
{
    m_bySerial.clear();
    for (CEntry& entry : m_map)
        index(entry);
    m_bySerialStale = false;
}

}  // namespace cdpfi
