#include "appliance/core/engines/daemon/nbd_attachment.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <nlohmann/json.hpp>
#include <system_error>
#include <thread>

#include "appliance/core/conventions/error.h"
#include "appliance/core/engines/daemon/programs.h"
#include "appliance/core/files/file_io.h"
#include "base/file_read.h"
#include "base/process_stat.h"

namespace lumora {
namespace fs = std::filesystem;
namespace {

using Json = nlohmann::json;

constexpr const char* DRIVER = "nbd";
constexpr std::chrono::milliseconds LOOK_AGAIN{2};
constexpr size_t LONGEST = size_t{1} << 16U;

// All devices of the driver, the lowest number first.
std::vector<std::string> devicesOf(const SHostKernel& kernel)
{
    std::vector<std::string> names;
    std::error_code error;
    for (fs::directory_iterator entry(kernel.sys / "block", error), end; !error && entry != end;
         entry.increment(error)) {
        const std::string name = entry->path().filename().string();
        if (isDeviceOf(DRIVER, name)) names.push_back(name);
    }
    std::sort(names.begin(), names.end(),
              [](const auto& a, const auto& b) { return std::pair(a.size(), a) < std::pair(b.size(), b); });
    return names;
}

[[noreturn]] void giveUp(const fs::path& path, const std::string& why)
{
    throw EApplianceError(EStatus::STORAGE, "cannot attach " + path.string() + ": " + why);
}

}  // namespace

CNbdAttachment::CNbdAttachment(SExportPlace place, SHostKernel kernel, std::chrono::milliseconds patience)
    : m_place(std::move(place)),
      m_kernel(std::move(kernel)),
      m_patience(patience),
      m_notes(m_place.folder / "nbd-devices")
{
}

bool CNbdAttachment::isThere(const SHostKernel& kernel)
{
    const std::vector<std::string> devices = devicesOf(kernel);
    std::error_code error;
    return !devices.empty() && fs::exists(kernel.dev / devices.front(), error);
}

std::vector<std::string> CNbdAttachment::programs() const
{
    return {"nbd-client"};
}

bool CNbdAttachment::isAttached(const SHostDevice& device) const
{
    const std::string linked = linkedDevice(m_kernel, device.path, DRIVER);
    if (linked.empty()) return false;
    const std::optional<SNote> note = readNote(linked);
    return note && note->shown.path == device.path && note->shown.name == device.name &&
           note->shown.size == device.size && holds(*note);
}

void CNbdAttachment::attachAll(const std::vector<SHostDevice>& devices) const
{
    if (devices.empty()) return;
    checkPrograms("ATTACH=nbd", programs());
    for (const SHostDevice& device : devices) {
        attach(device);
    }
}

// The note is there before the device is connected, so that none stays connected that nobody takes back.
void CNbdAttachment::attach(const SHostDevice& device) const
{
    if (comesBack(device)) return;
    detach(device.path);
    const Clock::time_point end = Clock::now() + m_patience;
    const std::string connected = connect(device, end);
    write(waitFor(connected, device, end));
    linkDevice(m_kernel, connected, device.path, m_place.folder);
}

// A device that somebody takes between the look and the try makes the try fail: the next one is tried.
std::string CNbdAttachment::connect(const SHostDevice& device, Clock::time_point end) const
{
    const std::vector<std::string> all = devicesOf(m_kernel);
    if (all.empty()) giveUp(device.path, "the kernel has no nbd devices; load its module nbd");
    std::string failure = "each of the " + std::to_string(all.size()) + " nbd devices is taken";
    for (const std::string& name : all) {
        if (!pidOf(name).empty() || isAwaited(name)) continue;
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now());
        if (left.count() <= 0) break;
        const SNote intent{name, device, "", base::bootId()};
        write(intent);
        try {
            // Only without netlink does the client stay and connect again when the daemon was away.
            runProgram({"nbd-client", "-u", m_place.socket.string(), "-N", device.name, "-persist", "-nonetlink",
                        (m_kernel.dev / name).string()},
                       m_place.log, left);
            return name;
        } catch (const EApplianceError& error) {
            failure = error.what();
            tidyUp([&] { takeBack(intent); });
        }
    }
    giveUp(device.path, failure);
}

// Its client connects it again when the daemon is there.
bool CNbdAttachment::isAwaited(const std::string& device) const
{
    const std::optional<SNote> note = readNote(device);
    return note && clientOf(*note);
}

CNbdAttachment::SNote CNbdAttachment::waitFor(const std::string& device, const SHostDevice& shown,
                                              Clock::time_point end) const
{
    for (;;) {
        const std::string pid = pidOf(device);
        if (!pid.empty() && blockDeviceSize(m_kernel, device) == shown.size) {
            return {device, shown, pid, base::bootId()};
        }
        if (Clock::now() >= end) break;
        std::this_thread::sleep_for(LOOK_AGAIN);
    }
    tidyUp([&] {
        disconnect(device);
        removeNote(device);
    });
    giveUp(shown.path, (m_kernel.dev / device).string() + " does not show its size in time");
}

// While the daemon is away a device is nobody's in the eyes of the kernel, but its client is about to connect again.
bool CNbdAttachment::comesBack(const SHostDevice& device) const
{
    const Clock::time_point end = Clock::now() + m_patience;
    const std::optional<SNote> note = readNote(linkedDevice(m_kernel, device.path, DRIVER));
    while (note && !isAttached(device) && clientOf(*note) && Clock::now() < end) {
        std::this_thread::sleep_for(LOOK_AGAIN);
    }
    return isAttached(device);
}

void CNbdAttachment::detach(const fs::path& path) const
{
    for (const SNote& note : notes()) {
        if (note.shown.path == path) takeBack(note);
    }
    unlinkDevice(m_kernel, path, DRIVER);
}

void CNbdAttachment::takeBack(const SNote& written) const
{
    const SNote note = withClient(written);
    if (holds(note)) {
        disconnect(note.device);
    } else if (const std::optional<pid_t> client = clientOf(note)) {
        ::kill(*client, SIGTERM);  // or it would connect again
    }
    removeNote(note.device);
}

// Somebody was killed before the kernel named the client: then it is whoever connects this export to the device.
CNbdAttachment::SNote CNbdAttachment::withClient(SNote note) const
{
    if (!note.pid.empty()) return note;
    note.pid = pidOf(note.device);
    if (!clientOf(note)) note.pid.clear();
    return note;
}

void CNbdAttachment::removeNote(const std::string& device) const
{
    const fs::path file = noteOf(device);
    if (::unlink(file.c_str()) != 0 && errno != ENOENT) throwStorage("remove", file.string(), errno);
}

void CNbdAttachment::disconnect(const std::string& device) const
{
    runProgram({"nbd-client", "-d", (m_kernel.dev / device).string()}, m_place.log, m_patience);
}

std::string CNbdAttachment::pidOf(const std::string& device) const
{
    return kernelLine(m_kernel.sys / "block" / device / "pid");
}

bool CNbdAttachment::holds(const SNote& note) const
{
    return !note.pid.empty() && !note.boot.empty() && note.boot == base::bootId() && pidOf(note.device) == note.pid &&
           blockDeviceSize(m_kernel, note.device) == note.shown.size;
}

// The process of the note, if it is still what connects this export, and not a later process of that number.
std::optional<pid_t> CNbdAttachment::clientOf(const SNote& note) const
{
    pid_t pid = 0;
    const auto [rest, error] = std::from_chars(note.pid.data(), note.pid.data() + note.pid.size(), pid);
    if (error != std::errc() || pid <= 0 || note.boot.empty() || note.boot != base::bootId()) return std::nullopt;
    const std::string words = base::readFile("/proc/" + std::to_string(pid) + "/cmdline", LONGEST).text;
    const auto zero = std::string(1, '\0');
    const std::string meant =
        zero + "-u" + zero + m_place.socket.string() + zero + "-N" + zero + note.shown.name + zero;
    return words.find(meant) == std::string::npos ? std::nullopt : std::optional(pid);
}

std::optional<CNbdAttachment::SNote> CNbdAttachment::readNote(const std::string& device) const
{
    const base::SFileText read = base::readFile(noteOf(device).string(), LONGEST);
    if (!read) return std::nullopt;
    const Json json = Json::parse(read.text, nullptr, false);
    if (!json.is_object()) return std::nullopt;
    try {
        return SNote{device,
                     {json.at("path").get<std::string>(), json.at("export"), json.at("size")},
                     json.at("pid"),
                     json.at("boot")};
    } catch (const Json::exception&) {
        return std::nullopt;  // of another program
    }
}

std::vector<fs::path> CNbdAttachment::writtenDown() const
{
    std::vector<fs::path> paths;
    for (const SNote& note : notes()) {
        paths.push_back(note.shown.path);
    }
    return paths;
}

std::vector<CNbdAttachment::SNote> CNbdAttachment::notes() const
{
    std::vector<SNote> all;
    std::error_code error;
    for (fs::directory_iterator entry(m_notes, error), end; !error && entry != end; entry.increment(error)) {
        const std::optional<SNote> note = readNote(entry->path().filename().string());
        if (note) all.push_back(*note);
    }
    return all;
}

void CNbdAttachment::write(const SNote& note) const
{
    const Json json = {{"path", note.shown.path.string()},
                       {"export", note.shown.name},
                       {"size", note.shown.size},
                       {"pid", note.pid},
                       {"boot", note.boot}};
    replaceFile(noteOf(note.device), json.dump() + "\n", 0600);
}

}  // namespace lumora
