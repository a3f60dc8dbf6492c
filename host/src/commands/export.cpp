#include <nlohmann/json.hpp>

#include "host/src/catalog/catalog.h"
#include "host/src/catalog/record_document.h"
#include "host/src/commands/commands.h"
#include "host/src/commands/common.h"
#include "host/src/output/error.h"
#include "host/src/output/new_document.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

struct SExportRequest
{
    std::string name{};
    std::string file{};       ///< empty: standard output, the document is the command's result
    bool mayReplace = false;  ///< a file that is there
};

SResult exportSnapshot(const SExportRequest& request)
{
    const auto& [name, file, mayReplace] = request;
    requireSnapshotName(name);
    if (!file.empty()) requireRoom(file, mayReplace);
    CCatalog catalog;
    SSnapshot snapshot = catalog.get(name);
    const bool isWhole = snapshot.state == EState::COMPLETE || snapshot.state == EState::IMPORTED ||
                         snapshot.state == EState::IMPORT_FAILED || snapshot.state == EState::RELEASE_FAILED;
    if (!isWhole) {
        throw EFictl(EExit::STATE, "snapshot \"" + name + "\" is " + snapshot.shownState() + ": it cannot be exported",
                     "fictl snapshot show " + name);
    }
    const std::string text = writeDocument(snapshot);
    // Before anybody can have the document: from then on another host may work with the copies.
    catalog.markExported(name);
    if (file.empty()) {
        SResult document = resultOf(json::parse(text), text);
        document.isDelivery = true;
        return document;
    }
    writeNewDocument(file, text, mayReplace);
    return resultOf({{"exported", {{"name", name}, {"file", file}}}},
                    "snapshot \"" + name + "\" is written to " + printable(file) + "\n");
}

}  // namespace

CommandRun declareExport(COptions& options)
{
    const auto request = std::make_shared<SExportRequest>();
    options.word("NAME", request->name, COptions::EGiven::MUST_BE, "Name of the snapshot");
    options.newFile("--file", request->file, "File to write (standard output)");
    options.flag("--force", request->mayReplace, "Replace a file that is there");
    return [request](const SContext&) { return exportSnapshot(*request); };
}

}  // namespace fictl
