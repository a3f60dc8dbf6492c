#pragma once

#include <map>
#include <mutex>
#include <set>
#include <string>

#include "framework/include/cfimessagecatalog.h"

namespace obzx_pdk_4_4 {

/// A folder of ICU resource bundles, each a table of patterns by message key. Bundles are read whole on first use.
class CIcuMessageCatalog : public CFiMessageCatalog
{
  public:
    /// Looks which bundles the folder holds.
    CIcuMessageCatalog(std::string folder, std::string rootName);
    ~CIcuMessageCatalog() override;

    /// Without the root bundle a folder is no catalog.
    bool hasRoot() const { return m_locales.count(m_rootName) != 0; }
    bool getPattern(const std::string& id, const std::string& locale, std::string& pattern) override;

  private:
    using CPatterns = std::map<std::string, std::string>;
    const CPatterns& load(const std::string& bundle);

    std::string m_folder;
    std::string m_rootName;
    std::set<std::string> m_locales;  // names of the bundles that are there
    std::mutex m_mutex;
    std::map<std::string, CPatterns> m_bundles;  // those read so far
};

}  // namespace obzx_pdk_4_4
