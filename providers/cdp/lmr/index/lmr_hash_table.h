#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>
#include <vector>

namespace cdpfi {

/**
 * Finds small entries by a text that they only refer to, so that an entry costs no copy of its text. Entries are added,
 * replaced by one of the same key, or all dropped. At most 2^30 entries.
 *
 * KEYS gives the key of an entry, keyOf(entry), which must not change while the entry is in the table.
 *
 * Open addressing with linear probing. A slot keeps a part of its key's hash: neither growing nor passing over other
 * entries reads their texts, which lie scattered in memory.
 *
 * FILTERED is for tables that are mostly asked for what they do not hold: a bit filter in front, four bits for each
 * slot, so small that it stays in the caches, ends most of such look-ups.
 *
 * Changes come from one thread at a time; look-ups may run side by side.
 */
template <class Entry, class Keys, bool FILTERED = false>
class CLMRHashTable
{
  public:
    explicit CLMRHashTable(Keys keys) : m_keys(keys) {}

    /// The entry with that key; null when there is none. Valid until the table changes.
    Entry* find(std::string_view key)
    {
        if (m_slots.empty()) return nullptr;
        const uint32_t tag = tagOf(key);
        if (!mayHold(tag)) return nullptr;
        SSlot& slot = slotFor(tag, key);
        return slot.tag == EMPTY ? nullptr : &slot.entry;
    }
    const Entry* find(std::string_view key) const { return const_cast<CLMRHashTable*>(this)->find(key); }

    /// Makes room, so that adding up to a total of count entries does not fail.
    void reserve(size_t count)
    {
        size_t capacity = m_slots.empty() ? MINIMUM : m_slots.size();
        // At most half full: a search for a key that is not there meets an empty slot soon, mostly in the cache line
        // that it began with.
        while (count > capacity / 2) {
            capacity *= 2;
        }
        if (capacity != m_slots.size()) grow(capacity);
    }

    /// The entry with that key. Where there is none, make() gives one of that key, which is added first. Valid until
    /// the table changes. What throws leaves the table as it was.
    template <class Make>
    Entry& findOrAdd(std::string_view key, const Make& make)
    {
        reserve(m_count + 1);
        const uint32_t tag = tagOf(key);
        SSlot& slot = slotFor(tag, key);
        if (slot.tag == EMPTY) {
            slot.entry = make();
            slot.tag = tag;
            mark(m_filter, tag);
            ++m_count;
        }
        return slot.entry;
    }

    /// Asks the processor to load what a look-up of the key reads first, while the caller goes on. Called for several
    /// keys before the first of them is looked up: their loads then overlap.
    void prefetch(std::string_view key) const
    {
        if (m_slots.empty()) return;
        __builtin_prefetch(&m_slots[tagOf(key) & (m_slots.size() - 1)], 1);
    }

    /// Calls action(entry) for every entry, in no order. The action may put one of the same key in its place.
    template <class Action>
    void forEach(const Action& action)
    {
        for (SSlot& slot : m_slots) {
            if (slot.tag != EMPTY) action(slot.entry);
        }
    }

    size_t size() const { return m_count; }

    void clear()
    {
        m_slots = {};
        m_filter = {};
        m_count = 0;
    }

  private:
    struct SSlot
    {
        uint32_t tag = EMPTY;
        Entry entry{};
    };
    static constexpr uint32_t EMPTY = 0;
    static constexpr size_t MINIMUM = 16;  // a power of two, as every capacity

    static uint32_t tagOf(std::string_view key)
    {
        constexpr uint32_t USED = 0x80000000U;
        return static_cast<uint32_t>(std::hash<std::string_view>()(key)) | USED;
    }

    using CFilter = std::vector<uint64_t>;
    static constexpr size_t WORD_BITS = 64;
    static constexpr size_t FILTER_BITS = 4;  // for each slot

    static void mark(CFilter& filter, uint32_t tag)
    {
        if constexpr (FILTERED) filter[wordOf(filter, tag)] |= uint64_t{1} << tag % WORD_BITS;
    }

    bool mayHold(uint32_t tag) const
    {
        if constexpr (FILTERED) return (m_filter[wordOf(m_filter, tag)] >> tag % WORD_BITS & 1) != 0;
        return true;
    }

    static size_t wordOf(const CFilter& filter, uint32_t tag) { return tag / WORD_BITS & (filter.size() - 1); }

    SSlot& slotFor(uint32_t tag, std::string_view key)
    {
        const size_t mask = m_slots.size() - 1;
        size_t slot = tag & mask;
        while (m_slots[slot].tag != EMPTY && (m_slots[slot].tag != tag || m_keys.keyOf(m_slots[slot].entry) != key)) {
            slot = (slot + 1) & mask;
        }
        return m_slots[slot];
    }

    SSlot& freeSlotFor(uint32_t tag)
    {
        const size_t mask = m_slots.size() - 1;
        size_t slot = tag & mask;
        while (m_slots[slot].tag != EMPTY) {
            slot = (slot + 1) & mask;
        }
        return m_slots[slot];
    }

    void grow(size_t capacity)
    {
        std::vector<SSlot> old(capacity);
        CFilter filter(FILTERED ? capacity * FILTER_BITS / WORD_BITS : 0);
        old.swap(m_slots);
        m_filter.swap(filter);
        for (const SSlot& slot : old) {
            if (slot.tag == EMPTY) continue;
            freeSlotFor(slot.tag) = slot;
            mark(m_filter, slot.tag);
        }
    }

    std::vector<SSlot> m_slots;
    CFilter m_filter;  // one bit for each remainder of a tag: set when an entry has such a tag
    size_t m_count = 0;
    Keys m_keys;
};

}  // namespace cdpfi
