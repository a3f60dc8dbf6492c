// The inspector of the test provider: tells what is in the store as one document, and releases an image. Its faults, to
// order like those of faults.h:
//     inspect fail[=N] TEXT        no document: the text on standard error, exit status N
//     inspect garbage TEXT         the text in place of the document
//     inspect banner TEXT          the text in front of the document
//     inspect hangs                no end
//     inspect:<appliance> fail TEXT      the appliance is not reachable, for this reason (also appliance:<appliance>)
//     inspect:<appliance> hangs          it is not reachable, after the time limit
//     inspect:<appliance> banner TEXT    its answers are no listings
//     inspect-group:<group> fail TEXT    the group could not be read
//     inspect-images:<group> fail TEXT   its list of images could not be read
//     inspect-image:<image> fail TEXT    the image could not be read
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "host/tests/fakefi/appliance.h"
#include "host/tests/fakefi/faults.h"
#include "host/tests/fakefi/store.h"

namespace {

using nlohmann::json;
using EAction = SFault::EAction;

constexpr const char* TAKEN = "2026-01-31T12:00:00Z";
constexpr int USAGE = 2;
constexpr int NOT_RELEASED = 8;

struct SRequest
{
    std::vector<std::string> words;
    std::vector<std::string> appliances;
    std::vector<std::string> groups;
    unsigned timeout = 600;
    bool raw = false;
    bool inventory = false;
};

bool isWanted(const std::vector<std::string>& wanted, const std::string& name)
{
    return wanted.empty() || std::find(wanted.begin(), wanted.end(), name) != wanted.end();
}

json textOrNull(const std::string& text)
{
    return text.empty() ? json() : json(text);
}

std::optional<SRequest> requestOf(int argc, char** argv)
{
    SRequest request;
    bool onlyNames = false;
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        const std::string option = word.substr(0, word.find('='));
        const bool takesValue = option == "--appliance" || option == "--group" || option == "--timeout";
        if (takesValue && word == option && i + 1 == argc) return std::nullopt;
        const std::string value = !takesValue      ? std::string()
                                  : word == option ? argv[++i]
                                                   : word.substr(option.size() + 1);
        if (onlyNames || !word.starts_with("--")) {
            request.words.push_back(word);
        } else if (word == "--") {
            onlyNames = true;
        } else if (word == "--raw") {
            request.raw = true;
        } else if (word == "--inventory") {
            request.inventory = true;
        } else if (option == "--appliance") {
            request.appliances.push_back(value);
        } else if (option == "--group") {
            request.groups.push_back(value);
        } else if (option == "--timeout") {
            request.timeout = static_cast<unsigned>(std::stoul(value));
        } else {
            return std::nullopt;
        }
    }
    return request;
}

/// One look at the store.
class CInspection
{
  public:
    CInspection(const CStore& store, const CFaults& faults, const SRequest& request)
        : m_store(store), m_faults(faults), m_request(request)
    {
    }

    json document() const
    {
        json appliances = json::array();
        for (const std::string& name : m_store.appliances()) {
            if (isWanted(m_request.appliances, name)) appliances.push_back(appliance(name));
        }
        json document = {
            {"format", "obzx-inspection"},
            {"schema_version", 1},
            {"provider", "fakefi"},
            {"provider_version", "7.0.0.0"},
            {"taken", TAKEN},
            {"seconds", 0.01},
            {"configuration", configuration()},
            {"tools", tools()},
            {"host", {{"name", m_store.hostName()}, {"further_names", json::array()}, {"reason", nullptr}}},
            {"disks", disks()},
            {"appliances", std::move(appliances)},
            {"ambiguous", ambiguous()},
            {"raw", m_request.raw ? json::array() : json()}};
        if (const unsigned parallel = m_store.parallel(); parallel > 0) document["parallel"] = parallel;
        return document;
    }

  private:
    json configuration() const
    {
        json appliances = json::array();
        for (const std::string& name : m_store.appliances()) {
            appliances.push_back(
                {{"name", name}, {"port", nullptr}, {"file", m_store.folder() + "devices"}, {"line", 1}});
        }
        return {{"files", json::array({{{"path", m_store.folder() + "devices"}, {"read", true}, {"reason", nullptr}}})},
                {"values", json::array()},
                {"unreadable_lines", json::array()},
                {"commented_appliances", json::array()},
                {"appliances", std::move(appliances)}};
    }

    json tools() const
    {
        const std::string path = m_store.toolPath(FAKEFI_TOOL);
        const bool exists = std::filesystem::exists(path);
        const bool isExecutable = access(path.c_str(), X_OK) == 0;
        return json::array({{{"name", "fakefi_tool"},
                             {"path", path},
                             {"exists", exists},
                             {"executable", isExecutable},
                             {"answers", isExecutable ? json(true) : json()},
                             {"seconds", isExecutable ? json(0.01) : json()},
                             {"reason", exists ? json() : json("No such file or directory")}}});
    }

    json disks() const
    {
        json devices = json::array();
        for (const SLun& lun : m_store.luns()) {
            devices.push_back({{"path", lun.path}, {"serial", lun.serial}});
        }
        for (const std::string& appliance : m_store.appliances()) {
            for (const std::string& name : m_store.groups(appliance)) {
                addCopies({appliance, name}, devices);
            }
        }
        return {{"read", true}, {"reason", nullptr}, {"devices", std::move(devices)}};
    }

    /// The copies that were made of what is granted to this host.
    void addCopies(const SGroup& group, json& devices) const
    {
        for (const SImage& image : m_store.images(group)) {
            if (!image.isGrantedTo(m_store.hostName())) continue;
            for (const SLun& lun : m_store.lunsOf(group)) {
                const std::string path = m_store.copyPath(group, image.name, lun.serial);
                if (std::filesystem::exists(path)) devices.push_back({{"path", path}, {"serial", "T" + lun.serial}});
            }
        }
    }

    json appliance(const std::string& name) const;
    json group(const SGroup& group) const;
    json image(const SGroup& group, const SImage& image) const;
    json ambiguous() const;

    const CStore& m_store;
    const CFaults& m_faults;
    const SRequest& m_request;
};

json CInspection::appliance(const std::string& name) const
{
    const SFault fault = m_faults.find({"inspect:" + name, "appliance:" + name});
    json document = {
        {"name", name},           {"reachable", true},   {"reason", nullptr},      {"not_listings", json::array()},
        {"host_here", nullptr},   {"hosts_read", false}, {"hosts", json::array()}, {"groups_read", false},
        {"groups", json::array()}};
    if (fault.action != EAction::NONE) {
        document["reachable"] = false;
        document["reason"] = "fakefi_tool exited with status " + std::to_string(fault.status) + ": " + fault.text;
        if (fault.word == "hangs") {
            sleep(m_request.timeout);
            document["reason"] = "no answer within " + std::to_string(m_request.timeout) + " s";
        }
        if (fault.word == "banner") {
            document["reason"] = "the answer to \"list cgroups\" is no listing";
            document["not_listings"] =
                json::array({{{"command", "list cgroups"}, {"lines", json::array({fault.text})}}});
        }
        return document;
    }
    document["hosts_read"] = document["groups_read"] = true;
    for (const std::string& host : m_store.hosts(name)) {
        document["hosts"].push_back({{"name", host}, {"luns", nullptr}});
        if (host == m_store.hostName()) document["host_here"] = {{"name", host}, {"by", "name"}};
    }
    for (const std::string& groupName : m_store.groups(name)) {
        if (isWanted(m_request.groups, groupName)) document["groups"].push_back(group({name, groupName}));
    }
    return document;
}

json CInspection::group(const SGroup& group) const
{
    const SFault unread = m_faults.find({"inspect-group:" + group.name});
    const SFault imagesUnread = m_faults.find({"inspect-images:" + group.name});
    json document = {{"name", group.name},
                     {"read", unread.action == EAction::NONE},
                     {"reason", textOrNull(unread.text)},
                     {"luns", json::array()},
                     {"permissions", nullptr},
                     {"annotations", nullptr},
                     {"images_read", false},
                     {"images", json::array()}};
    if (unread.action != EAction::NONE) return document;
    for (const SLun& lun : m_store.lunsOf(group)) {
        document["luns"].push_back(
            {{"device", "/dev/appliance/" + lun.serial}, {"serial", lun.serial}, {"path", lun.path}});
    }
    document["permissions"] = document["annotations"] = json::array();
    for (const SAnnotation& annotation : m_store.annotations(group)) {
        document["annotations"].push_back({{"name", annotation.name},
                                           {"time", textOrNull(annotation.time)},
                                           {"message", textOrNull(annotation.message)}});
    }
    if (m_request.inventory) return document;
    if (imagesUnread.action != EAction::NONE) {
        document["reason"] = textOrNull(imagesUnread.text);
        return document;
    }
    document["images_read"] = true;
    for (const SImage& each : m_store.images(group)) {
        document["images"].push_back(image(group, each));
    }
    return document;
}

json CInspection::image(const SGroup& group, const SImage& image) const
{
    const SFault unread = m_faults.find({"inspect-image:" + image.name});
    json document = {{"name", image.name},
                     {"read", unread.action == EAction::NONE},
                     {"reason", textOrNull(unread.text)},
                     {"annotation", nullptr},
                     {"created", nullptr},
                     {"permissions", nullptr},
                     {"luns", json::array()}};
    if (unread.action != EAction::NONE) return document;
    document["annotation"] = image.annotation;
    document["created"] = textOrNull(image.created);
    document["permissions"] = image.permissions;
    for (const SLun& lun : m_store.lunsOf(group)) {
        const std::string path = m_store.copyPath(group, image.name, lun.serial);
        const bool isShown = image.isGrantedTo(m_store.hostName()) && std::filesystem::exists(path);
        document["luns"].push_back(
            {{"source", lun.serial}, {"target", "T" + lun.serial}, {"path", isShown ? json(path) : json()}});
    }
    return document;
}

// A serial that equals a group's name, or that stands in two groups or appliances.
json CInspection::ambiguous() const
{
    std::set<std::string> groupNames;
    for (const std::string& appliance : m_store.appliances()) {
        for (const std::string& name : m_store.groups(appliance)) {
            groupNames.insert(name);
        }
    }
    std::map<std::string, std::set<std::pair<std::string, std::string>>> places;
    for (const SLun& lun : m_store.luns()) {
        places[lun.serial].insert({lun.appliance, lun.group});
    }
    json all = json::array();
    for (const auto& [serial, where] : places) {
        const bool isGroup = groupNames.contains(serial);
        if (!isGroup && where.size() == 1) continue;
        json list = json::array();
        for (const auto& [appliance, group] : where) {
            list.push_back({{"appliance", appliance}, {"group", group}});
        }
        const std::string reason =
            isGroup ? "the serial is also the name of a group" : "the serial stands in two places";
        all.push_back({{"serial", serial}, {"reason", reason}, {"places", std::move(list)}});
    }
    return all;
}

int inspect(const CStore& store, const CFaults& faults, const SRequest& request)
{
    const SFault fault = faults.find({"inspect"});
    faults.before(fault);
    if (fault.action == EAction::FAIL) {
        std::fprintf(stderr, "%s\n", fault.text.c_str());
        return fault.status;
    }
    if (fault.word == "garbage" || fault.word == "banner") std::printf("%s\n", fault.text.c_str());
    if (fault.word == "garbage") return 0;
    const json document = CInspection(store, faults, request).document();
    std::printf("%s\n", document.dump(2, ' ', false, json::error_handler_t::replace).c_str());
    return 0;
}

int release(const CStore& store, const CFaults& faults, const SRequest& request)
{
    const SGroup group{request.appliances.front(), request.words[1]};
    const std::string& image = request.words[2];
    const SAnswer answer =
        CAppliance(store, faults)
            .run("server " + group.appliance + "\n delete  timeimage \"" + image + "\" \"" + group.name + "\"\nexit\n");
    // What counts is what is there afterwards.
    const bool isReleased = store.isGroup(group) && !store.has(group, image);
    const json document = {{"format", "obzx-release"},
                           {"schema_version", 1},
                           {"appliance", group.appliance},
                           {"group", group.name},
                           {"image", image},
                           {"released", isReleased},
                           {"reason", isReleased ? json() : json("the time image is still there")},
                           {"exit", answer.status},
                           {"output", answer.text},
                           {"raw", json()}};
    std::printf("%s\n", document.dump(2, ' ', false, json::error_handler_t::replace).c_str());
    return isReleased ? 0 : NOT_RELEASED;
}

}  // namespace

int main(int argc, char** argv)
{
    const std::string first = argc > 1 ? argv[1] : "";
    if (first == "--help" || first == "--version") {
        std::puts("fakefi-inspect 7.0.0.0");
        return 0;
    }
    const std::optional<SRequest> request = requestOf(argc, argv);
    if (!request) return USAGE;
    const CStore store;
    const CFaults faults(store, getppid());
    if (request->words.empty()) return inspect(store, faults, *request);
    const bool isRelease = request->words.front() == "release" && request->words.size() == 3;
    if (!isRelease || request->appliances.size() != 1) return USAGE;
    return release(store, faults, *request);
}
