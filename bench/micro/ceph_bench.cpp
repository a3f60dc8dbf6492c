// What the work on a storage cluster takes: the one whose folder CDPFI_CLUSTER names (script/cluster).
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <string>
#include <vector>

#include "appliance/ceph/ceph_catalog.h"
#include "appliance/ceph/ceph_groups.h"
#include "appliance/ceph/ceph_images.h"
#include "appliance/ceph/ceph_imports.h"
#include "base/tests/temporary_folder.h"

namespace lumora {
namespace {

SCephSetup setup()
{
    static const base_test::CTemporaryFolder records;
    const char* const folder = std::getenv("CDPFI_CLUSTER");
    if (folder == nullptr) throw std::runtime_error("CDPFI_CLUSTER names no cluster: script/cluster up --folder DIR");
    return {std::string(folder) + "/ceph.conf", "appliance", records.path()};
}

std::string newId()
{
    static std::atomic<int> count = 0;
    return "bench-" + std::to_string(::getpid()) + "-" + std::to_string(++count);
}

// A group of idle volumes; removed with what it holds.
class CBenchGroup
{
  public:
    explicit CBenchGroup(int64_t volumes)
    {
        m_groups.make(m_group);
        for (int64_t i = 0; i < volumes; ++i) {
            m_volumes.push_back(newId());
            m_images.make(m_volumes.back(), uint64_t{64} << 20U);
            m_groups.add(m_group, m_volumes.back());
        }
    }
    ~CBenchGroup()
    {
        for (const std::string& volume : m_volumes) {
            m_groups.take(m_group, volume);
            m_images.remove(volume);
        }
        m_groups.remove(m_group);
    }
    CBenchGroup(const CBenchGroup&) = delete;
    CBenchGroup& operator=(const CBenchGroup&) = delete;

    std::string fix() const
    {
        const std::string content = newId();
        m_groups.fixContent(m_group, content);
        return content;
    }
    void drop(const std::string& content) const { m_groups.dropContent(m_group, content); }
    std::vector<std::string> show(const std::string& content) const
    {
        std::vector<std::string> images;
        for (const std::string& volume : m_volumes) {
            images.push_back(m_imports.make(m_group, content, "t", volume));
        }
        return images;
    }
    void hide(const std::vector<std::string>& images) const
    {
        for (const std::string& image : images) {
            m_imports.drop(image);
        }
    }

  private:
    CCephCluster m_cluster{setup()};
    const CCephPool m_pool{m_cluster, "images"};
    const CCephImages m_images{m_pool};
    const CCephGroups m_groups{m_pool};
    const CCephImports m_imports{m_pool};
    const std::string m_group = newId();
    std::vector<std::string> m_volumes;
};

void fixContent(benchmark::State& state)
{
    const CBenchGroup group(state.range(0));
    for (auto _ : state) {
        const std::string content = group.fix();
        state.PauseTiming();
        group.drop(content);
        state.ResumeTiming();
    }
}

void dropContent(benchmark::State& state)
{
    const CBenchGroup group(state.range(0));
    for (auto _ : state) {
        state.PauseTiming();
        const std::string content = group.fix();
        state.ResumeTiming();
        group.drop(content);
    }
}

void showContent(benchmark::State& state)
{
    const CBenchGroup group(state.range(0));
    const std::string content = group.fix();
    for (auto _ : state) {
        const std::vector<std::string> images = group.show(content);
        state.PauseTiming();
        group.hide(images);
        state.ResumeTiming();
    }
    group.drop(content);
}

void connect(benchmark::State& state)
{
    for (auto _ : state) {
        CCephCluster cluster(setup());
        cluster.handle();
    }
}

// As a tool does it, but for the library, which a process loads and connects once.
void transactionOfACatalog(benchmark::State& state)
{
    CCephCluster cluster(setup());
    CCephCatalog catalog(cluster, {"catalog", "bench.db"}, CDatabase::EMode::CREATE);
    catalog.database().execute("CREATE TABLE IF NOT EXISTS rows(id INTEGER PRIMARY KEY, name TEXT)");
    for (auto _ : state) {
        base::CSqliteTransaction transaction(catalog.database(), base::CSqliteTransaction::EKind::WRITE);
        catalog.database().execute("INSERT INTO rows(name) VALUES('bench')");
        transaction.commit();
    }
}

void readingOfACatalog(benchmark::State& state)
{
    CCephCluster cluster(setup());
    for (auto _ : state) {
        CCephCatalog catalog(cluster, {"catalog", "bench.db"}, CDatabase::EMode::CREATE);
        base::CSqliteQuery(catalog.database(), "SELECT count(*) FROM sqlite_master").run();
    }
}

constexpr auto UNIT = benchmark::kMillisecond;
BENCHMARK(connect)->Unit(UNIT)->UseRealTime();
BENCHMARK(transactionOfACatalog)->Unit(UNIT)->UseRealTime();
BENCHMARK(readingOfACatalog)->Unit(UNIT)->UseRealTime();
BENCHMARK(fixContent)->Arg(2)->Arg(10)->Arg(100)->Unit(UNIT)->UseRealTime();
BENCHMARK(dropContent)->Arg(2)->Arg(10)->Arg(100)->Unit(UNIT)->UseRealTime();
BENCHMARK(showContent)->Arg(2)->Arg(10)->Unit(UNIT)->UseRealTime();

}  // namespace

}  // namespace lumora

BENCHMARK_MAIN();
