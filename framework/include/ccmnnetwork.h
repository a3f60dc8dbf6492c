#pragma once

#include <set>
#include <string>

#include "framework/include/obzx_export.h"

namespace obzx_cmn_4_4 {

/// What the resolver knows of a host. Addresses are numeric, IPv4 or IPv6.
struct SHostInfo
{
    std::string name;                 ///< canonical name; the name asked for when the resolver has none
    std::set<std::string> names;      ///< further names and the name asked for
    std::string addressText;          ///< numeric addresses in ascending order, separated by one blank
    std::set<std::string> addresses;  ///< the same, one by one
};

/**
 * Tells hosts apart by their names and addresses. Any thread may call it. Asking the resolver may take seconds; its
 * answers, also that it knows nothing, are shared by the whole process and serve for a minute.
 */
class OBZX_API CCmnNetwork
{
  public:
    /// @param component whose configuration store may name this host (section FI_NETWORK, LOCAL_NAME)
    explicit CCmnNetwork(std::string component);

    /// The name that this host goes by: LOCAL_NAME, else the resolver's canonical name of the host name.
    std::string getFQDN() const;
    /// Never fails: a name that cannot be resolved has no addresses. @throw std::bad_alloc
    SHostInfo resolve(const std::string& name) const;
    /// True when any of the names are equal without regard to case, or an address other than a loopback address is
    /// shared.
    static bool compare(const SHostInfo& a, const SHostInfo& b);

  private:
    std::string m_component;
};

}  // namespace obzx_cmn_4_4
