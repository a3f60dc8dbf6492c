#pragma once

#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <string>

#include "host/src/bundle/names.h"

namespace fictl {

/**
 * Other names in the place of names, the same everywhere: "groupaab" for a group. Marks and blanks of a name stay,
 * since they can be what is wrong with it, and names of one kind keep their order. A name is found where it is a whole
 * or a part of another text, such as a path or the name of an image, unless a letter follows one of its letters, or a
 * digit one of its digits.
 */
class CPseudonyms
{
  public:
    explicit CPseudonyms(const CNames& names);

    std::string renamed(const std::string& text) const;
    /// All texts of a document, also those that stand in it as {"hex": ...}; its keys are left, but for those of
    /// labels.
    void rename(nlohmann::json& document) const;

  private:
    void renameKeys(nlohmann::json& labels) const;
    /// Bytes of the name that begins there; 0 when none does.
    size_t nameAt(const std::string& text, size_t at) const;

    std::map<std::string, std::string, std::less<>> m_pseudonyms;
    std::set<size_t, std::greater<>> m_sizes;  // of the names
};

}  // namespace fictl
