// The table of disks and the index of groups beside the standard containers that would do the same: filling, memory,
// and looking up in random order what is there and what is not. The sizes are numbers of LUNs.
#include <benchmark/benchmark.h>
#include <malloc.h>

#include <algorithm>
#include <deque>
#include <random>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "providers/cdp/lmr/index/lmr_group_index.h"
#include "providers/cdp/lmr/index/lmr_lun_table.h"

namespace {

using namespace cdpfi;

std::string numbered(const char* prefix, size_t number)
{
    constexpr size_t DIGITS = 9;
    const std::string digits = std::to_string(number);
    return prefix + std::string(DIGITS - digits.size(), '0') + digits;
}

std::vector<std::string> texts(const char* prefix, size_t count)
{
    std::vector<std::string> list;
    for (size_t i = 0; i < count; ++i) {
        list.push_back(numbered(prefix, i));
    }
    return list;
}

struct SLuns
{
    explicit SLuns(size_t count) : paths(texts("/dev/lumora/lun", count)), serials(texts("LMR", count)) {}
    size_t size() const { return paths.size(); }
    std::vector<std::string> paths;
    std::vector<std::string> serials;
};

/// Heterogeneous look-ups, so that none of the standard containers makes a string for one.
struct SHash
{
    using is_transparent = void;
    size_t operator()(std::string_view text) const { return std::hash<std::string_view>()(text); }
};

template <class Value>
class CUnorderedMap
{
  public:
    void reserve(size_t count) { m_map.reserve(count); }
    void set(std::string_view key, Value value) { m_map.insert_or_assign(std::string(key), std::move(value)); }
    void finish() {}
    const Value* find(std::string_view key) const
    {
        const auto found = m_map.find(key);
        return found == m_map.end() ? nullptr : &found->second;
    }

  private:
    std::unordered_map<std::string, Value, SHash, std::equal_to<>> m_map;
};

template <class Value>
class CSortedVector
{
  public:
    void reserve(size_t count) { m_entries.reserve(count); }
    void set(std::string_view key, Value value) { m_entries.emplace_back(key, std::move(value)); }
    void finish() { std::ranges::sort(m_entries, {}, &CEntry::first); }
    const Value* find(std::string_view key) const
    {
        const auto found = std::ranges::lower_bound(m_entries, key, {},
                                                    [](const CEntry& entry) { return std::string_view(entry.first); });
        return found == m_entries.end() || found->first != key ? nullptr : &found->second;
    }

  private:
    using CEntry = std::pair<std::string, Value>;
    std::vector<CEntry> m_entries;
};

/// A table of disks over a standard container.
template <template <class> class Container>
class CDisksIn
{
  public:
    void fill(const SLuns& luns)
    {
        m_serials.reserve(luns.size());
        for (size_t i = 0; i < luns.size(); ++i) {
            m_serials.set(luns.paths[i], luns.serials[i]);
        }
        m_serials.finish();
    }
    CString serialOf(const CString& path)
    {
        const std::string* const serial = m_serials.find(bytesOf(path));
        return serial == nullptr ? CString() : textOf(*serial);
    }

  private:
    Container<std::string> m_serials;
};

class COwnDisks
{
  public:
    void fill(const SLuns& luns)
    {
        m_table.reserve(luns.size());
        for (size_t i = 0; i < luns.size(); ++i) {
            m_table.set(luns.paths[i], luns.serials[i]);
        }
    }
    CString serialOf(const CString& path) { return m_table.serialOf(path); }

  private:
    CLMRLunTable m_table;
};

constexpr size_t LUNS_OF_GROUP = 100;

template <template <class> class Container>
class CGroupsIn
{
  public:
    void fill(const SLuns& luns)
    {
        for (size_t i = 0; i < luns.size(); ++i) {
            m_groups.set(luns.serials[i], static_cast<uint32_t>(i / LUNS_OF_GROUP));
        }
        m_groups.finish();
    }
    uint32_t find(const CString& serial) const
    {
        const uint32_t* const group = m_groups.find(bytesOf(serial));
        return group == nullptr ? CLMRGroupIndex::NO_GROUP : *group;
    }

  private:
    Container<uint32_t> m_groups;
};

/// Its serials are texts of the benchmark.
class CGroup : public CLMRIndexedGroup
{
  public:
    explicit CGroup(std::span<const std::string> serials) : m_serials(serials) {}
    void forEachKey(const std::function<void(std::string_view key)>& action) const override
    {
        std::ranges::for_each(m_serials, action);
    }
    size_t countKeys() const override { return m_serials.size(); }

  private:
    std::span<const std::string> m_serials;
};

class COwnGroups
{
  public:
    void fill(const SLuns& luns)
    {
        std::vector<CLMRIndexedGroup*> groups;
        for (size_t i = 0; i < luns.size(); i += LUNS_OF_GROUP) {
            const size_t count = std::min(LUNS_OF_GROUP, luns.size() - i);
            groups.push_back(&m_groups.emplace_back(std::span(luns.serials).subspan(i, count)));
        }
        m_index.assign(std::move(groups));
    }
    uint32_t find(const CString& serial) const { return m_index.find(serial); }

  private:
    std::deque<CGroup> m_groups;
    CLMRGroupIndex m_index;
};

size_t allocatedBytes()
{
    const auto memory = mallinfo2();
    return memory.uordblks + memory.hblkhd;
}

template <class Structure>
void filling(benchmark::State& state)
{
    const SLuns luns(static_cast<size_t>(state.range(0)));
    size_t bytes = 0;
    for (auto _ : state) {
        const size_t before = allocatedBytes();
        Structure structure;
        structure.fill(luns);
        bytes = allocatedBytes() - before;
    }
    state.counters["ns_per_lun"] = benchmark::Counter(
        static_cast<double>(luns.size()), benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
    state.counters["bytes_per_lun"] = static_cast<double>(bytes) / static_cast<double>(luns.size());
}

/// Texts in random order. They are made in that order, and so lie one behind the other: next to nothing of a look-up is
/// waiting for its key.
std::vector<CString> shuffled(const char* prefix, size_t count)
{
    std::vector<std::string> list = texts(prefix, count);
    std::shuffle(list.begin(), list.end(), std::mt19937(7));
    std::vector<CString> keys;
    keys.reserve(count);
    for (const std::string& text : list) {
        keys.emplace_back(text.data(), text.size());
    }
    return keys;
}

template <class Structure>
void serialOfPath(benchmark::State& state)
{
    const SLuns luns(static_cast<size_t>(state.range(0)));
    Structure disks;
    disks.fill(luns);
    const std::vector<CString> wanted = shuffled("/dev/lumora/lun", luns.size());
    size_t next = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(disks.serialOf(wanted[next]).length());
        if (++next == wanted.size()) next = 0;
    }
}

template <class Structure>
void groupOfSerial(benchmark::State& state, const char* prefix)
{
    const SLuns luns(static_cast<size_t>(state.range(0)));
    Structure groups;
    groups.fill(luns);
    const std::vector<CString> wanted = shuffled(prefix, luns.size());
    size_t next = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(groups.find(wanted[next]));
        if (++next == wanted.size()) next = 0;
    }
}

template <class Structure>
void groupOfProtected(benchmark::State& state)
{
    groupOfSerial<Structure>(state, "LMR");
}

template <class Structure>
void groupOfOther(benchmark::State& state)
{
    groupOfSerial<Structure>(state, "LOC");
}

using CMapDisks = CDisksIn<CUnorderedMap>;
using CVectorDisks = CDisksIn<CSortedVector>;
using CMapGroups = CGroupsIn<CUnorderedMap>;
using CVectorGroups = CGroupsIn<CSortedVector>;

void sizes(benchmark::internal::Benchmark* benchmark)
{
    benchmark->RangeMultiplier(10)->Range(100, 1000000);
}

BENCHMARK_TEMPLATE(filling, COwnDisks)->Apply(sizes);
BENCHMARK_TEMPLATE(filling, CMapDisks)->Apply(sizes);
BENCHMARK_TEMPLATE(filling, CVectorDisks)->Apply(sizes);
BENCHMARK_TEMPLATE(filling, COwnGroups)->Apply(sizes);
BENCHMARK_TEMPLATE(filling, CMapGroups)->Apply(sizes);
BENCHMARK_TEMPLATE(filling, CVectorGroups)->Apply(sizes);
BENCHMARK_TEMPLATE(serialOfPath, COwnDisks)->Apply(sizes);
BENCHMARK_TEMPLATE(serialOfPath, CMapDisks)->Apply(sizes);
BENCHMARK_TEMPLATE(serialOfPath, CVectorDisks)->Apply(sizes);
BENCHMARK_TEMPLATE(groupOfProtected, COwnGroups)->Apply(sizes);
BENCHMARK_TEMPLATE(groupOfProtected, CMapGroups)->Apply(sizes);
BENCHMARK_TEMPLATE(groupOfProtected, CVectorGroups)->Apply(sizes);
BENCHMARK_TEMPLATE(groupOfOther, COwnGroups)->Apply(sizes);
BENCHMARK_TEMPLATE(groupOfOther, CMapGroups)->Apply(sizes);
BENCHMARK_TEMPLATE(groupOfOther, CVectorGroups)->Apply(sizes);

}  // namespace

BENCHMARK_MAIN();
