#include "host/src/catalog/label_table.h"

namespace fictl {

Labels readLabels(const base::CSqliteDatabase& database, const std::string& snapshot)
{
    Labels labels;
    base::CSqliteQuery row(database, "SELECT label_key, label_value FROM label WHERE snapshot = ?", snapshot);
    while (row.next()) {
        labels[row.text(0)] = row.text(1);
    }
    return labels;
}

void writeLabels(base::CSqliteDatabase& database, const std::string& snapshot, const Labels& labels)
{
    for (const auto& [key, value] : labels) {
        base::CSqliteQuery(database, "INSERT OR REPLACE INTO label (snapshot, label_key, label_value) VALUES (?,?,?)",
                           snapshot, key, value)
            .run();
    }
}

void changeAnnotation(base::CSqliteDatabase& database, const std::string& snapshot, const SAnnotationChange& change)
{
    for (const std::string& key : change.removed) {
        base::CSqliteQuery(database, "DELETE FROM label WHERE snapshot = ? AND label_key = ?", snapshot, key).run();
    }
    writeLabels(database, snapshot, change.set);
    if (!change.note) return;
    base::CSqliteQuery(database, "UPDATE snapshot SET note = ? WHERE name = ?", *change.note, snapshot).run();
}

}  // namespace fictl
