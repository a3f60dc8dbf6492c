#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "appliance/core/conventions/error.h"
#include "base/file_descriptor.h"

namespace lumora {

/// What the storage daemon answered to a command that it refused; it has done nothing of it.
class EQmpRefusal : public EApplianceError
{
  public:
    using EApplianceError::EApplianceError;
};

/// A conversation with the monitor of a storage daemon (QMP: a JSON object a line, as "QEMU Machine Protocol" describes
/// it). The monitor serves one client at a time; a second one waits in silence, so that clients take a lock first. For
/// one thread.
class CQmpClient
{
  public:
    using Json = nlohmann::json;

    /// Connects and enters the command mode. Status storage when nobody answers within `patience`, which holds for each
    /// later answer too.
    CQmpClient(const std::filesystem::path& socket, std::chrono::milliseconds patience);

    /// What the daemon returns. Throws EQmpRefusal with its words; status storage when it ends or stays silent, of
    /// which it is not known whether the command was carried out.
    Json execute(const std::string& command, const Json& arguments = Json::object());
    /// Waits for an event, also one that came with an earlier answer; returns its data. As long as the daemon answers
    /// at all the wait goes on. Throws as execute() does when it ends.
    Json waitFor(const std::string& event, const std::function<bool(const Json& data)>& isMeant);

  private:
    Json readObject(bool forEver);
    [[noreturn]] void giveUp(const std::string& why) const;

    const std::string m_socket;
    const std::chrono::milliseconds m_patience;
    base::CFileDescriptor m_connection;
    std::string m_unread;
    std::vector<Json> m_events;
};

}  // namespace lumora
