#include "host/src/catalog/catalog.h"
#include "host/src/catalog/catalog_failure.h"
#include "host/src/catalog/record_json.h"
#include "host/src/commands/commands.h"
#include "host/src/commands/common.h"
#include "host/src/output/error.h"

namespace fictl {

namespace {

struct SLabelOptions
{
    std::string name{};
    std::vector<std::string> labels{};
    std::vector<std::string> removed{};
    std::optional<std::string> note{};
};

SAnnotationChange changeOf(const SLabelOptions& options)
{
    SAnnotationChange change{.set = parseLabels(options.labels), .note = options.note};
    for (const std::string& key : options.removed) {
        requireLabelKey(key);
        if (change.set.contains(key)) {
            throw EFictl(EExit::USAGE, "label \"" + key + "\" is to be set and removed", "give one of them");
        }
        change.removed.insert(key);
    }
    if (change.note) requireNote(*change.note);
    if (!change.isEmpty()) return change;
    throw EFictl(EExit::USAGE, "nothing is to be changed", "give KEY=VALUE, --remove KEY or --note TEXT");
}

SResult changeLabels(const SLabelOptions& options)
{
    requireSnapshotName(options.name);
    const SAnnotationChange change = changeOf(options);
    CCatalog catalog;
    const SSnapshot snapshot = catalog.annotate(options.name, change);
    const std::string labels = labelsText(snapshot.labels);
    return snapshotResult(snapshot, quotedSnapshot(snapshot.name) + " is labelled: " + (labels.empty() ? "-" : labels) +
                                        (snapshot.note.empty() ? "" : "; note: " + snapshot.note) + "\n");
}

}  // namespace

CommandRun declareLabel(COptions& options)
{
    const auto given = std::make_shared<SLabelOptions>();
    options.word("NAME", given->name, COptions::EGiven::MUST_BE, "Name of the snapshot");
    options.words("LABEL", given->labels, COptions::EGiven::MAY_BE, "KEY=VALUE to set");
    options.each("--remove", given->removed, "Key of a label to remove; may be given several times");
    options.text("--note", given->note, "New note; an empty one removes it (stays)");
    return [given](const SContext&) { return changeLabels(*given); };
}

}  // namespace fictl
