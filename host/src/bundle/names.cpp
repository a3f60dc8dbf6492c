#include "host/src/bundle/names.h"

#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <set>
#include <sstream>

namespace fictl {

namespace {

using nlohmann::json;

// Words of commands, listings, documents and messages.
constexpr const char* WORDS =
    "list hosts host show cgroup cgroups timeimages timeimage annotation annotations create delete set message commit "
    "createdbykestrav server exit discover listdisk release luns lun consistency group groups protected monitor "
    "permissions stillmark time image images presented there are none disks disk device vendor type size serial state "
    "access online offline true false null yes not unknown for and the that this with from its but any all has have "
    "had was were can cannot could will been being into only than then other another one what when where which who "
    "why how provider inspector appliance appliances catalog configuration tool tools trace temporary rights name "
    "names file files value values line lines reason read path paths command commands answer answers limit output "
    "cancel unused complete partial failed creating importing imported releasing deleting interrupted created received "
    "checkpoint checkpoints snapshot snapshots fictl cdpfi lmsh kforutil lmadm obzx dev tmp var lib log etc opt usr "
    "bin "
    "sbin home root local localhost run srv mnt export next error exists missing starts loads entry points known "
    "knows make made here already more nothing seconds user folder ok warn fail ended running sure lost refused asked";

const std::set<std::string>& knownWords()
{
    static const std::set<std::string> WORDS_OF_TEXTS = [] {
        std::istringstream words(WORDS);
        return std::set<std::string>(std::istream_iterator<std::string>(words), {});
    }();
    return WORDS_OF_TEXTS;
}

bool isWordByte(char character)
{
    const auto byte = static_cast<unsigned char>(character);
    return std::isalnum(byte) != 0 || byte >= 0x80U;
}

// Whether each of its words is one that stands in texts anyway.
bool isMadeOfKnownWords(const std::string& name)
{
    std::string word;
    for (const char character : name + " ") {
        if (isWordByte(character)) {
            word += static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
        } else if (!word.empty()) {
            if (!knownWords().contains(word)) return false;
            word.clear();
        }
    }
    return true;
}

bool isAddress(const std::string& text)
{
    std::array<unsigned char, sizeof(in6_addr)> address{};
    return inet_pton(AF_INET, text.c_str(), address.data()) == 1 ||
           inet_pton(AF_INET6, text.c_str(), address.data()) == 1;
}

bool isHostName(const std::string& text)
{
    return !text.empty() && std::ranges::all_of(text, [](char character) {
        return std::isalnum(static_cast<unsigned char>(character)) != 0 || character == '.' || character == '_' ||
               character == '-';
    });
}

// Keys of documents and of the catalog's rows whose values are names.
struct SNamingKey
{
    const char* key;
    ENamed kind;
};
constexpr SNamingKey NAMING_KEYS[] = {{"appliance", ENamed::APPLIANCE},
                                      {"group", ENamed::GROUP},
                                      {"cgroup", ENamed::GROUP},
                                      {"serial", ENamed::SERIAL},
                                      {"import_serial", ENamed::SERIAL},
                                      {"target_serial", ENamed::SERIAL},
                                      {"host", ENamed::HOST},
                                      {"label_key", ENamed::LABEL},
                                      {"label_value", ENamed::LABEL},
                                      {"note", ENamed::NOTE}};

// What stands before names in double quotes, in commands and in messages. Of several, all but the last name copies,
// which are called after what they are copies of or after nothing that is anybody's.
struct SNamingWord
{
    std::string_view word;
    ENamed kind;
    size_t count;
};
constexpr SNamingWord NAMING_WORDS[] = {
    {"host", ENamed::HOST, 1},        {"Host", ENamed::HOST, 1},           {"cgroup", ENamed::GROUP, 1},
    {"timeimages", ENamed::GROUP, 1}, {"group", ENamed::GROUP, 1},         {"timeimage", ENamed::GROUP, 2},
    {"annotation", ENamed::GROUP, 2}, {"appliance", ENamed::APPLIANCE, 1}, {"LUN", ENamed::SERIAL, 1},
};

}  // namespace

void CNames::add(ENamed kind, const std::string& name)
{
    if (kind == ENamed::HOST && !isAddress(name) && name.find('.') != std::string::npos) return addHost(name);
    constexpr size_t SHORTEST = 3;
    const bool isCommon = name.size() < SHORTEST || isMadeOfKnownWords(name);
    if (!name.empty()) (isCommon ? m_passedOver : m_names).emplace(name, isAddress(name) ? ENamed::ADDRESS : kind);
}

// The name within its domain is one by itself, since it is used without the domain, too.
void CNames::addHost(const std::string& name)
{
    const size_t dot = name.find('.');
    add(ENamed::HOST, name.substr(0, dot));
    add(ENamed::DOMAIN, name.substr(dot + 1));
}

// A LUN's own name is the last part of its device path on the appliance.
void CNames::addPath(const std::string& path)
{
    add(ENamed::LUN, path.substr(path.rfind('/') + 1));
}

void CNames::addLabels(const json& labels)
{
    for (const auto& [key, value] : labels.items()) {
        add(ENamed::LABEL, key);
        if (value.is_string()) add(ENamed::LABEL, value);
    }
}

void CNames::addLuns(const json& luns)
{
    for (const json& lun : luns) {
        for (const char* const key : {"serial", "source", "target"}) {
            if (lun.contains(key) && lun[key].is_string()) add(ENamed::SERIAL, lun[key]);
        }
        if (lun.contains("device") && lun["device"].is_string()) addPath(lun["device"]);
    }
}

void CNames::addInspection(const json& inspection)
{
    for (const json& appliance : inspection.at("configuration").at("appliances")) {
        add(ENamed::APPLIANCE, appliance.at("name"));
    }
    const json& host = inspection.at("host");
    if (host.at("name").is_string()) add(ENamed::HOST, host["name"]);
    for (const json& name : host.at("further_names")) {
        add(ENamed::HOST, name);
    }
    for (const json& disk : inspection.at("disks").at("devices")) {
        add(ENamed::SERIAL, disk.at("serial"));
    }
    for (const json& appliance : inspection.at("appliances")) {
        add(ENamed::APPLIANCE, appliance.at("name"));
        for (const json& each : appliance.at("hosts")) {
            add(ENamed::HOST, each.at("name"));
            for (const json& serial : each.value("luns", json()).is_array() ? each["luns"] : json::array()) {
                add(ENamed::SERIAL, serial);
            }
        }
        for (const json& group : appliance.at("groups")) {
            add(ENamed::GROUP, group.at("name"));
            addLuns(group.at("luns"));
            for (const json& image : group.at("images")) {
                addLuns(image.at("luns"));
            }
        }
    }
    if (!inspection.contains("raw") || !inspection["raw"].is_array()) return;
    for (const json& run : inspection["raw"]) {
        if (run.at("command") == "list hosts") addHosts(run.at("output"));
    }
}

void CNames::addHosts(const std::string& listing)
{
    std::istringstream lines(listing);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string name;
        std::string address;
        std::string further;
        words >> name >> address >> further;
        if (!isHostName(name) || !further.empty() || !(address.empty() || isAddress(address))) continue;
        add(ENamed::HOST, name);
        add(ENamed::ADDRESS, address);
    }
}

void CNames::addAll(const json& document)
{
    if (document.is_string()) return addText(document.get_ref<const std::string&>());
    if (document.is_object()) {
        for (const auto& [kind, known] : document.items()) {
            if (kind == LABELS_KEY && known.is_object()) addLabels(known);
            if (!known.is_string()) continue;
            for (const SNamingKey& entry : NAMING_KEYS) {
                if (kind == entry.key) add(entry.kind, known);
            }
        }
    }
    if (!document.is_structured()) return;
    for (const json& part : document) {
        addAll(part);
    }
}

void CNames::addText(const std::string& text)
{
    for (size_t begin = 0; begin < text.size();) {
        const size_t end = std::min(text.find('\n', begin), text.size());
        addLine(std::string_view(text).substr(begin, end - begin));
        begin = end + 1;
    }
}

void CNames::addLine(std::string_view line)
{
    for (const auto& [mark, kind] : {std::pair<std::string_view, ENamed>("Host: ", ENamed::HOST),
                                     {"Consistency Group: ", ENamed::GROUP},
                                     {"server ", ENamed::APPLIANCE}}) {
        if (!line.starts_with(mark)) continue;
        const std::string name(line.substr(mark.size()));
        add(kind, kind == ENamed::APPLIANCE ? name.substr(0, name.find_first_of(" ;")) : name);
    }
    const size_t luns = line.find(" luns=");
    if (luns != std::string_view::npos) add(ENamed::GROUP, std::string(line.substr(0, luns)));
    // A LUN in a listing: "/dev/lumora/data [SERIAL] 4KiB", or a disk: "/dev/sdb (VENDOR) (TYPE) (SIZE) (SERIAL) ...".
    const size_t bracket = line.find(" [");
    if (line.starts_with('/') && bracket != std::string_view::npos) {
        addPath(std::string(line.substr(0, bracket)));
        add(ENamed::SERIAL, std::string(line.substr(bracket + 2, line.find(']', bracket) - bracket - 2)));
    }
    if (line.starts_with('/') && std::ranges::count(line, '(') == 4) {
        const size_t last = line.rfind('(');
        add(ENamed::SERIAL, std::string(line.substr(last + 1, line.find(')', last) - last - 1)));
    }
    if (line.find('"') != std::string_view::npos) addQuoted(line);
}

void CNames::addQuoted(std::string_view line)
{
    for (const SNamingWord& entry : NAMING_WORDS) {
        const std::string before = std::string(entry.word) + " \"";
        for (size_t at = line.find(before); at != std::string_view::npos; at = line.find(before, at + 1)) {
            if (at > 0 && isWordByte(line[at - 1])) continue;
            size_t begin = at + before.size();
            size_t end = line.find('"', begin);
            for (size_t number = 1; number < entry.count && end != std::string_view::npos; ++number) {
                begin = line.find('"', end + 1);
                end = begin == std::string_view::npos ? begin : line.find('"', ++begin);
            }
            if (end != std::string_view::npos) add(entry.kind, std::string(line.substr(begin, end - begin)));
        }
    }
}

}  // namespace fictl
