#pragma once

#include <string>
#include <string_view>

#include "host/src/catalog/snapshot_record.h"

namespace fictl {

/// Most bytes of a snapshot's document.
constexpr size_t DOCUMENT_LIMIT = size_t{1024} * 1024;

/**
 * The document that carries a snapshot's record to another host, JSON:
 *
 *     { "format": "fictl-snapshot", "version": 1, "name": ..., "provider": ..., "created": ..., "checkpoint": ...,
 *       "devices": [ { "source": ..., "node": ..., "target": ..., "state": ... } ] }
 *
 * "state" is the node's state as the provider gave it. Nothing else may stand in it, but for labels and a note:
 *
 *     { "format": "fictl-snapshot", "version": 2, "labels": { KEY: VALUE, ... }, "note": ..., the others as above }
 *
 * A record without them is written as version 1, which every fictl reads.
 */
std::string writeDocument(const SSnapshot& snapshot);

/// Reads one, checking every value and that they belong together. Throws EFictl (BAD_RECORD) that says what is wrong.
SSnapshot readDocument(std::string_view text);

}  // namespace fictl
