#include "host/tests/fakefi/store.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <utility>

namespace fs = std::filesystem;

namespace {

using Facts = std::vector<std::pair<std::string, std::string>>;

const std::string ANNOTATION_PREFIX = "KSV_Check_Point_";
const std::string IMAGE_PREFIX = "KSV_Time_Image_";

// A name may hold a slash, a file's name may not.
std::string fileNameOf(std::string text)
{
    std::replace(text.begin(), text.end(), '/', '_');
    return text;
}

Facts factsOf(const std::string& path)
{
    std::ifstream file(path);
    Facts facts;
    for (std::string line; std::getline(file, line);) {
        const size_t blank = line.find(' ');
        if (blank != std::string::npos) facts.emplace_back(line.substr(0, blank), line.substr(blank + 1));
    }
    return facts;
}

// The file is there with its whole text or not at all.
bool createFile(const std::string& path, const Facts& facts)
{
    // Not among the objects: a tool that is killed leaves it behind.
    const fs::path part = fs::path(path).parent_path().parent_path() / ("part." + std::to_string(getpid()));
    {
        std::ofstream file(part);
        for (const auto& [key, value] : facts) {
            file << key << ' ' << value << '\n';
        }
    }
    const bool isNew = link(part.c_str(), path.c_str()) == 0;
    unlink(part.c_str());
    return isNew;
}

void addOnce(std::vector<std::string>& names, const std::string& name)
{
    if (std::find(names.begin(), names.end(), name) == names.end()) names.push_back(name);
}

}  // namespace

std::string firstLineOf(const std::string& path)
{
    std::ifstream file(path);
    std::string line;
    std::getline(file, line);
    return line;
}

std::vector<std::string> fieldsOf(const std::string& line)
{
    std::vector<std::string> fields;
    if (line.find('\t') == std::string::npos) {
        std::istringstream words(line);
        for (std::string word; words >> word;) {
            fields.push_back(word);
        }
        return fields;
    }
    std::istringstream parts(line);
    for (std::string part; std::getline(parts, part, '\t');) {
        fields.push_back(part);
    }
    return fields;
}

bool SImage::isGrantedTo(const std::string& host) const
{
    return std::find(permissions.begin(), permissions.end(), host) != permissions.end();
}

CStore::CStore()
{
    const char* const root = std::getenv("OBZX_ROOT");  // NOLINT(concurrency-mt-unsafe)
    m_root = root == nullptr ? "/nonexistent" : root;
    m_folder = m_root + "/fake/";
}

std::string CStore::hostName() const
{
    const std::string name = firstLineOf(m_root + "/host");
    return name.empty() ? "here" : name;
}

std::string CStore::toolPath(const std::string& otherwise) const
{
    const std::string path = firstLineOf(m_folder + "tool");
    return path.empty() ? otherwise : path;
}

unsigned long CStore::limitSeconds() const
{
    constexpr unsigned long LONG = 600;
    const std::string seconds = firstLineOf(m_folder + "limit");
    return seconds.empty() ? LONG : std::stoul(seconds);
}

unsigned CStore::parallel() const
{
    const std::string count = firstLineOf(m_folder + "parallel");
    return count.empty() ? 0 : static_cast<unsigned>(std::stoul(count));
}

std::vector<std::vector<std::string>> CStore::table(const std::string& name) const
{
    std::ifstream file(m_folder + name);
    std::vector<std::vector<std::string>> rows;
    for (std::string line; std::getline(file, line);) {
        std::vector<std::string> fields = fieldsOf(line);
        if (!fields.empty()) rows.push_back(std::move(fields));
    }
    return rows;
}

std::vector<SLun> CStore::luns() const
{
    std::vector<SLun> all;
    for (const std::vector<std::string>& row : table("devices")) {
        if (row.size() == 4) all.push_back({row[0], row[1], row[2], row[3]});
    }
    return all;
}

std::vector<std::string> CStore::appliances() const
{
    std::vector<std::string> names;
    for (const SLun& lun : luns()) {
        addOnce(names, lun.appliance);
    }
    for (const std::vector<std::string>& row : table("groups")) {
        addOnce(names, row[0]);
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::vector<std::string> CStore::groups(const std::string& appliance) const
{
    std::vector<std::string> names;
    for (const SLun& lun : luns()) {
        if (lun.appliance == appliance) addOnce(names, lun.group);
    }
    for (const std::vector<std::string>& row : table("groups")) {
        if (row.size() == 2 && row[0] == appliance) addOnce(names, row[1]);
    }
    return names;
}

std::vector<std::string> CStore::hosts(const std::string& appliance) const
{
    std::vector<std::string> names;
    if (!fs::exists(m_folder + "hosts")) return {hostName()};
    for (const std::vector<std::string>& row : table("hosts")) {
        if (row.size() == 2 && row[0] == appliance) names.push_back(row[1]);
    }
    return names;
}

bool CStore::isGroup(const SGroup& group) const
{
    const std::vector<std::string> names = groups(group.appliance);
    return std::find(names.begin(), names.end(), group.name) != names.end();
}

bool CStore::isHost(const std::string& appliance, const std::string& host) const
{
    const std::vector<std::string> names = hosts(appliance);
    return !fs::exists(m_folder + "hosts") || std::find(names.begin(), names.end(), host) != names.end();
}

bool CStore::find(const std::string& pathOrSerial, SLun& found) const
{
    for (const SLun& lun : luns()) {
        if (lun.path != pathOrSerial && lun.serial != pathOrSerial) continue;
        found = lun;
        return true;
    }
    return false;
}

std::vector<SLun> CStore::lunsOf(const SGroup& group) const
{
    std::vector<SLun> all;
    for (const SLun& lun : luns()) {
        if (lun.appliance == group.appliance && lun.group == group.name) all.push_back(lun);
    }
    return all;
}

void CStore::logCall(const std::string& line) const
{
    std::ofstream(m_folder + "calls", std::ios::app) << line << '\n';
}

std::string CStore::objectPath(const SGroup& group, const std::string& object) const
{
    return m_folder + "objects/" + fileNameOf(group.appliance + "." + group.name + "." + object);
}

bool CStore::has(const SGroup& group, const std::string& object) const
{
    return fs::exists(objectPath(group, object));
}

std::vector<std::string> CStore::objects(const SGroup& group, const std::string& prefix) const
{
    const std::string head = fileNameOf(group.appliance + "." + group.name + ".");
    std::vector<std::string> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(m_folder + "objects")) {
        const std::string file = entry.path().filename();
        if (file.starts_with(head + prefix) && !file.ends_with(".part")) names.push_back(file.substr(head.size()));
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::vector<SAnnotation> CStore::annotations(const SGroup& group) const
{
    std::vector<SAnnotation> all;
    for (const std::string& name : objects(group, ANNOTATION_PREFIX)) {
        SAnnotation annotation{name, "", ""};
        for (const auto& [key, value] : factsOf(objectPath(group, name))) {
            if (key == "time") annotation.time = value;
            if (key == "message") annotation.message = value;
        }
        all.push_back(std::move(annotation));
    }
    return all;
}

std::vector<SImage> CStore::images(const SGroup& group) const
{
    std::vector<SImage> all;
    for (const std::string& name : objects(group, IMAGE_PREFIX)) {
        SImage image{name, ANNOTATION_PREFIX + name.substr(IMAGE_PREFIX.size()), "", {}};
        for (const auto& [key, value] : factsOf(objectPath(group, name))) {
            if (key == "annotation") image.annotation = value;
            if (key == "created") image.created = value;
            if (key == "permission") image.permissions.push_back(value);
        }
        all.push_back(std::move(image));
    }
    return all;
}

bool CStore::findImage(const SGroup& group, const std::string& name, SImage& found) const
{
    for (const SImage& image : images(group)) {
        if (image.name != name) continue;
        found = image;
        return true;
    }
    return false;
}

bool CStore::create(const SGroup& group, const SAnnotation& annotation) const
{
    return createFile(objectPath(group, annotation.name), {{"time", annotation.time}, {"message", annotation.message}});
}

bool CStore::create(const SGroup& group, const SImage& image) const
{
    Facts facts = {{"annotation", image.annotation}, {"created", image.created}};
    for (const std::string& host : image.permissions) {
        facts.emplace_back("permission", host);
    }
    return createFile(objectPath(group, image.name), facts);
}

bool CStore::remove(const SGroup& group, const std::string& object) const
{
    for (const fs::directory_entry& entry : fs::directory_iterator(m_folder + "copies")) {
        std::error_code ignored;
        if (firstLineOf(entry.path()) == objectPath(group, object)) fs::remove(entry.path(), ignored);
    }
    return fs::remove(objectPath(group, object));
}

std::string CStore::copyPath(const SGroup& group, const std::string& image, const std::string& serial) const
{
    const std::string host = hostName();
    std::string path = m_folder + "copies/" + (host == "here" ? "" : host + ".") + fileNameOf(serial);
    // A second image of the LUN shows beside the first one.
    const std::string holder = firstLineOf(path);
    if (!holder.empty() && holder != objectPath(group, image)) path += "." + image;
    return path;
}

std::string CStore::createCopy(const SGroup& group, const std::string& image, const std::string& serial) const
{
    std::string path = copyPath(group, image, serial);
    std::ofstream(path) << objectPath(group, image) << '\n';
    return path;
}
