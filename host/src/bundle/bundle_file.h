#pragma once

#include <map>
#include <string>

namespace fictl {

/// Contents of files by their names.
using FileTexts = std::map<std::string, std::string>;

/**
 * Writes the files into the folder "support-bundle" of a new tar archive, compressed with gzip: for its owner only,
 * under its name whole and on disk, or not at all. Throws EFictl (EXISTS) when a file of that name is there, and (IO).
 */
void writeBundleFile(const std::string& file, const FileTexts& contents);

/// Throws EFictl (EXISTS) when a file of that name is there.
void requireNoFile(const std::string& file);

}  // namespace fictl
