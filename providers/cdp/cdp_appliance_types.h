#pragma once

#include <span>
#include <string_view>

#include "providers/cdp/model/base_appliance.h"

namespace cdpfi {

/// A type of appliance that the provider works with.
struct SCDPApplianceType
{
    std::string_view m_listMark;  ///< what a line of the appliance list holds that names an appliance of this type
    /// A new appliance, whose inventory is not read yet. @throw std::bad_alloc
    CAppliancePtr (*m_create)(const CString& name);
};

/// All types, in the order in which a line of the appliance list is held against them.
std::span<const SCDPApplianceType> applianceTypes();

}  // namespace cdpfi
