#include "host/tests/fakefi/appliance.h"

#include <algorithm>
#include <sstream>

namespace {

constexpr int MALFORMED = 2;
constexpr int MISSING = 3;
constexpr int EXISTS = 4;
constexpr int IN_USE = 5;

const std::string CREATED = "2026-01-31T12:00:00Z";

/// A command that was refused.
struct ERefused
{
    int status;
    std::string text;
};

std::string quoted(const std::string& name)
{
    return '"' + name + '"';
}

std::string inGroup(const SGroup& group)
{
    return " in group " + quoted(group.name);
}

[[noreturn]] void refuse(int status, const std::string& text)
{
    throw ERefused{status, text};
}

std::string joined(const std::vector<std::string>& words, size_t from)
{
    std::string text;
    for (size_t i = from; i < words.size(); ++i) {
        text += (i == from ? "" : " ") + words[i];
    }
    return text;
}

std::string describe(const SImage& image)
{
    return image.name + " " + image.created + " annotation=" + quoted(image.annotation) + "\n";
}

}  // namespace

std::vector<std::string> wordsOf(const std::string& line)
{
    std::vector<std::string> words;
    size_t at = line.find_first_not_of(' ');
    while (at != std::string::npos) {
        const bool isQuoted = line[at] == '"';
        const size_t from = isQuoted ? at + 1 : at;
        const size_t to = line.find(isQuoted ? '"' : ' ', from);
        words.push_back(line.substr(from, to - from));
        at = to == std::string::npos ? to : line.find_first_not_of(' ', isQuoted ? to + 1 : to);
    }
    return words;
}

SAnswer CAppliance::run(const std::string& script)
{
    SAnswer answer;
    std::istringstream stream(script);
    Body lines;
    for (std::string line; std::getline(stream, line);) {
        if (Words words = wordsOf(line); !words.empty()) lines.push_back(std::move(words));
    }
    try {
        if (lines.size() < 2 || lines.front().front() != "server" || lines.back() != Words{"exit"}) {
            refuse(MALFORMED, "the script cannot be understood");
        }
        m_server = joined(lines.front(), 1);
        for (size_t i = 1; i + 1 < lines.size(); ++i) {
            const Words& head = lines[i];
            Body body;
            const bool hasBody = head.front() == "create" || head.front() == "update";
            while (hasBody && i + 2 < lines.size() && lines[++i] != Words{"commit"}) {
                body.push_back(lines[i]);
            }
            answer.text += command(head, body);
        }
    } catch (const ERefused& refused) {
        answer.status = refused.status;
        answer.text += refused.text.empty() ? "" : refused.text + "\n";
    }
    return answer;
}

std::string CAppliance::command(const Words& head, const Body& body)
{
    const std::string what = joined({head.begin(), head.begin() + (head.size() < 2 ? 1 : 2)}, 0);
    const SGroup group{m_server, head.size() > 2 ? head.back() : ""};
    const std::string name = head.size() > 2 ? head[2] : "";
    if (what == "list hosts") return carryOut("hosts:" + m_server, [&] { return listHosts(); });
    if (what == "list cgroups") return carryOut("groups:" + m_server, [&] { return listGroups(); });
    if (what == "show cgroup") return carryOut("show-group:" + name, [&] { return showGroup(group); });
    if (what == "create annotation") {
        return carryOut("make:" + group.name, [&] { return createAnnotation(group, name, body); });
    }
    if (what == "delete annotation") {
        return carryOut("delete-annotation:" + group.name, [&] { return deleteAnnotation(group, name); });
    }
    if (what == "create timeimage") {
        return carryOut("image:" + group.name, [&] { return createImage(group, name, body); });
    }
    if (what == "delete timeimage") {
        return carryOut("delete-timeimage:" + group.name, [&] { return deleteImage(group, name); });
    }
    if (what == "list timeimages") return carryOut("list-images:" + group.name, [&] { return listImages(group); });
    if (what == "show timeimage") return carryOut("show-image:" + group.name, [&] { return showImage(group, name); });
    refuse(MALFORMED, "not a command: " + joined(head, 0));
}

std::string CAppliance::carryOut(const std::string& point, const std::function<std::string()>& command) const
{
    const std::string general = point.starts_with("groups:") ? "interpose" : point;
    const SFault fault = m_faults.find({point, general, "appliance:" + m_server});
    m_faults.before(fault);
    if (fault.action == SFault::EAction::FAIL) refuse(fault.status, fault.text);
    if (fault.action == SFault::EAction::LIES) return "done\n";
    const std::vector<std::string> known = m_store.appliances();
    if (std::find(known.begin(), known.end(), m_server) == known.end()) {
        refuse(MISSING, "appliance " + quoted(m_server) + " does not exist");
    }
    std::string text = command();
    m_faults.after(fault);
    if (fault.action == SFault::EAction::LOST) refuse(fault.status, fault.text);
    return text;
}

void CAppliance::requireGroup(const SGroup& group) const
{
    if (m_store.isGroup(group)) return;
    refuse(MISSING, "group " + quoted(group.name) + " does not exist on appliance " + quoted(group.appliance));
}

SImage CAppliance::requireImage(const SGroup& group, const std::string& name) const
{
    SImage image;
    requireGroup(group);
    if (!m_store.findImage(group, name, image)) {
        refuse(MISSING, "time image " + quoted(name) + " does not exist" + inGroup(group));
    }
    return image;
}

std::string CAppliance::listHosts() const
{
    std::string text;
    for (const std::string& host : m_store.hosts(m_server)) {
        text += host + "\n";
    }
    return text;
}

std::string CAppliance::listGroups() const
{
    std::string text;
    for (const std::string& group : m_store.groups(m_server)) {
        text += group + " luns=" + std::to_string(m_store.lunsOf({m_server, group}).size()) + "\n";
    }
    return text;
}

std::string CAppliance::showGroup(const SGroup& group) const
{
    requireGroup(group);
    std::string text = "Consistency Group: " + group.name + "\nProtected LUNS:\n";
    for (const SLun& lun : m_store.lunsOf(group)) {
        text += lun.path + " [" + lun.serial + "]\n";
    }
    text += "Annotations:\n";
    for (const SAnnotation& annotation : m_store.annotations(group)) {
        text += quoted(annotation.name) + " " + annotation.time + " " + quoted(annotation.message) + "\n";
    }
    text += "Time images:\n";
    for (const SImage& image : m_store.images(group)) {
        text += describe(image);
    }
    return text;
}

std::string CAppliance::createAnnotation(const SGroup& group, const std::string& name, const Body& body) const
{
    requireGroup(group);
    const std::string message = body.empty() ? "" : joined(body.front(), 2);
    if (!m_store.create(group, SAnnotation{name, CREATED, message})) {
        refuse(EXISTS, "annotation " + quoted(name) + " exists already" + inGroup(group));
    }
    return "annotation " + quoted(name) + " created\n";
}

std::string CAppliance::deleteAnnotation(const SGroup& group, const std::string& name) const
{
    requireGroup(group);
    for (const SImage& image : m_store.images(group)) {
        if (image.annotation == name) {
            refuse(IN_USE,
                   "annotation " + quoted(name) + " is in use by time image " + quoted(image.name) + inGroup(group));
        }
    }
    if (!m_store.remove(group, name)) {
        refuse(MISSING, "annotation " + quoted(name) + " does not exist" + inGroup(group));
    }
    return "annotation " + quoted(name) + " deleted\n";
}

std::string CAppliance::createImage(const SGroup& group, const std::string& name, const Body& body) const
{
    requireGroup(group);
    SImage image{name, "", CREATED, {}};
    for (const Words& line : body) {
        if (line.size() > 2 && line[0] == "use") image.annotation = line[2];
        if (line.size() > 2 && line[0] == "add") image.permissions.push_back(line[2]);
    }
    if (m_store.has(group, name)) refuse(EXISTS, "time image " + quoted(name) + " exists already" + inGroup(group));
    if (!m_store.has(group, image.annotation)) {
        refuse(MISSING, "annotation " + quoted(image.annotation) + " does not exist" + inGroup(group));
    }
    for (const std::string& host : image.permissions) {
        if (!m_store.isHost(m_server, host)) {
            refuse(MISSING, "host " + quoted(host) + " does not exist on appliance " + quoted(m_server));
        }
    }
    if (!m_store.create(group, image)) {
        refuse(EXISTS, "time image " + quoted(name) + " exists already" + inGroup(group));
    }
    return "time image " + quoted(name) + " created\n";
}

std::string CAppliance::deleteImage(const SGroup& group, const std::string& name) const
{
    requireGroup(group);
    if (!m_store.remove(group, name)) {
        refuse(MISSING, "time image " + quoted(name) + " does not exist" + inGroup(group));
    }
    return "time image " + quoted(name) + " deleted\n";
}

std::string CAppliance::listImages(const SGroup& group) const
{
    requireGroup(group);
    std::string text;
    for (const SImage& image : m_store.images(group)) {
        text += describe(image);
    }
    return text.empty() ? "There are none!\n" : text;
}

std::string CAppliance::showImage(const SGroup& group, const std::string& name) const
{
    const SImage image = requireImage(group, name);
    std::string text = "TimeImage: " + name + "\nConsistency Group: " + group.name +
                       "\nAnnotation: " + image.annotation + "\nPermissions:";
    for (const std::string& host : image.permissions) {
        text += " " + host;
    }
    text += "\nTimeImage LUNs:\n";
    for (const SLun& lun : m_store.lunsOf(group)) {
        text += "T" + lun.serial + " <- " + lun.serial + "\n";
    }
    return text;
}
