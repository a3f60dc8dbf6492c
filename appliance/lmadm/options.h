#pragma once

#include <cstdint>
#include <string>

namespace lumora {

enum class EOutput : uint8_t
{
    TABLE,
    JSON
};

/// What stands on the command line beside the command.
struct SOptions
{
    std::string store;
    std::string appliance;  ///< empty: the only one
    EOutput output = EOutput::TABLE;
};

}  // namespace lumora
