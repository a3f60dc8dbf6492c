#include "host/src/inspection/inspection.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "host/src/inspection/image_owner.h"

namespace fictl {
namespace {

using nlohmann::json;

const GroupKey G1{"ap1", "g1"};

json groupJson()
{
    return {{"name", "g1"},
            {"read", true},
            {"reason", nullptr},
            {"luns", {{{"device", "/dev/a"}, {"serial", "S1"}, {"path", "/dev/sda"}}}},
            {"permissions", json::array()},
            {"annotations", {{{"name", "KSV_Check_Point_7"}, {"time", nullptr}, {"message", nullptr}}}},
            {"images_read", true},
            {"images", json::array()}};
}

json documentJson()
{
    return {{"format", "obzx-inspection"},
            {"schema_version", 1},
            {"disks", {{"read", true}, {"reason", nullptr}, {"devices", {{{"path", "/dev/sda"}, {"serial", "S1"}}}}}},
            {"appliances",
             {{{"name", "ap1"},
               {"reachable", true},
               {"reason", nullptr},
               {"not_listings", json::array()},
               {"host_here", {{"name", "here"}, {"by", "name"}}},
               {"hosts_read", true},
               {"hosts", json::array()},
               {"groups_read", true},
               {"groups", {groupJson()}}}}},
            {"ambiguous", {{{"serial", "S9"}, {"reason", "it is a group's name"}, {"places", json::array()}}}}};
}

json& groupOf(json& document)
{
    return document["appliances"][0]["groups"][0];
}

void addImage(json& document, const json& permissions)
{
    groupOf(document)["images"].push_back({{"name", "KSV_Time_Image_7"},
                                           {"read", true},
                                           {"reason", nullptr},
                                           {"annotation", "KSV_Check_Point_7"},
                                           {"created", nullptr},
                                           {"permissions", permissions},
                                           {"luns", {{{"source", "S1"}, {"target", "T1"}, {"path", "/dev/sdb"}}}}});
}

SInspection inspectionOf(const json& document)
{
    std::string reason;
    std::optional<SInspection> inspection = SInspection::read(document.dump(), reason);
    EXPECT_TRUE(inspection) << reason;
    return inspection ? *std::move(inspection) : SInspection();
}

TEST(Inspection, TellsYesAndNoOfWhatWasRead)
{
    const SInspection seen = inspectionOf(documentJson());
    EXPECT_EQ(seen.hasGroup(G1), EThere::YES);
    EXPECT_EQ(seen.hasGroup({"ap1", "other"}), EThere::NO);
    EXPECT_EQ(seen.hasLun(G1, "S1"), EThere::YES);
    EXPECT_EQ(seen.hasLun(G1, "S2"), EThere::NO);
    EXPECT_EQ(seen.hasCheckpoint(G1, "KSV_Check_Point_7"), EThere::YES);
    EXPECT_EQ(seen.hasCheckpoint(G1, "KSV_Check_Point_8"), EThere::NO);
    EXPECT_EQ(seen.hasImage(G1, "KSV_Time_Image_7"), EThere::NO);
    EXPECT_EQ(seen.shows("/dev/sda", "S1"), EThere::YES);
    EXPECT_EQ(seen.shows("/dev/sda", "S2"), EThere::NO);
    EXPECT_EQ(seen.shows("/dev/sdz", "S1"), EThere::NO);
    EXPECT_EQ(seen.doubt(G1), "");
    EXPECT_TRUE(seen.showsAnother("/dev/sda", "S2"));
    EXPECT_FALSE(seen.showsAnother("/dev/sda", "S1"));
    EXPECT_FALSE(seen.showsAnother("/dev/sda", "")) << "nothing is known of what it showed";
    EXPECT_FALSE(seen.showsAnother("/dev/sdz", "S1")) << "what does not show at all may still be open";
}

TEST(Inspection, WhatIsNotToldIsUnknownAndNeverAbsent)
{
    json document = documentJson();
    groupOf(document)["annotations"] = nullptr;
    groupOf(document)["images_read"] = false;
    document["disks"]["read"] = false;
    SInspection seen = inspectionOf(document);
    EXPECT_EQ(seen.hasCheckpoint(G1, "KSV_Check_Point_8"), EThere::UNKNOWN);
    EXPECT_EQ(seen.hasImage(G1, "KSV_Time_Image_7"), EThere::UNKNOWN);
    EXPECT_EQ(seen.shows("/dev/sda", "S2"), EThere::UNKNOWN);
    EXPECT_EQ(seen.doubt(G1), "the appliance does not tell the group's checkpoints");

    // A list of groups may have lost its end, and a group may have got another name.
    const GroupKey unlisted = {"ap1", "other"};
    EXPECT_EQ(seen.hasCheckpoint(unlisted, "KSV_Check_Point_8"), EThere::UNKNOWN);
    EXPECT_EQ(seen.hasImage(unlisted, "KSV_Time_Image_7"), EThere::UNKNOWN);
    EXPECT_EQ(seen.doubt(unlisted), "the appliance lists no such group");

    document = documentJson();
    groupOf(document)["annotations"] = nullptr;
    EXPECT_EQ(inspectionOf(document).doubt(G1), "the appliance does not tell the group's checkpoints");

    document = documentJson();
    groupOf(document)["read"] = false;
    seen = inspectionOf(document);
    EXPECT_EQ(seen.hasLun(G1, "S2"), EThere::UNKNOWN);
    EXPECT_EQ(seen.hasCheckpoint(G1, "KSV_Check_Point_8"), EThere::UNKNOWN);

    document = documentJson();
    document["appliances"][0]["groups_read"] = false;
    document["appliances"][0]["groups"] = json::array();
    document["appliances"][0]["reason"] = "no answer within 5 s";
    seen = inspectionOf(document);
    EXPECT_EQ(seen.hasGroup(G1), EThere::UNKNOWN);
    EXPECT_EQ(seen.hasLun(G1, "S1"), EThere::UNKNOWN);
    EXPECT_EQ(seen.hasImage(G1, "KSV_Time_Image_7"), EThere::UNKNOWN);
    EXPECT_EQ(seen.doubt(G1), "no answer within 5 s");
    EXPECT_EQ(seen.hasGroup({"ap9", "g1"}), EThere::UNKNOWN);
    EXPECT_EQ(seen.doubt({"ap9", "g1"}), "appliance \"ap9\" is not configured on this host");
}

TEST(Inspection, AGrantToTheGroupIsAGrantToItsImages)
{
    json document = documentJson();
    addImage(document, json::array());
    groupOf(document)["permissions"] = {"here"};
    EXPECT_EQ(inspectionOf(document).isGrantedHere(G1, "KSV_Time_Image_7"), EThere::YES);
    groupOf(document)["permissions"] = {"other"};
    EXPECT_EQ(inspectionOf(document).isGrantedHere(G1, "KSV_Time_Image_7"), EThere::NO);
    groupOf(document)["images"][0]["permissions"] = nullptr;
    EXPECT_EQ(inspectionOf(document).isGrantedHere(G1, "KSV_Time_Image_7"), EThere::UNKNOWN);
}

TEST(Inspection, TellsHowManyRunsThereMayBeAtOnce)
{
    const std::vector<std::pair<json, size_t>> told = {{3, 3},  {1, 1},   {0, 1},   {64, 64},    {65, 64},
                                                       {-1, 8}, {"3", 8}, {2.5, 8}, {nullptr, 8}};
    std::string reason;
    EXPECT_EQ(SInspection::read(documentJson().dump(), reason)->parallel, 8U) << "where nobody tells";
    for (const auto& [value, taken] : told) {
        json document = documentJson();
        document["parallel"] = value;
        EXPECT_EQ(SInspection::read(document.dump(), reason)->parallel, taken) << value;
    }
}

TEST(Inspection, RefusesWhatIsNoDocumentOfItsVersion)
{
    std::string reason;
    json document = documentJson();
    document["schema_version"] = 2;
    for (const std::string& text :
         {std::string(), std::string("{}"), std::string("null"), std::string("[]"),
          documentJson().dump().substr(0, 200), document.dump(), "Welcome\n" + documentJson().dump()}) {
        EXPECT_FALSE(SInspection::read(text, reason)) << text;
        EXPECT_NE(reason, "");
    }
}

TEST(Inspection, RefusesADocumentWithAValueOfAnotherKindAnywhere)
{
    const json document = documentJson();
    const json flat = document.flatten();
    std::string reason;
    for (const auto& [path, value] : flat.items()) {
        if (value.is_null() || path.ends_with("/by") || path.ends_with("/hosts_read")) continue;  // fictl does not ask
        json changed = document;
        changed[json::json_pointer(path)] = value.is_number() ? json("text") : json(17);
        if (value.empty() && value.is_structured()) continue;
        const bool isRead = SInspection::read(changed.dump(), reason).has_value();
        const bool isUsed = path.find("/device") == std::string::npos && path.find("/path") == std::string::npos;
        EXPECT_FALSE(isRead && isUsed) << path;
    }
}

class CImageOwnerTest : public testing::Test
{
  protected:
    CImageOwnerTest()
    {
        m_snapshot.name = "s";
        m_snapshot.checkpoint = "KSV_Check_Point_7";
        SDevice device;
        device.state.applianceName = "ap1";
        device.state.consistencyGroup = "g1";
        m_snapshot.devices.push_back(device);
    }

    SImageOwner find() const
    {
        const SInspection seen = inspectionOf(m_document);
        return findImageOwner(m_snapshot, G1, &seen, "");
    }
    void ask() { m_snapshot.devices[0].imageAsked = true; }

    SSnapshot m_snapshot;
    json m_document = documentJson();
};

TEST_F(CImageOwnerTest, NoImageIsNobodys)
{
    EXPECT_EQ(find().owner, EImageOwner::NONE);
    ask();
    EXPECT_EQ(find().owner, EImageOwner::NONE);
}

TEST_F(CImageOwnerTest, AnImageThatThisRecordAskedForAndThisHostAloneHasIsOurs)
{
    addImage(m_document, {"here"});
    EXPECT_EQ(find().owner, EImageOwner::OTHERS);
    EXPECT_EQ(find().holder, "this host, host \"here\", for another catalog");
    EXPECT_TRUE(find().isHere);
    ask();
    EXPECT_EQ(find().owner, EImageOwner::OURS);
    groupOf(m_document)["permissions"] = {"here", "other"};
    EXPECT_EQ(find().owner, EImageOwner::OURS) << "a grant on the whole group makes nobody a holder";
}

TEST_F(CImageOwnerTest, AnImageThatAnotherHostHasIsTheirsWhateverTheRecordSays)
{
    addImage(m_document, {"far", "wide"});
    ask();
    m_snapshot.devices[0].importPath = "/dev/sdb";
    EXPECT_EQ(find().owner, EImageOwner::OTHERS);
    EXPECT_EQ(find().holder, "hosts \"far\", \"wide\"");
    groupOf(m_document)["images"][0]["permissions"] = {"far", "here"};
    EXPECT_EQ(find().owner, EImageOwner::OTHERS);
    EXPECT_EQ(find().holder, "host \"far\"");
    groupOf(m_document)["images"][0]["permissions"] = json::array();
    EXPECT_EQ(find().owner, EImageOwner::OTHERS);
    EXPECT_EQ(find().holder, "no host");
}

TEST_F(CImageOwnerTest, WhereGrantsAreNotToldOnlyACopyThatShowsHereIsOurs)
{
    addImage(m_document, nullptr);
    EXPECT_EQ(find().owner, EImageOwner::OTHERS);
    ask();
    EXPECT_EQ(find().owner, EImageOwner::UNKNOWN);
    m_snapshot.devices[0].importPath = "/dev/sdb";
    EXPECT_EQ(find().owner, EImageOwner::OURS);
}

TEST_F(CImageOwnerTest, WhereThisHostIsNotListedWhatItAskedForMayBeAnybodys)
{
    addImage(m_document, {"here"});
    m_document["appliances"][0]["host_here"] = nullptr;
    EXPECT_EQ(find().owner, EImageOwner::OTHERS);
    ask();
    m_snapshot.devices[0].importPath = "/dev/sdb";
    EXPECT_EQ(find().owner, EImageOwner::UNKNOWN);
    EXPECT_EQ(find().doubt, "the appliance lists no host that is this one");
}

TEST_F(CImageOwnerTest, WithoutALookOnlyACopyThatShowsHereIsOurs)
{
    ask();
    EXPECT_EQ(findImageOwner(m_snapshot, G1, nullptr, "nothing to look with").owner, EImageOwner::UNKNOWN);
    EXPECT_EQ(findImageOwner(m_snapshot, G1, nullptr, "nothing to look with").doubt, "nothing to look with");
    m_snapshot.devices[0].importPath = "/dev/sdb";
    EXPECT_EQ(findImageOwner(m_snapshot, G1, nullptr, "").owner, EImageOwner::OURS);
}

}  // namespace
}  // namespace fictl
