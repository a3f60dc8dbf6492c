#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

namespace fictl {

/**
 * Texts that may hold a password, such as the commands that freeze and thaw, and what stands in their place. A text of
 * less than four bytes holds none, and is left: it would be found in the middle of others.
 */
class CSecrets
{
  public:
    CSecrets() = default;
    CSecrets(std::vector<std::string> texts, std::string standIn);

    std::string hidden(std::string text) const;
    /// In every text of a document; its keys are left.
    void hide(nlohmann::json& document) const;
    /// In what goes to standard output: a document, or a text for people.
    std::string hiddenOutput(const std::string& output) const;

  private:
    std::vector<std::string> m_texts;  // in each form in which they are shown, the longest first
    std::string m_standIn;
};

}  // namespace fictl
