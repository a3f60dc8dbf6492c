#pragma once

#include <string>
#include <vector>

namespace fictl {

/// Who uses what a path shows, one text each; empty when nobody does, or when there is nothing at the path.
using Uses = std::vector<std::string>;

/**
 * The uses of each of some paths, in their order: texts such as "mounted on /mnt/copy", "open in process 812 (tar)",
 * "behind /dev/loop0", or that the system refuses to open a block device exclusively. Processes of others can be looked
 * at by root only. Reads /proc and /sys, once for all paths; changes nothing.
 */
std::vector<Uses> usesOf(const std::vector<std::string>& paths);

}  // namespace fictl
