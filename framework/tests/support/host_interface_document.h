#pragma once

#include <map>
#include <string>
#include <vector>

namespace obzx_pdk_4_4::test {

/// A row of the tables of docs/host-interface.md.
struct SInterfaceRow
{
    std::string operation;
    std::string gated;
    std::string needs;
    std::string outputs;
    int32_t status;
};

/// A parameter of an entry point, such as {"obz_domain*", "node"}.
struct SInterfaceParameter
{
    std::string type;
    std::string name;
};

/// The type of an entry point in framework/include/obz_entry_points.h.
struct SInterfaceType
{
    std::string contract;  ///< the comment above it, as one line
    std::vector<SInterfaceParameter> parameters;

    bool isGated() const { return contract.rfind("Gated.", 0) == 0; }
    /// Query, Notice or Action; empty for what works in every provider.
    std::string kind() const;
    bool hasParameter(const std::string& name) const;
};

/// Both by the name of the entry point; of a name that stands twice the second one is a failure of the test.
std::map<std::string, SInterfaceRow> readInterfaceTables();
std::map<std::string, SInterfaceType> readInterfaceHeader();

}  // namespace obzx_pdk_4_4::test
