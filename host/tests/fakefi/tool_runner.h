#pragma once

#include <string>
#include <vector>

#include "host/tests/fakefi/store.h"

/// How the provider reaches an appliance: by a run of the tool that reads a script. It says nothing of what it runs.
class CToolRunner
{
  public:
    explicit CToolRunner(const CStore& store) : m_store(store) {}

    /// True when the tool ended with status 0; lines is what it wrote.
    bool run(const std::string& appliance, const std::string& command, std::vector<std::string>& lines) const;
    bool run(const std::string& appliance, const std::string& command) const;

    /// A name for a command.
    static std::string quoted(const std::string& name) { return '"' + name + '"'; }

  private:
    const CStore& m_store;
};
