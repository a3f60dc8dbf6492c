#pragma once

#include <filesystem>

#include "appliance/core/files/file_io.h"

namespace lumora {

/// The gate of a consistency group: whoever holds it is alone with the content of the group's LUNs.
///
/// First come, first served: every comer draws a ticket and waits for all earlier tickets, so a stream of writers
/// cannot keep an annotation waiting. A ticket lives as long as its process: when a holder or a waiter is killed,
/// the kernel frees its ticket and the line moves on.
///
/// Only those who go through the gate are held back. A program that opens a LUN file by itself is not.
class CGate
{
  public:
    /// Draws a ticket in `file` (made when missing) and waits for its turn. Status storage when the file is unusable.
    explicit CGate(const std::filesystem::path& file);
    /// Gives the gate to the next in line.
    ~CGate() = default;

    CGate(const CGate&) = delete;
    CGate& operator=(const CGate&) = delete;

  private:
    base::CFileDescriptor m_file;
};

}  // namespace lumora
