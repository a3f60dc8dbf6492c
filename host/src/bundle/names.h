#pragma once

#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

namespace fictl {

/// What a name is one of.
enum class ENamed
{
    APPLIANCE,
    HOST,
    DOMAIN,
    ADDRESS,
    GROUP,
    LUN,
    SERIAL,
    LABEL,
    NOTE,
};

/// Key of the object in a document that has the labels of a snapshot: its keys are words of people, too.
inline constexpr const char* LABELS_KEY = "labels";

/**
 * The names of hosts, groups and LUNs, and the labels and notes of snapshots, that stand in documents, in listings and
 * in the commands that ask for them. A name of several kinds counts as the first of them. Those that are words of the
 * listings and messages themselves, or shorter than three bytes, are passed over: nobody could tell where such a text
 * is the name.
 */
class CNames
{
  public:
    void add(ENamed kind, const std::string& name);

    /// What an inspector tells (docs/inspector.md).
    void addInspection(const nlohmann::json& inspection);
    /// Any document or text: by its keys, and by what its texts look like.
    void addAll(const nlohmann::json& document);

    const std::map<std::string, ENamed>& all() const { return m_names; }
    /// How many were passed over.
    size_t passedOver() const { return m_passedOver.size(); }

  private:
    void addHost(const std::string& name);
    void addPath(const std::string& path);
    void addLabels(const nlohmann::json& labels);
    void addLuns(const nlohmann::json& luns);
    void addText(const std::string& text);
    void addLine(std::string_view line);
    void addQuoted(std::string_view line);
    void addHosts(const std::string& listing);

    std::map<std::string, ENamed> m_names;
    std::map<std::string, ENamed> m_passedOver;
};

}  // namespace fictl
