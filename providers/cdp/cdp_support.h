#pragma once

#include <string>
#include <vector>

namespace cdpfi {

class CDPSupportFunction
{
  public:
    /**
     * Appends the lines of a text file, each without its line end, in file order. What follows the last newline counts
     * as a line, also when it is empty. Of a line longer than 4095 characters only the first 4095 are kept.
     *
     * A path that cannot be opened, is no regular file or holds more than 16 MiB leaves the lines unchanged; nothing
     * blocks on a pipe or a device.
     */
    static void readFile(const std::string& path, std::vector<std::string>& lines);
};

}  // namespace cdpfi
