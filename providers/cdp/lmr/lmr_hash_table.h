#pragma once

#include <cstddef>
#include <functional>
#include <string_view>
#include <vector>

namespace cdpfi {

/**
 * Finds small entries by a text that they only refer to, so an entry costs two to three machine words and no copy of
 * its text. Open addressing with linear probing; entries are added, replaced by one of the same key, or all dropped.
 *
 * KEYS gives the key of an entry, keyOf(entry), and tells the empty entry, which is ENTRY{}, from the others,
 * isEmpty(entry). The key of an entry must not change while it is in the table.
 */
template <class Entry, class Keys>
class CLMRHashTable
{
  public:
    explicit CLMRHashTable(Keys keys) : m_keys(keys) {}

    /// The entry with that key; null when there is none. Valid until the table changes.
    Entry* find(std::string_view key)
    {
        if (m_slots.empty()) return nullptr;
        Entry& slot = slotFor(key);
        return m_keys.isEmpty(slot) ? nullptr : &slot;
    }
    const Entry* find(std::string_view key) const { return const_cast<CLMRHashTable*>(this)->find(key); }

    /// Makes room, so that adding up to a total of count entries does not fail.
    void reserve(size_t count)
    {
        size_t capacity = m_slots.empty() ? MINIMUM : m_slots.size();
        while (count > capacity / 4 * 3)
            capacity *= 2;
        if (capacity != m_slots.size()) grow(capacity);
    }

    /// Adds an entry whose key is not in the table.
    void add(const Entry& entry)
    {
        reserve(m_count + 1);
        slotFor(m_keys.keyOf(entry)) = entry;
        ++m_count;
    }

    void clear()
    {
        m_slots = {};
        m_count = 0;
    }

  private:
    static constexpr size_t MINIMUM = 16;  // a power of two, as every capacity

    Entry& slotFor(std::string_view key)
    {
        const size_t mask = m_slots.size() - 1;
        size_t slot = std::hash<std::string_view>()(key) & mask;
        while (!m_keys.isEmpty(m_slots[slot]) && m_keys.keyOf(m_slots[slot]) != key)
            slot = (slot + 1) & mask;
        return m_slots[slot];
    }

    void grow(size_t capacity)
    {
        std::vector<Entry> old(capacity);
        old.swap(m_slots);
        for (const Entry& entry : old) {
            if (!m_keys.isEmpty(entry)) slotFor(m_keys.keyOf(entry)) = entry;
        }
    }

    std::vector<Entry> m_slots;
    size_t m_count = 0;
    Keys m_keys;
};

}  // namespace cdpfi
