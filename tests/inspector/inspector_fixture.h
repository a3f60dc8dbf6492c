#pragma once

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/site.h"

/// A site of the embedded appliance, the inspector on its host "production", and tools that take the place of its own.
class CInspectorTest : public testing::Test
{
  protected:
    using CJson = nlohmann::json;

    /// Runs the inspector on a host.
    SRun run(const std::vector<std::string>& words, const std::string& host = "production") const;
    /// The same; fails the test unless it ended with a status and one whole document.
    CJson document(const std::vector<std::string>& words, int status = 0) const;

    /// Makes a shell script that ends with the text, in place of the tool of that name on the host "production".
    void replaceTool(const std::string& name, const std::string& script);
    /// What the line for a real tool is in such a script: runs it with what is in the variable "script".
    std::string realTool(const std::string& name) const;
    void writeFile(const std::string& place, const std::string& content) const;  ///< below the host's root
    std::string place(const std::string& path) const { return site.root("production").string() + path; }

    /// A checkpoint, and an image of it for a host.
    void makeImage(const std::string& appliance, const std::string& group, const std::string& suffix,
                   const std::string& host) const;

    CSite site;
};

/// The object in a list that has a name.
const nlohmann::json& named(const nlohmann::json& list, const std::string& name);
