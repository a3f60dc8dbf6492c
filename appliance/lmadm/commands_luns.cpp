#include <fcntl.h>
#include <sys/stat.h>

#include <array>
#include <memory>
#include <optional>

#include "appliance/core/conventions/error.h"
#include "appliance/core/conventions/names.h"
#include "appliance/core/conventions/tool.h"
#include "appliance/core/files/file_io.h"
#include "appliance/lmadm/commands.h"

namespace lumora {

namespace {

void addLunCreate(CLI::App& parent, const SOptions& options)
{
    CLI::App* const command = parent.add_subcommand("create", "Create a LUN that reads as zeros, or from a file");
    struct SArguments
    {
        std::string name;
        std::string group;
        std::string size;
        std::string file;
    };
    const auto given = std::make_shared<SArguments>();
    command->add_option("name", given->name, "Name of the LUN")->required();
    command->add_option("--group", given->group, "Consistency group that protects the LUN")->required();
    command->add_option("--size", given->size, "Size, such as 64MiB or 1GiB (default: that of the file)");
    command->add_option("--file", given->file, "Existing file whose content is copied into the LUN");
    command->callback([given, &options] {
        CSession session(options);
        const SAppliance appliance = session.appliance();
        const auto size = given->size.empty() ? std::nullopt : std::make_optional(parseSize(given->size));
        const auto file = given->file.empty() ? std::nullopt : std::make_optional<std::filesystem::path>(given->file);
        const SLun made = session.lunData().create(appliance, given->group, given->name, size, file);
        session.print(session.describe(appliance, made));
    });
}

void addPresentation(CLI::App& parent, const SOptions& options, const char* word, const char* description, bool present)
{
    CLI::App* const command = parent.add_subcommand(word, description);
    const auto lun = std::make_shared<std::string>();
    const auto host = std::make_shared<std::string>();
    command->add_option("lun", *lun, "Name of the LUN")->required();
    command->add_option("host", *host, "Name of the host")->required();
    command->callback([lun, host, present, &options] {
        CSession session(options);
        const SAppliance appliance = session.appliance();
        if (present) {
            session.inventory().present(appliance, *lun, *host);
        } else {
            session.inventory().unpresent(appliance, *lun, *host);
        }
        session.print({{"lun", *lun}, {"host", *host}, {"presented", present}});
    });
}

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

struct SWriteArguments
{
    std::string lun;
    std::string offset;
    std::string length;
    std::string pattern;
    std::string input;
};

uint64_t writePattern(CSession& session, const SAppliance& appliance, const SLun& lun, uint64_t offset,
                      std::optional<uint64_t> length, const std::string& pattern)
{
    // A whole number of patterns, so that one block follows another without a seam.
    std::string block;
    while (block.size() < (size_t{1} << 18U)) {
        block += pattern;
    }
    const uint64_t rest = lun.size - std::min(offset, lun.size);
    return session.lunData().write(appliance, lun, offset, length.value_or(rest),
                                   [&block](uint64_t /*wanted*/) { return std::string_view(block); });
}

uint64_t writeFile(CSession& session, const SAppliance& appliance, const SLun& lun, uint64_t offset,
                   std::optional<uint64_t> length, const std::string& path)
{
    uint64_t size = 0;
    const base::CFileDescriptor file = openInput(path, size);
    std::vector<char> buffer(size_t{1} << 18U);
    uint64_t position = 0;
    return session.lunData().write(appliance, lun, offset, std::min(length.value_or(size), size), [&](uint64_t wanted) {
        const size_t count = std::min<uint64_t>(wanted, buffer.size());
        const size_t done = readAt(file.get(), buffer.data(), count, position, path);
        position += done;
        return std::string_view(buffer.data(), done);
    });
}

void write(const SOptions& options, const SWriteArguments& given)
{
    if (given.pattern.empty() == given.input.empty()) {
        throw EApplianceError(EStatus::MALFORMED, "write needs either --pattern TEXT or --input FILE");
    }
    CSession session(options);
    const SAppliance appliance = session.appliance();
    const SLun lun = session.inventory().lun(appliance, given.lun);
    const uint64_t offset = parsePosition(given.offset);
    const auto length = given.length.empty() ? std::nullopt : std::make_optional(parsePosition(given.length));
    const uint64_t done = given.input.empty() ? writePattern(session, appliance, lun, offset, length, given.pattern)
                                              : writeFile(session, appliance, lun, offset, length, given.input);
    session.print({{"lun", lun.name}, {"offset", offset}, {"written", done}});
}

struct SReadArguments
{
    std::string lun;
    std::string offset = "0";
    std::string length;
};

std::shared_ptr<SReadArguments> addRange(CLI::App& command)
{
    auto given = std::make_shared<SReadArguments>();
    command.add_option("lun", given->lun, "Name of the LUN")->required();
    command.add_option("--offset", given->offset, "First byte (default: 0)");
    command.add_option("--length", given->length, "Number of bytes (default: up to the end)");
    return given;
}

void readRange(CSession& session, const SReadArguments& given, const std::function<void(std::string_view)>& sink)
{
    const SAppliance appliance = session.appliance();
    const SLun lun = session.inventory().lun(appliance, given.lun);
    const uint64_t offset = parsePosition(given.offset);
    const uint64_t rest = lun.size - std::min(offset, lun.size);
    session.lunData().read(appliance, lun, offset, given.length.empty() ? rest : parsePosition(given.length), sink);
}

// 64-bit FNV-1a: tells contents apart, and is no protection against somebody who wants two to look alike.
std::string checksum(CSession& session, const SReadArguments& given)
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

void addLunCommands(CLI::App& app, const SOptions& options)
{
    CLI::App& parent = *app.add_subcommand("lun", "Create, list, delete and present LUNs")->require_subcommand(1);
    addLunCreate(parent, options);
    parent.add_subcommand("list", "List the LUNs with serials and device paths")->callback([&options] {
        CSession session(options);
        const SAppliance appliance = session.appliance();
        Json list = Json::array();
        for (const SLun& lun : session.inventory().luns(appliance)) {
            list.push_back(session.describe(appliance, lun));
        }
        session.printList("luns", list);
    });
    CLI::App* const remove = parent.add_subcommand("delete", "Delete a LUN and its data");
    const auto name = std::make_shared<std::string>();
    remove->add_option("name", *name, "Name of the LUN")->required();
    remove->callback([name, &options] {
        CSession session(options);
        session.lunData().remove(session.appliance(), *name);
        session.print({{"deleted", *name}});
    });
    addPresentation(parent, options, "present", "Show a LUN to a host as a disk", true);
    addPresentation(parent, options, "unpresent", "Take a LUN away from a host", false);
}

void addDataCommands(CLI::App& app, const SOptions& options)
{
    CLI::App* const writer = app.add_subcommand("write", "Write to a LUN through the gate of its group");
    const auto given = std::make_shared<SWriteArguments>();
    writer->add_option("lun", given->lun, "Name of the LUN")->required();
    writer->add_option("--offset", given->offset, "First byte")->required();
    writer->add_option("--length", given->length,
                       "Number of bytes (default: to the end of the LUN, or all of the input)");
    writer->add_option("--pattern", given->pattern, "Text to repeat");
    writer->add_option("--input", given->input, "Regular file to take the bytes from");
    writer->callback([given, &options] { write(options, *given); });

    CLI::App* const reader = app.add_subcommand("read", "Print bytes of a LUN as they are");
    const auto range = addRange(*reader);
    reader->callback([range, &options] {
        CSession session(options);
        readRange(session, *range, printBytes);
    });

    CLI::App* const summer = app.add_subcommand("checksum", "Print a 64-bit FNV-1a checksum of bytes of a LUN");
    const auto summed = addRange(*summer);
    summer->callback([summed, &options] {
        CSession session(options);
        session.print({{"lun", summed->lun}, {"fnv1a64", checksum(session, *summed)}});
    });
}

}  // namespace lumora
