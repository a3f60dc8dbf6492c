// Which clients count as gone, and which may still live.
#include "appliance/ceph/client_records.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "base/process_stat.h"
#include "base/tests/temporary_folder.h"
#include "base/tests/text_file.h"

namespace lumora::test {
namespace {

using base_test::contentOf;
using base_test::replaceAll;
using base_test::writeFile;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* ADDRESS = "127.0.0.1:0/12345";

class CRecordsTest : public testing::Test
{
  protected:
    // The record of this process, with one text in it changed.
    void change(const std::string& from, const std::string& to) const
    {
        std::string text = contentOf(m_file);
        replaceAll(text, from, to);
        writeFile(m_file, text);
    }

    const base_test::CTemporaryFolder m_folder;
    const CClientRecords m_records{m_folder / "run/clients"};
    const std::filesystem::path m_file = m_folder / "run/clients/127.0.0.1:0_12345";
};

TEST_F(CRecordsTest, NobodyIsGoneWhereNobodyWas)
{
    EXPECT_THAT(m_records.gone(), IsEmpty());
    m_records.remove(ADDRESS);
}

TEST_F(CRecordsTest, AProcessThatRunsIsNotGone)
{
    m_records.add(ADDRESS, ::getpid());
    EXPECT_THAT(m_records.gone(), IsEmpty());
}

TEST_F(CRecordsTest, AProcessThatWasKilledIsGoneUntilItIsRemoved)
{
    const pid_t child = ::fork();
    if (child == 0) {
        ::pause();
        ::_exit(0);
    }
    m_records.add(ADDRESS, child);
    m_records.add("127.0.0.1:0/54321", ::getpid());
    EXPECT_THAT(m_records.gone(), IsEmpty());
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    EXPECT_THAT(m_records.gone(), ElementsAre(ADDRESS));
    m_records.remove(ADDRESS);
    EXPECT_THAT(m_records.gone(), IsEmpty());
}

TEST_F(CRecordsTest, AProcessIdThatIsUsedAgainIsNotTheSameProcess)
{
    m_records.add(ADDRESS, ::getpid());
    const uint64_t start = base::readProcessStat(::getpid()).value().startTime;
    change("START=" + std::to_string(start), "START=" + std::to_string(start - 1));
    EXPECT_THAT(m_records.gone(), ElementsAre(ADDRESS));
}

TEST_F(CRecordsTest, WhatCannotBeToldIsNotGone)
{
    for (const auto& [from, to] : std::vector<std::pair<std::string, std::string>>{
             {"BOOT=" + base::bootId(), "BOOT=another"},
             {"NAMESPACE=" + base::pidNamespace(), "NAMESPACE=pid:[1]"},
             {"PROCESS=", "PROCESS=x"},
             {"START=", "START=x"},
             {"ADDRESS=" + std::string(ADDRESS), "ADDRESS=127.0.0.1:0/1"},
             {"BOOT=", "BOOT"},
         }) {
        m_records.add(ADDRESS, ::getpid());
        const uint64_t start = base::readProcessStat(::getpid()).value().startTime;
        change("START=" + std::to_string(start), "START=" + std::to_string(start - 1));
        change(from, to);
        EXPECT_THAT(m_records.gone(), IsEmpty()) << to;
    }
}

}  // namespace

}  // namespace lumora::test
