// Memory that runs out anywhere below an operation: what reaches the appliance and what stands in the tables is whole,
// or is not there at all. Texts of this model go empty without a word when there is no memory for them; nothing may be
// sent, kept or found under a name that was lost so.

#include <algorithm>
#include <functional>
#include <set>

#include "providers/cdp/lmr/lmr_host.h"
#include "providers/cdp/lmr/tests/answers.h"
#include "providers/cdp/lmr/tests/fake_tool_fixture.h"
#include "providers/cdp/tests/support/memory_faults.h"

namespace cdpfi {
namespace {

using namespace obzx_pdk_4_4;
using CRequests = std::set<std::string>;

const std::string IMAGE =
    answers::timeImage("ti1", {{{"/dev/t1", "T1"}, {"/dev/s1", "S1"}}, {{"/dev/t2", "T2"}, {"/dev/s2", "S2"}}});

std::vector<answers::SLun> sixLuns(const std::string& prefix)
{
    std::vector<answers::SLun> luns;
    for (int i = 0; i < 6; ++i) {
        luns.push_back({"/dev/sd" + std::to_string(i), prefix + std::to_string(i)});
    }
    return luns;
}

class ModelOutOfMemory : public CFakeToolTest
{
  protected:
    ModelOutOfMemory()
    {
        observe(0);                         // the lines of the trace are not what is looked at here
        setUpTool()->registerTraceLog({});  // nor is the limit that the configuration sets to a run
        setUpDevices()->registerTraceLog({});
    }

    /// Lets every allocation of a call fail in turn, and has what is there afterwards looked at each time.
    void sweep(const std::function<void()>& call, const std::function<void()>& look)
    {
        call();
        look();
        const CRequests whole = requests();
        int failures = 0;
        for (int skipped = 0; skipped < 5000; ++skipped) {
            bool happened = false;
            {
                const CMemoryFault fault(CMemoryFault::EKind::OPERATOR_NEW, skipped);
                try {
                    call();
                } catch (const std::bad_alloc&) {
                    ++failures;
                }
                happened = fault.happened();
            }
            look();
            for (const std::string& request : requests()) {
                EXPECT_TRUE(whole.contains(request)) << "at " << skipped << "\n" << request;
            }
            if (!happened) break;
        }
        EXPECT_GT(failures, 0);
    }

    /// Each request that the tools got since the last look.
    CRequests requests() const
    {
        CRequests all;
        std::string sent = takeSent();
        while (!sent.empty()) {
            const size_t end = std::min(sent.find("=== ", 1), sent.size());
            all.insert(sent.substr(0, end));
            sent.erase(0, end);
        }
        return all;
    }

    CGroupPtr quietGroup() const
    {
        const CGroupPtr group = makeGroup("cg1");
        group->registerTraceLog({});
        return group;
    }

    // Texts of the caller: those are there.
    const CString m_timeImage{"ti1"};
    const CString m_checkPoint{"cp1"};
    const CHostPtr m_host{new CLMRHost("backup01")};
};

TEST_F(ModelOutOfMemory, CommandsOfAGroupAreWholeOrNotSent)
{
    setScenario(answerTo(" show  timeimage ", IMAGE) +
                answerTo(" list  timeimages ", answers::timeImages({"ti1", "ti2"})) + "exit 0\n");
    const CGroupPtr group = quietGroup();
    const auto nothing = [] {};
    sweep([&] { group->createCheckPoint(m_checkPoint); }, nothing);
    sweep([&] { group->deleteTimeImage(copyOf(m_timeImage)); }, nothing);
    sweep([&] { group->mapHost(m_host); }, nothing);
    const auto onlyKnown = [&] {
        for (const auto& [name, image] : group->getTimeImageList()) {
            EXPECT_TRUE(name == CString("ti1") || name == CString("ti2")) << name.c_str();
            ASSERT_TRUE(image);
            const std::map<CString, CString> targets = {{"S1", "T1"}, {"S2", "T2"}};
            EXPECT_TRUE(targets == image->getTargetDeviceMap());
            EXPECT_TRUE(name == image->getName());
        }
    };
    sweep([&] { group->createTimeImage(m_timeImage, m_checkPoint, m_host); }, onlyKnown);
    sweep([&] { group->populateTimeImageInformation(); }, onlyKnown);
}

TEST_F(ModelOutOfMemory, GrantOfATimeImageIsWholeOrNotSent)
{
    setScenario(answerTo(" show  timeimage ", IMAGE) + "exit 0\n");
    const CGroupPtr group = quietGroup();
    const CTimeImagePtr listed = group->createTimeImageObject(m_timeImage);
    takeSent();
    sweep(
        [&] {
            const CTimeImagePtr image = group->createTimeImageObject(m_timeImage);
            image->setConsistencyGroup(group);
            image->mapHost(m_host);
        },
        [] {});
    sweep(
        [&] {
            const std::map<CString, CString> copy = listed->getTargetDeviceMap();
            EXPECT_EQ(2U, copy.size());
            for (const auto& [source, target] : copy) {
                EXPECT_TRUE(bytesOf(source).starts_with('S') && bytesOf(target).starts_with('T'));
            }
        },
        [] {});
}

TEST_F(ModelOutOfMemory, InventoryHoldsOnlyWhatTheApplianceListed)
{
    setScenario(answerTo(" list  hosts ", answers::hosts({"h1", "h2"})) +
                answerTo(" list  cgroups ", answers::groups({"cg1", "cg2"})) +
                answerTo(" show  cgroup ", answers::group("cg", sixLuns("S"))) + "exit 0\n");
    const CLMRAppliancePtr appliance(new CLMRAppliance("alpha"));
    sweep([&] { appliance->generateHostList(); },
          [&] {
              size_t index = 0;
              for (const CHostPtr& host : appliance->getHostList()) {
                  EXPECT_EQ("h" + std::to_string(++index), host->getName().c_str());
              }
          });
    sweep([&] { appliance->generateConsistencyGroupList(); },
          [&] {
              EXPECT_FALSE(appliance->getConsistencyGroup(""));
              size_t index = 0;
              for (const CConsistencyGroupPtr& group : appliance->getConsistencyGroupList()) {
                  EXPECT_EQ("cg" + std::to_string(++index), group->getName().c_str());
                  size_t lun = 0;
                  for (const SCDPDeviceInfo& device : group->getDeviceList()) {
                      EXPECT_EQ("/dev/sd" + std::to_string(lun), device.m_device.c_str());
                      EXPECT_EQ("S" + std::to_string(lun++), device.m_serial.c_str());
                  }
              }
          });
}

TEST_F(ModelOutOfMemory, InventoryReadSideBySideHoldsOnlyWhatTheApplianceListed)
{
    setParallel(3);
    setScenario(answerTo(" list  hosts ", answers::hosts({"h1", "h2"})) + "exit 0\n");
    const CLMRAppliancePtr appliance(new CLMRAppliance("alpha"));
    sweep([&] { appliance->generateHostList(); },
          [&] {
              size_t index = 0;
              for (const CHostPtr& host : appliance->getHostList()) {
                  EXPECT_EQ("h" + std::to_string(++index), host->getName().c_str());
              }
          });
    EXPECT_EQ(0U, countScripts());
}

TEST_F(ModelOutOfMemory, DeviceTableHoldsOnlyWhatTheUtilityListed)
{
    const auto listing = [](const char* prefix) { return answerTo("[listdisk]", answers::disks(sixLuns(prefix))); };
    const CLMRDeviceManagerPtr devices = setUpDevices();
    devices->registerTraceLog({});
    const auto onlyListed = [&] {
        for (int i = 0; i < 6; ++i) {
            const std::string number = std::to_string(i);
            const CString path(("/dev/sd" + number).c_str());
            const CString serial = devices->serialOf(path);
            EXPECT_TRUE(bytesOf(serial) == "OLD" + number || bytesOf(serial) == "S" + number || serial.is_empty());
            CString found = "none";
            ASSERT_TRUE(serial.is_empty() || devices->firstPathOf(serial, found));
            EXPECT_TRUE(serial.is_empty() || found == path) << found.c_str();
        }
    };
    bool old = false;
    setScenario(listing("S"));
    sweep([&] { devices->refresh(false); },
          [&] {
              onlyListed();
              old = !old;  // the serials change each time
              setScenario(listing(old ? "OLD" : "S"));
          });
}

TEST_F(ModelOutOfMemory, LookUpsAnswerWholeOrNotAtAll)
{
    const std::string path = "/dev/" + std::string(40, 'p');
    const std::string serial(40, 's');
    setScenario(answerTo("[listdisk]", answers::disks({{path, serial}})));
    setUpDevices()->refresh(false);
    const CLMRAppliancePtr appliance(new CLMRAppliance("alpha"));
    const CString lun(serial.c_str());
    takeSent();
    sweep(
        [&] {
            CString found = "/dev/other";
            if (appliance->importDevicePath(lun, found)) {
                EXPECT_EQ(path, found.c_str());
            }
        },
        [] {});
    sweep([&] { EXPECT_EQ(serial, appliance->findLun(textOf(path)).c_str()); }, [] {});
    sweep([&] { EXPECT_EQ(serial, appliance->findLun(lun).c_str()); }, [] {});
    sweep([&] { EXPECT_EQ("alpha", std::string(appliance->getName().c_str())); }, [] {});
    EXPECT_EQ(serial, setUpDevices()->serialOf(textOf(path)).c_str());
}

TEST_F(ModelOutOfMemory, GroupThatGrowsKeepsItsDevices)
{
    const CGroupPtr group = quietGroup();
    size_t added = 0;
    sweep(
        [&] {
            group->addDevice(m_timeImage, m_checkPoint);
            ++added;
        },
        [&] {
            EXPECT_EQ(added, group->devices().size());
            for (const SCDPDeviceInfo& device : group->devices()) {
                EXPECT_TRUE(device.m_device == m_timeImage && device.m_serial == m_checkPoint);
            }
        });
}

}  // namespace
}  // namespace cdpfi
