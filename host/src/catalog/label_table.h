#pragma once

#include <string>

#include "base/sqlite.h"
#include "host/src/catalog/labels.h"

namespace fictl {

/// The labels of records. They belong to people, not to the process at work on a record, so they are changed here alone
/// and not with the rest of it. All throw base::ESqlite; those that change need a transaction.
Labels readLabels(const base::CSqliteDatabase& database, const std::string& snapshot);
void writeLabels(base::CSqliteDatabase& database, const std::string& snapshot, const Labels& labels);
/// Changes labels and note; those that it does not name stay.
void changeAnnotation(base::CSqliteDatabase& database, const std::string& snapshot, const SAnnotationChange& change);

}  // namespace fictl
