// A database in a pool, used by several processes of which some die.
#include "appliance/ceph/ceph_catalog.h"

#include <gmock/gmock.h>

#include <csignal>
#include <deque>

#include "appliance/ceph/tests/cluster_fixture.h"

namespace lumora::test {
namespace {

using std::chrono::milliseconds;

class CCatalogTest : public CClusterTest
{
  protected:
    CCatalogTest()
    {
        CCephCatalog catalog(m_cluster, m_catalog, CDatabase::EMode::CREATE);
        catalog.database().execute("CREATE TABLE rows(id INTEGER PRIMARY KEY, name TEXT)");
    }

    std::vector<std::string> client(const std::string& word, const std::string& count = "") const
    {
        return {word, m_catalog.pool, m_catalog.name, count};
    }
    int64_t rows(const std::string& name)
    {
        CCephCatalog catalog(m_cluster, m_catalog, CDatabase::EMode::EXISTING);
        base::CSqliteQuery query(catalog.database(), "SELECT count(*) FROM rows WHERE name = ?", name);
        query.next();
        return query.integer(0);
    }
    std::string integrity()
    {
        CCephCatalog catalog(m_cluster, m_catalog, CDatabase::EMode::EXISTING);
        base::CSqliteQuery query(catalog.database(), "PRAGMA integrity_check");
        query.next();
        return query.text(0);
    }
    void add()
    {
        CClientProcess client(m_setup, this->client("add", "1"));
        EXPECT_EQ(client.answer(), "added");
        EXPECT_EQ(client.wait(), 0);
    }
};

TEST_F(CCatalogTest, KeepsEveryRowOfProcessesSideBySide)
{
    std::deque<CClientProcess> clients;
    for (int i = 0; i < 4; ++i) {
        clients.emplace_back(m_setup, client("add", "50"));
    }
    for (CClientProcess& process : clients) {
        EXPECT_EQ(process.answer(), "added");
        EXPECT_EQ(process.wait(), 0);
    }
    EXPECT_EQ(rows("added"), 200);
    EXPECT_EQ(integrity(), "ok");
}

TEST_F(CCatalogTest, TheNextOneWaitsNotForAProcessKilledInATransaction)
{
    CClientProcess dying(m_setup, client("hold"));
    ASSERT_EQ(dying.answer(), "held");
    dying.kill();
    EXPECT_LT(timeOf([this] { add(); }), milliseconds(2000));
    EXPECT_EQ(rows("added"), 1);
    EXPECT_EQ(rows("held"), 0);
    EXPECT_EQ(integrity(), "ok");
}

TEST_F(CCatalogTest, AProcessThatWaitsAlreadySeesItsHolderDie)
{
    CClientProcess dying(m_setup, client("hold"));
    ASSERT_EQ(dying.answer(), "held");
    CClientProcess waiting(m_setup, client("add", "1"));
    std::this_thread::sleep_for(milliseconds(500));
    dying.kill();
    EXPECT_LT(timeOf([&] { EXPECT_EQ(waiting.answer(), "added"); }), milliseconds(2000));
    EXPECT_EQ(rows("held"), 0);
}

TEST_F(CCatalogTest, ALivingHolderIsWaitedFor)
{
    CClientProcess living(m_setup, client("hold"));
    ASSERT_EQ(living.answer(), "held");
    ::kill(living.pid(), SIGSTOP);
    CClientProcess waiting(m_setup, client("add", "1"));
    std::this_thread::sleep_for(milliseconds(2000));
    ::kill(living.pid(), SIGCONT);
    living.say("go on");
    EXPECT_EQ(living.answer(), "committed");
    EXPECT_EQ(waiting.answer(), "added");
    EXPECT_EQ(rows("held"), 1);
    EXPECT_EQ(rows("added"), 1);
}

TEST_F(CCatalogTest, IsNotMadeByWhoOnlyLooks)
{
    const SCatalogPlace none{"catalog", own("none.db")};
    expectRefusal(EStatus::UNUSABLE,
                  "store database file:///catalog:/" + none.name + "?vfs=ceph is unusable: No such file or directory",
                  [&] { CCephCatalog(m_cluster, none, CDatabase::EMode::EXISTING); });
}

TEST_F(CCatalogTest, SettingsAreThoseThatKeepEveryCommit)
{
    CCephCatalog catalog(m_cluster, m_catalog, CDatabase::EMode::EXISTING);
    for (const auto& [pragma, value] : std::vector<std::pair<std::string, std::string>>{
             {"journal_mode", "persist"}, {"synchronous", "2"}, {"page_size", "65536"}, {"temp_store", "2"}}) {
        base::CSqliteQuery query(catalog.database(), ("PRAGMA " + pragma).c_str());
        query.next();
        EXPECT_EQ(query.text(0), value) << pragma;
    }
}

}  // namespace

}  // namespace lumora::test
