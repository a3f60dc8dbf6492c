#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "host/src/output/private_folder.h"

namespace fictl {

/// What another fictl, which this one runs, asks of the appliances' tools: while this one is recorded, that one is,
/// too, and what it recorded becomes a part of this conversation when the object goes.
class CPartOfRecording
{
  public:
    /// @param words the other one's command line, which gets the option for it
    explicit CPartOfRecording(std::vector<std::string>& words);
    ~CPartOfRecording();
    CPartOfRecording(const CPartOfRecording&) = delete;
    CPartOfRecording& operator=(const CPartOfRecording&) = delete;

  private:
    std::chrono::steady_clock::time_point m_began = std::chrono::steady_clock::now();
    std::optional<CPrivateFolder> m_folder;  // none while nothing is recorded
};

}  // namespace fictl
