#pragma once

#include <filesystem>
#include <set>

#include "base/tests/environment_value.h"
#include "host/tests/catalog_fixture.h"

/// A host whose catalog, appliances and files are compared.
class CReconcileTest : public CCatalogTest
{
  protected:
    using json = nlohmann::json;

    void SetUp() override
    {
        CCatalogTest::SetUp();
        std::filesystem::create_directory(scripts());
    }
    /// The temporary folder of this test: others may be at work in the system's.
    std::string scripts() const { return m_root + "/scripts"; }

    /// The document of a comparison that ends with this exit code.
    json reconcile(int exit) const
    {
        const SRun run = fictlJson({"reconcile"});
        EXPECT_EQ(run.exit, exit) << run.out << run.err;
        return run.document()["reconcile"];
    }
    /// The classes of what is of a kind, as "class name".
    static std::set<std::string> classesOf(const json& found, const std::string& kind)
    {
        std::set<std::string> classes;
        for (const json& object : found["objects"]) {
            if (object["kind"] == kind) {
                classes.insert(object["class"].get<std::string>() + " " + object["name"].get<std::string>());
            }
        }
        return classes;
    }
    static json objectOf(const json& found, const std::string& name)
    {
        for (const json& object : found["objects"]) {
            if (object["name"] == name) return object;
        }
        ADD_FAILURE() << name << " is not in " << found;
        return nullptr;
    }
    static std::string evidenceOf(const json& found, const std::string& name)
    {
        std::string text;
        const json object = objectOf(found, name);
        for (const json& each : object["evidence"]) {
            text += each["source"].get<std::string>() + ": " + each["text"].get<std::string>() + "\n";
        }
        return text;
    }
    static std::string classOf(const json& found, const std::string& name) { return objectOf(found, name)["class"]; }

    /// Makes a snapshot; returns its checkpoint.
    std::string create(const std::string& name, const std::vector<std::string>& devices = {"/dev/fake1"}) const
    {
        std::vector<std::string> words = {"snapshot", "create", name};
        words.insert(words.end(), devices.begin(), devices.end());
        EXPECT_EQ(fictl(words).exit, 0);
        return fictlJson({"snapshot", "show", name}).document()["snapshot"]["checkpoint"];
    }
    /// The same, whose record is dropped then.
    std::string createOrphan(const std::string& name, const std::vector<std::string>& devices = {"/dev/fake1"}) const
    {
        const std::string checkpoint = create(name, devices);
        EXPECT_EQ(fictl({"snapshot", "delete", name, "--forget"}).exit, 0);
        return checkpoint;
    }
    static std::string imageOf(const std::string& checkpoint)
    {
        return "KSV_Time_Image_" + checkpoint.substr(std::string("KSV_Check_Point_").size());
    }
    void putCheckpoint(const std::string& group, const std::string& name, const std::string& time) const
    {
        base_test::writeFile(fake("objects/ap1." + group + "." + name), "time " + time + "\nmessage by hand\n");
    }
    bool isThere(const std::string& object) const { return std::filesystem::exists(fake("objects/" + object)); }
    void loseCatalog() const
    {
        for (const char* end : {"", "-wal", "-shm", "-owners"}) {
            std::filesystem::remove(catalog() + end);
        }
    }
    void changeHistory(const std::string& sql) const { change("DROP TRIGGER IF EXISTS history_is_kept; " + sql); }

  private:
    const base_test::CEnvironmentValue m_temporary{"TMPDIR", scripts()};
};
