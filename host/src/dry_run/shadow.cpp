#include "host/src/dry_run/shadow.h"

#include <sys/auxv.h>
#include <unistd.h>

#include "base/file_read.h"
#include "base/file_write.h"
#include "base/process_stat.h"
#include "framework/include/obzx_runtime.h"
#include "host/src/bundle/host_facts.h"
#include "host/src/catalog/catalog_reader.h"
#include "host/src/output/error.h"
#include "host/src/output/new_file.h"
#include "host/src/process/placed_path.h"
#include "host/src/provider/provider_library.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

namespace fs = std::filesystem;
using nlohmann::json;

// Gives a disk the path, or the paths, that it has on this host.
constexpr const char* DISK_UTILITY = R"(#!/bin/sh
answer=$('@TOOL@' "$@")
status=$?
printf '%s\n' "$answer" | awk -v paths='@PATHS@' '
BEGIN { while ((getline line < paths) > 0) { split(line, part, "\t"); to[part[1], ++count[part[1]]] = part[2] } }
{
  if (!($1 in count)) print
  for (i = 1; i <= count[$1]; ++i) print to[$1, i] substr($0, length($1) + 1)
}'
exit "$status"
)";

[[noreturn]] void fail(const std::string& why, const std::string& next = "fictl doctor")
{
    throw EFictl(EExit::FAILED, "no dry run: " + why, next);
}

fs::path programFolder()
{
    char* const setting = obzx_get_setting("fictl", "DRY_RUN", "TOOLS");
    const fs::path configured = setting == nullptr ? "" : setting;
    obzx_free_buf(setting, 0);
    const fs::path folder = configured.empty() ? base::thisProgram().parent_path() : configured;
    for (const char* const program : {"lmadm", "lmsh", "kforutil"}) {
        if (access((folder / program).c_str(), X_OK) == 0) continue;
        fail("it needs the embedded appliance, and there is no program " + printable((folder / program).string()),
             "install the embedded appliance beside fictl, or name its folder with TOOLS= in section [DRY_RUN] of "
             "/etc/qz/fictl.conf");
    }
    return folder;
}

void write(const fs::path& file, const std::string& text)
{
    fs::create_directories(file.parent_path());
    CNewFile out(file, CNewFile::EBusy::REFUSE);
    out.write(text);
    if (!out.keep(true)) failFile("create", file);
}

std::string replaced(std::string text, const std::string& what, const std::string& with)
{
    return text.replace(text.find(what), what.size(), with);
}

}  // namespace

CShadow::CShadow(const SInspection& seen, const std::string& provider) : m_programs(programFolder())
{
    // Then the other fictl would take this host for its own.
    if (getauxval(AT_SECURE) != 0) fail("this program runs with raised rights", "run it as the user who has them");
    fill(seen);
    makeTools(m_filled.at("paths"));
    if (!m_filled.at("host").is_string()) fail("no appliance is known to know this host");
    configure(seen, provider, m_filled["host"]);
    copyCatalog();
}

json CShadow::lmadm(std::vector<std::string> words) const
{
    words.insert(words.begin(), {m_programs / "lmadm", "--store", folder() / "store", "--output", "json"});
    const SProgramEnd end = CProgram(std::move(words)).stoppingOnSignal(true).run();
    json document = json::parse(end.output, nullptr, false);
    if (end.exit == 0 && document.is_object()) return document;
    const bool tells = document.is_object() && document.contains("error");
    fail("the embedded appliance cannot be filled: " +
         (tells ? printable(document["error"].value("message", "")) : "lmadm " + end.reason));
}

void CShadow::fill(const SInspection& seen)
{
    const fs::path file = folder() / "inspection.json";
    write(file, seen.document->dump(-1, ' ', false, json::error_handler_t::replace));
    m_filled = lmadm({"shadow", file});
    for (const json& entry : m_filled.at("unknown")) {
        const json& group = entry.at("group");
        m_notShown.push_back(
            {entry.at("appliance"), group.is_string() ? group.get<std::string>() : "", entry.at("reason")});
    }
}

void CShadow::makeTools(const json& paths) const
{
    std::string lines;
    for (const json& entry : paths) {
        lines += entry.at("shadow").get<std::string>() + "\t" + entry.at("path").get<std::string>() + "\n";
    }
    write(folder() / "paths", lines);
    const std::string script = replaced(DISK_UTILITY, "@TOOL@", m_programs / "kforutil");
    write(tools() / "kforutil", replaced(script, "@PATHS@", folder() / "paths"));
    fs::permissions(tools() / "kforutil", fs::perms::owner_all);
    fs::create_symlink(m_programs / "lmsh", tools() / "lmsh");
    fs::create_directory(folder() / "tmp");
}

// Only the values that are read, in a form that lmadm knows: it puts the shadow's tools in the place of the real ones.
void CShadow::configure(const SInspection& seen, const std::string& provider, const std::string& host) const
{
    const fs::path root = folder() / "root";
    write(root / "etc/qz" / (CProviderLibrary::nameOf(provider) + ".conf"), configurationText(*seen.document));
    constexpr size_t LARGEST = size_t{1024} * 1024;
    const base::SFileText own = base::readFile(placedPath("/etc/qz/fictl.conf"), LARGEST);
    if (own) write(root / "etc/qz/fictl.conf", own.text);
    lmadm({"host", "setup", "--root", root, "--host", host, "--tools", tools()});
}

void CShadow::copyCatalog() const
{
    CCatalogReader catalog;
    if (!catalog.isThere()) return;
    std::string bytes;
    catalog.read([&](const base::CSqliteDatabase& database) { bytes = database.content(); });
    const fs::path file = folder() / "root/var/lib/qz/fictl.db";
    write(file, bytes);
    fs::permissions(file.parent_path(), fs::perms::owner_all);
}

SProgramEnd CShadow::fictl(const std::vector<std::string>& words) const
{
    std::vector<std::string> command = {"/usr/bin/env",
                                        "OBZX_ROOT=" + (folder() / "root").string(),
                                        "TMPDIR=" + (folder() / "tmp").string(),
                                        base::thisProgram(),
                                        "--output",
                                        "json",
                                        "--record",
                                        conversation()};
    command.insert(command.end(), words.begin(), words.end());
    constexpr std::chrono::seconds LONGEST{3600};
    return CProgram(std::move(command)).within(LONGEST).stoppingOnSignal(true).run();
}

}  // namespace fictl
