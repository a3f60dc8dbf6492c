// Reports for which the appliances are asked, or not.
#include "host/tests/reconcile_fixture.h"

namespace {

class CReportLookTest : public CReconcileTest
{
  protected:
    /// The page of a report, which ends well.
    std::string page(const std::vector<std::string>& options = {}) const
    {
        std::vector<std::string> words = {"report", "--html", m_root + "/report.html", "--force"};
        words.insert(words.end(), options.begin(), options.end());
        const SRun run = fictl(words);
        EXPECT_EQ(run.exit, 0) << run.err;
        return base_test::contentOf(m_root + "/report.html");
    }
    static bool has(const std::string& page, const std::string& text) { return page.find(text) != std::string::npos; }
};

TEST_F(CReportLookTest, WhatNoRecordHasIsShownWhereTheAppliancesAreAsked)
{
    const std::string checkpoint = createOrphan("s");
    const std::string looked = page({"--look"});
    EXPECT_TRUE(has(looked, "<th scope=\"row\">" + checkpoint +
                                "</th><td class=\"whole\">checkpoint</td>"
                                "<td class=\"whole\">orphan</td><td>ap1/g1</td>"))
        << looked;
    EXPECT_FALSE(has(looked, "The appliances were not asked"));
    const std::string other = page();
    EXPECT_FALSE(has(other, checkpoint));
    EXPECT_TRUE(has(other, "The appliances were not asked, so what they hold and no record has is not shown"));
}

TEST_F(CReportLookTest, WhatIsInOrderIsToldAsThat)
{
    ASSERT_EQ(fictl({"snapshot", "create", "s", "/dev/fake1"}).exit, 0);
    EXPECT_TRUE(has(page({"--look"}), "The appliances hold nothing of this host that no record has."));
}

TEST_F(CReportLookTest, WhatIsNotToldIsSaid)
{
    ASSERT_EQ(fictl({"snapshot", "create", "s", "/dev/fake1"}).exit, 0);
    leaveInspectorAway();
    const std::string looked = page({"--look"});
    EXPECT_TRUE(has(looked, "<p>Not everything was told: ")) << looked;
    EXPECT_FALSE(has(looked, "The appliances hold nothing"));
}

TEST_F(CReportLookTest, ACopyShowsFromItsImportOn)
{
    ASSERT_EQ(fictl({"snapshot", "create", "s", "/dev/fake1", "--freeze", "true", "--thaw", "true"}).exit, 0);
    ASSERT_EQ(fictl({"snapshot", "import", "s"}).exit, 0);
    const std::string imported = page();
    EXPECT_TRUE(has(imported, "class=\"copy shows\""));
    EXPECT_TRUE(has(imported, "class=\"mark imported\""));
    EXPECT_TRUE(has(imported, ", application frozen "));
    ASSERT_EQ(fictl({"snapshot", "release", "s"}).exit, 0);
    const std::string released = page();
    EXPECT_TRUE(has(released, "class=\"copy given-back\""));
    EXPECT_FALSE(has(released, "class=\"copy shows\""));
    ASSERT_EQ(fictl({"snapshot", "delete", "s"}).exit, 0);
    EXPECT_TRUE(has(page(), "class=\"mark deleted\""));
}

}  // namespace
