#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <vector>

namespace lumora {

/**
 * Which process of this machine is behind each client of a cluster. A cluster knows clients by addresses that name no
 * process, and notices a dead one only when it has been silent for half a minute. A machine can tell at once that one
 * of its own processes is gone.
 *
 * One small file for each client, in a folder that the tools of one appliance share on one machine; it should lie where
 * a restart empties it. A record of another start of the machine, or of another process-id namespace, tells nothing.
 */
class CClientRecords
{
  public:
    /// The folder is made by the first record.
    explicit CClientRecords(std::filesystem::path folder);

    /// To be called before the client takes any lock. A process that is gone already counts as gone. Status storage on
    /// failure.
    /// @param address as the cluster names the client, such as 127.0.0.1:0/2740312345
    void add(const std::string& address, pid_t process) const;
    /// One that is not there is fine.
    void remove(const std::string& address) const noexcept;
    /// The clients whose processes are gone for certain. What cannot be read or told is not among them.
    std::vector<std::string> gone() const;

  private:
    std::filesystem::path fileOf(const std::string& address) const;

    std::filesystem::path m_folder;
};

}  // namespace lumora
