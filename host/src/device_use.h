#pragma once

#include <string>
#include <vector>

namespace fictl {

/**
 * Who uses what a path shows, one text each, such as "mounted on /mnt/copy", "open in process 812 (tar)", "behind
 * /dev/loop0", or that the system refuses to open a block device exclusively. Nothing when nobody does, or when there
 * is nothing at the path. Processes of others can be looked at by root only. Reads /proc and /sys; changes nothing.
 */
std::vector<std::string> usesOf(const std::string& path);

}  // namespace fictl
