// Which names are found, and what stands in their place.
#include <gtest/gtest.h>

#include "host/src/bundle/digest.h"
#include "host/src/bundle/pseudonyms.h"
#include "host/src/output/secrets.h"

using fictl::CNames;
using fictl::CPseudonyms;
using fictl::CSecrets;
using fictl::ENamed;
using nlohmann::json;

namespace {

std::vector<std::string> namesIn(const std::string& text)
{
    CNames names;
    names.addAll(json(text));
    std::vector<std::string> found;
    for (const auto& [name, kind] : names.all()) {
        found.push_back(name);
    }
    return found;
}

CPseudonyms pseudonymsOf(const std::vector<std::pair<ENamed, std::string>>& given)
{
    CNames names;
    for (const auto& [kind, name] : given) {
        names.add(kind, name);
    }
    return CPseudonyms(names);
}

using Texts = std::vector<std::string>;

TEST(CNamesTest, StandInCommandsAndListings)
{
    EXPECT_EQ(namesIn("server zaphod\n show  cgroup \"payroll\"\nexit\n"), (Texts{"payroll", "zaphod"}));
    EXPECT_EQ(namesIn("lmsh: server zaphod; delete timeimage \"KSV_Time_Image_1\" \"books\""), (Texts{"books"}));
    EXPECT_EQ(namesIn("two  words luns=2 annotations=0 timeimages=0\n"), (Texts{"two  words"}));
    EXPECT_EQ(namesIn("Consistency Group: payroll\n/dev/lumora/ledger [LM17] 4KiB\n"),
              (Texts{"LM17", "ledger", "payroll"}));
    EXPECT_EQ(namesIn("/dev/sdb (LUMORA) (VDISK) (4KiB) (LM17) online rw\n"), (Texts{"LM17"}));
    EXPECT_EQ(namesIn("no group \"books\" of appliance \"zaphod\""), (Texts{"books", "zaphod"}));
    EXPECT_EQ(namesIn("Host: anna\n"), (Texts{"anna"}));
}

TEST(CPseudonymsTest, OfHowManyNamesSoeverNoTwoAreTheSame)
{
    constexpr size_t OF_FOUR_LETTERS = 456976;
    CNames names;
    for (size_t i = 0; i < OF_FOUR_LETTERS + 2; ++i) {
        names.add(ENamed::GROUP, "cg" + std::to_string(1'000'000 + i));
    }
    const CPseudonyms pseudonyms(names);
    EXPECT_EQ(pseudonyms.renamed("cg1000000"), "groupaaaa");
    EXPECT_EQ(pseudonyms.renamed("cg1456975"), "groupzzzz");
    EXPECT_EQ(pseudonyms.renamed("cg1456976"), "groupbaaaa");
    EXPECT_EQ(pseudonyms.renamed("cg1456977"), "groupbaaab");
}

TEST(CNamesTest, ThatAreWordsOfEveryTextArePassedOver)
{
    CNames names;
    names.add(ENamed::GROUP, "list timeimages");
    names.add(ENamed::GROUP, "Provider");
    names.add(ENamed::LUN, "d1");
    names.add(ENamed::GROUP, "");
    EXPECT_TRUE(names.all().empty());
    EXPECT_EQ(names.passedOver(), 3U);
}

TEST(CPseudonymsTest, StandWhereverANameIsAPart)
{
    const CPseudonyms pseudonyms = pseudonymsOf({{ENamed::GROUP, "payroll"}, {ENamed::LUN, "ledger"}});
    EXPECT_EQ(pseudonyms.renamed("/dev/x/ledger of \"payroll\""), "/dev/x/lunaaaa of \"groupaaaa\"");
    EXPECT_EQ(pseudonyms.renamed("before_payroll2026"), "before_groupaaaa2026");
    EXPECT_EQ(pseudonyms.renamed("payrolls, xledger"), "payrolls, xledger");
}

TEST(CPseudonymsTest, TheLongestNameCounts)
{
    const CPseudonyms pseudonyms =
        pseudonymsOf({{ENamed::GROUP, "db"}, {ENamed::GROUP, "pay"}, {ENamed::GROUP, "pay-2"}});
    EXPECT_EQ(pseudonyms.renamed("pay-2 pay-3 db"), "group-aaab groupaaaa-3 db");
}

TEST(CPseudonymsTest, MarksAndOrderStay)
{
    const CPseudonyms pseudonyms =
        pseudonymsOf({{ENamed::GROUP, "anna<b"}, {ENamed::GROUP, "two  words"}, {ENamed::SERIAL, "LM-17"}});
    EXPECT_EQ(pseudonyms.renamed("anna<b|two  words|LM-17"), "group<aaaa|group  aaab|SERIAL-aaaa");
}

TEST(CPseudonymsTest, AHostIsFoundWithAndWithoutItsDomain)
{
    const CPseudonyms pseudonyms = pseudonymsOf({{ENamed::HOST, "anna.example.com"}, {ENamed::HOST, "10.1.2.3"}});
    EXPECT_EQ(pseudonyms.renamed("anna.example.com anna 10.1.2.3"), "hostaaaa.domainaaaa.invalid hostaaaa 198.18.0.1");
}

TEST(CPseudonymsTest, KeysStayAndBytesAreRenamed)
{
    const CPseudonyms pseudonyms = pseudonymsOf({{ENamed::GROUP, "payroll"}});
    json document = {{"payroll", {"payroll", 1, {{"hex", "ff706179726f6c6c"}}}}};
    pseudonyms.rename(document);
    EXPECT_EQ(document["payroll"][0], "groupaaaa");
    // 0xff counts as a letter, so the name is not the whole word.
    EXPECT_EQ(document["payroll"][2]["hex"], "ff706179726f6c6c");
    document = {{"hex", "ff20706179726f6c6c"}};
    pseudonyms.rename(document);
    EXPECT_EQ(document, (json{{"hex", "ff2067726f757061616161"}}));
}

TEST(CPseudonymsTest, StandForLabelsAndNotesToo)
{
    CNames names;
    json document = {{"labels", {{"customer", "Acme Ltd"}, {"n", "1"}}},
                     {"note", "as Acme Ltd asked for"},
                     {"command", "fictl snapshot create s --label 'customer=Acme Ltd' --note 'as Acme Ltd asked for'"},
                     {"row", {{"label_key", "customer"}, {"label_value", "Acme Ltd"}}}};
    names.addAll(document);
    CPseudonyms(names).rename(document);
    EXPECT_EQ(document["labels"], (json{{"labelaaab", "label aaaa"}, {"n", "1"}}));
    EXPECT_EQ(document["note"], "note    aaaa");
    EXPECT_EQ(document["command"], "fictl snapshot create s --label 'labelaaab=label aaaa' --note 'note    aaaa'");
    EXPECT_EQ(document["row"], (json{{"label_key", "labelaaab"}, {"label_value", "label aaaa"}}));
}

TEST(CSecretsTest, AreHiddenInTextsAndDocuments)
{
    const CSecrets secrets({"db-quiet off\n", "no"}, "...");
    EXPECT_EQ(secrets.hidden("failed: db-quiet off\\x0a!"), "failed: ...!");
    EXPECT_EQ(secrets.hidden("no"), "no") << "too short to hold a password";
    json document = {{"db-quiet off\n", {"run db-quiet off\n now", 1}}};
    secrets.hide(document);
    EXPECT_EQ(document, (json{{"db-quiet off\n", {"run ... now", 1}}}));
}

TEST(CSecretsTest, LeaveADocumentOne)
{
    const CSecrets secrets({"false"}, "true");
    EXPECT_EQ(secrets.hiddenOutput("{\"a\": false, \"thaw\": \"false\"}"),
              "{\n  \"a\": false,\n  \"schema_version\": 1,\n  \"thaw\": \"true\"\n}\n");
    EXPECT_EQ(secrets.hiddenOutput("THAW  false\n"), "THAW  true\n");
}

TEST(Digest, IsThatOfTheStandard)
{
    EXPECT_EQ(fictl::sha256Of("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_EQ(fictl::sha256Of(""), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
}

}  // namespace
