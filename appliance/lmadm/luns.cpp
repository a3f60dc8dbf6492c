#include <fcntl.h>
#include <sys/stat.h>

#include <array>
#include <nlohmann/json.hpp>
#include <optional>

#include "appliance/core/conventions/error.h"
#include "appliance/core/conventions/names.h"
#include "appliance/core/conventions/tool.h"
#include "appliance/core/files/file_io.h"
#include "appliance/lmadm/commands.h"
#include "appliance/lmadm/session.h"

namespace lumora {

namespace {

uint64_t parsePosition(const std::string& text)
{
    return text == "0" ? 0 : parseSize(text);
}

// Opens a regular file to read from. A pipe would keep the gate closed for as long as its writer likes.
base::CFileDescriptor openInput(const std::string& path, uint64_t& size)
{
    base::CFileDescriptor file = openFile(path, O_RDONLY | O_NONBLOCK);
    struct stat info = {};
    if (::fstat(file.get(), &info) != 0 || !S_ISREG(info.st_mode)) {
        throw EApplianceError(EStatus::MALFORMED, "input " + inQuotes(path) + " is not a regular file");
    }
    size = static_cast<uint64_t>(info.st_size);
    return file;
}

uint64_t writePattern(CSession& session, const SLun& lun, uint64_t offset, std::optional<uint64_t> length,
                      const std::string& pattern)
{
    // A whole number of patterns, so that one block follows another without a seam.
    std::string block;
    while (block.size() < (size_t{1} << 18U)) {
        block += pattern;
    }
    const uint64_t rest = lun.size - std::min(offset, lun.size);
    return session.lunData().write(lun, offset, length.value_or(rest),
                                   [&block](uint64_t /*wanted*/) { return std::string_view(block); });
}

uint64_t writeFile(CSession& session, const SLun& lun, uint64_t offset, std::optional<uint64_t> length,
                   const std::string& path)
{
    uint64_t size = 0;
    const base::CFileDescriptor file = openInput(path, size);
    std::vector<char> buffer(size_t{1} << 18U);
    uint64_t position = 0;
    return session.lunData().write(lun, offset, std::min(length.value_or(size), size), [&](uint64_t wanted) {
        const size_t count = std::min<uint64_t>(wanted, buffer.size());
        const size_t done = readAt(file.get(), buffer.data(), count, position, path);
        position += done;
        return std::string_view(buffer.data(), done);
    });
}

void readRange(CSession& session, const SRange& given, const std::function<void(std::string_view)>& sink)
{
    const SAppliance appliance = session.appliance();
    const SLun lun = session.inventory().lun(appliance, given.lun);
    const uint64_t offset = parsePosition(given.offset);
    const uint64_t rest = lun.size - std::min(offset, lun.size);
    session.lunData().read(lun, offset, given.length.empty() ? rest : parsePosition(given.length), sink);
}

void setPresented(const SOptions& options, const SPresentation& given, bool present)
{
    CSession session(options);
    const SAppliance appliance = session.appliance();
    if (present) {
        session.inventory().present(appliance, given.lun, given.host);
    } else {
        session.inventory().unpresent(appliance, given.lun, given.host);
    }
    session.print({{"lun", given.lun}, {"host", given.host}, {"presented", present}});
}

// 64-bit FNV-1a: tells contents apart, and is no protection against somebody who wants two to look alike.
std::string checksum(CSession& session, const SRange& given)
{
    uint64_t sum = 0xcbf29ce484222325U;
    readRange(session, given, [&sum](std::string_view bytes) {
        for (const char byte : bytes) {
            sum = (sum ^ static_cast<unsigned char>(byte)) * 0x100000001b3U;
        }
    });
    std::array<char, 17> text = {};
    std::snprintf(text.data(), text.size(), "%016llx", static_cast<unsigned long long>(sum));
    return text.data();
}

}  // namespace

void createLun(const SOptions& options, const SNewLun& given)
{
    CSession session(options);
    const SAppliance appliance = session.appliance();
    const auto size = given.size.empty() ? std::nullopt : std::make_optional(parseSize(given.size));
    const auto file = given.file.empty() ? std::nullopt : std::make_optional<std::filesystem::path>(given.file);
    session.print(session.describe(appliance, session.lunData().create(given.group, given.name, size, file)));
}

void listLuns(const SOptions& options)
{
    CSession session(options);
    const SAppliance appliance = session.appliance();
    Json list = Json::array();
    for (const SLun& lun : session.inventory().luns(appliance)) {
        list.push_back(session.describe(appliance, lun));
    }
    session.printList("luns", list);
}

void deleteLun(const SOptions& options, const std::string& name)
{
    CSession session(options);
    session.lunData().remove(name);
    session.print({{"deleted", name}});
}

void presentLun(const SOptions& options, const SPresentation& presentation)
{
    setPresented(options, presentation, true);
}

void unpresentLun(const SOptions& options, const SPresentation& presentation)
{
    setPresented(options, presentation, false);
}

void writeLun(const SOptions& options, const SWrite& given)
{
    if (given.pattern.empty() == given.input.empty()) {
        throw EApplianceError(EStatus::MALFORMED, "write needs either --pattern TEXT or --input FILE");
    }
    CSession session(options);
    const SAppliance appliance = session.appliance();
    const SLun lun = session.inventory().lun(appliance, given.lun);
    const uint64_t offset = parsePosition(given.offset);
    const auto length = given.length.empty() ? std::nullopt : std::make_optional(parsePosition(given.length));
    const uint64_t done = given.input.empty() ? writePattern(session, lun, offset, length, given.pattern)
                                              : writeFile(session, lun, offset, length, given.input);
    session.print({{"lun", lun.name}, {"offset", offset}, {"written", done}});
}

void readLun(const SOptions& options, const SRange& range)
{
    CSession session(options);
    readRange(session, range, printBytes);
}

void sumLun(const SOptions& options, const SRange& range)
{
    CSession session(options);
    session.print({{"lun", range.lun}, {"fnv1a64", checksum(session, range)}});
}

}  // namespace lumora
