#pragma once

#include <cstdint>
#include <filesystem>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "base/child_process.h"
#include "base/tests/temporary_folder.h"
#include "base/tests/text_file.h"

namespace lumora::test {

using base_test::contentOf;
using base_test::CTemporaryFolder;
using base_test::linesOf;
using base_test::writeFile;
using Lines = std::vector<std::string>;

struct SResult
{
    int status = -1;  ///< exit status, or 128 + signal
    Lines out;
    Lines err;
};

/// A program that runs with its input from a text and its output in files. It is killed with the object.
class CProcess
{
  public:
    CProcess(const std::vector<std::string>& command, const std::string& input, const std::string& hostRoot = "");
    ~CProcess();
    CProcess(const CProcess&) = delete;
    CProcess& operator=(const CProcess&) = delete;

    void kill();
    SResult wait();

  private:
    pid_t start(const std::vector<std::string>& command, const std::string& input, const std::string& hostRoot) const;

    CTemporaryFolder m_folder;
    base::CChildProcess m_process;
};

/// An appliance "alpha" with the group "cg1" of the LUNs lun1 and lun2 (256 KiB each, presented to prod) and the hosts
/// prod and backup, each with a root of its own.
class CDemoStore
{
  public:
    explicit CDemoStore(const std::string& engine = "files");
    /// Nothing of the appliance runs any more then.
    ~CDemoStore();
    CDemoStore(const CDemoStore&) = delete;
    CDemoStore& operator=(const CDemoStore&) = delete;

    SResult lmadm(std::vector<std::string> arguments) const;  ///< --store is added
    /// What lmadm answers with --output json, which is added.
    nlohmann::json document(std::vector<std::string> arguments) const;
    /// Expects that lmadm refuses with this status, in one line behind its name, and answers nothing.
    void expectRefusal(const std::vector<std::string>& arguments, int status, const std::string& text) const;
    /// A script for the server alpha between "server" and "exit", run on the host prod.
    SResult lmsh(const std::string& commands) const;
    SResult rawLmsh(const std::string& script) const;
    SResult kforutil(const std::string& host, const std::string& word) const;

    void createAnnotation(const std::string& name) const;
    void createTimeImage(const std::string& name, const std::string& annotation, const std::string& host) const;
    Lines showGroup() const;

    std::filesystem::path store() const { return m_folder.path() / "store"; }
    std::filesystem::path home() const { return store() / "var/lib/lumora/alpha"; }
    std::filesystem::path root(const std::string& host) const { return m_folder.path() / host; }
    const std::filesystem::path& folder() const { return m_folder.path(); }

  private:
    CTemporaryFolder m_folder;
    const std::string m_engine;
};

std::vector<std::string> lmshCommand();
std::vector<std::string> lmadmCommand();
std::string script(const std::string& commands);

size_t entriesIn(const std::filesystem::path& folder);
/// Serials and times differ from run to run: "LM" and hexadecimal digits become SERIAL, times become TIME, folder
/// numbers ID.
Lines normalised(Lines lines);

/// Waits until the condition holds; false when it did not within half a minute.
template <class Condition>
bool eventually(Condition condition);
void pauseBriefly();

template <class Condition>
bool eventually(Condition condition)
{
    for (int tries = 0; tries < 30000; ++tries) {
        if (condition()) return true;
        pauseBriefly();
    }
    return false;
}

}  // namespace lumora::test
