#pragma once

#include <string>

#include "host/src/catalog/snapshot_record.h"

namespace fictl {

/**
 * Where a record contradicts itself, as a text: node, target-device name, state, appliance and group of each device
 * have to agree with each other and with the record's checkpoint, each name must be one that can be worked with, and no
 * serial may read as a path or be the name of a group, since either would lead the provider to another LUN. Empty when
 * nothing is wrong.
 */
std::string findDisagreement(const SSnapshot& snapshot);

/// Throws EFictl (BAD_RECORD) when something does not belong together; what says what was not done, such as "imported".
void requireAgreement(const SSnapshot& snapshot, const char* what);

}  // namespace fictl
