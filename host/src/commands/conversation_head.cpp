#include "host/src/commands/conversation_head.h"

#include <unistd.h>

#include <nlohmann/json.hpp>

#include "base/file_read.h"
#include "framework/include/obzx_runtime.h"
#include "host/src/catalog/catalog_reader.h"
#include "host/src/output/error.h"
#include "host/src/output/secrets.h"
#include "host/src/process/host_name.h"
#include "host/src/process/placed_path.h"
#include "host/src/provider/naming.h"
#include "host/src/provider/provider_library.h"
#include "host/src/recording/recording.h"
#include "host/src/text/utc_text.h"

namespace fictl {

namespace {

using nlohmann::json;

std::string configurationOf(const std::string& provider)
{
    constexpr size_t LONGEST = size_t{64} * 1024;
    return base::readFile(placedPath("/etc/qz/" + provider + ".conf"), LONGEST).text;
}

// As the provider is told, else as the system has it.
std::string hostName(const std::string& provider)
{
    if (char* const name = obzx_get_setting(provider.c_str(), "FI_NETWORK", "LOCAL_NAME")) {
        std::string text = name;
        obzx_free_buf(name, 0);
        return text;
    }
    return systemHostName();
}

// Whatever columns the catalog's layout has.
json rowsOf(const base::CSqliteDatabase& database, const char* table)
{
    base::CSqliteQuery names(database,
                             "SELECT group_concat(quote(name) || ', ' || name, ', ') FROM pragma_table_info(?)", table);
    json rows = json::array();
    if (!names.next()) return rows;
    const std::string query = "SELECT json_object(" + names.text(0) + ") FROM " + table;
    for (base::CSqliteQuery row(database, query.c_str()); row.next();) {
        rows.push_back(json::parse(row.text(0), nullptr, false));
    }
    return rows;
}

// Adds the thaw commands that stand in it to the secrets.
json catalogRows(std::vector<std::string>& secrets)
{
    try {
        json rows;
        CCatalogReader catalog;
        if (!catalog.isThere()) return json::object();
        catalog.read([&](const base::CSqliteDatabase& database) {
            rows.clear();
            for (const char* const table : {"snapshot", "device", "checkpoint_time", "label"}) {
                rows[table] = rowsOf(database, table);
            }
            for (json& row : rows["snapshot"]) {
                if (row.value("thaw", std::string()).empty()) continue;
                secrets.push_back(row["thaw"]);
                row["thaw"] = HARMLESS_COMMAND;
            }
        });
        return rows;
    } catch (const EFictl&) {
        return nullptr;
    }
}

}  // namespace

SConversationBegin beginConversation(json words, const std::string& providerText, std::vector<std::string> secrets)
{
    const std::string provider = CProviderLibrary::nameOf(providerText.empty() ? "cdpfi" : providerText);
    json rows = catalogRows(secrets);
    CSecrets(secrets, HARMLESS_COMMAND).hide(rows);  // a message may repeat one
    json head = {{"fictl", FICTL_VERSION},
                 {"started", utcSecondsText(std::chrono::system_clock::now())},
                 {"arguments", std::move(words)},
                 {"process", getpid()},
                 {"checkpoint", naming::checkpointOfProcess(getpid())},
                 {"provider", provider},
                 {"configuration", conversationText(configurationOf(provider))},
                 {"root", placedPath("/")},
                 {"host", conversationText(hostName(provider))},
                 {"catalog", std::move(rows)}};
    return {std::move(head), std::move(secrets)};
}

json recordedWords(int argc, char** argv, const SCommandLine& line)
{
    json words = json::array();
    for (const std::string& word : harmlessWords(argc, argv, line.secrets)) {
        words.push_back(conversationText(word));
    }
    return words;
}

}  // namespace fictl
