#pragma once

#include <csignal>
#include <fstream>

#include "appliance/tests/test_support.h"

namespace lumora::test {

/// The appliance of CDemoStore on the engine `qsd`, with what tests do to its LUNs, images and daemon.
class CQsdStore : public CDemoStore
{
  public:
    CQsdStore() : CDemoStore("qsd") {}

    std::filesystem::path lun(const std::string& name) const { return home() / "dev" / name; }
    /// As any program writes: 64 KiB of one character.
    void fill(const std::filesystem::path& device, char character) const
    {
        std::fstream file(device, std::ios::in | std::ios::out | std::ios::binary);
        file << std::string(BYTES, character) << std::flush;
        EXPECT_TRUE(file.good()) << device;
    }
    /// The character that its first 64 KiB are filled with; '?' when they hold several.
    char filledWith(const std::filesystem::path& device) const
    {
        std::string bytes(BYTES, '\0');
        std::ifstream(device, std::ios::binary).read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        return bytes == std::string(BYTES, bytes.front()) ? bytes.front() : '?';
    }
    /// The LUN of a time image as the host backup sees it.
    std::filesystem::path imageLun(const std::string& image, const std::string& name) const
    {
        const nlohmann::json group = document({"group", "show", "cg1"});
        for (const nlohmann::json& each : group["time_images"]) {
            if (each["name"] != image) continue;
            for (const nlohmann::json& shown : each["luns"]) {
                if (shown["source"] == name) return std::filesystem::path(shown["device"].get<std::string>());
            }
        }
        ADD_FAILURE() << "no LUN " << name << " in time image " << image;
        return {};
    }
    /// Makes a time image and looks for it on the host backup.
    void showImage(const std::string& image, const std::string& annotation) const
    {
        createTimeImage(image, annotation, "backup");
        EXPECT_EQ(kforutil("backup", "discover").status, 0);
    }
    void expectDone(const std::string& commands) const
    {
        const SResult result = lmsh(commands);
        EXPECT_EQ(result.status, 0) << testing::PrintToString(result.err);
    }
    size_t layers() const { return entriesIn(home() / "volumes"); }
    pid_t daemon() const { return std::stoi(contentOf(home() / "qsd/pid")); }

  private:
    static constexpr size_t BYTES = 65536;
};

}  // namespace lumora::test
