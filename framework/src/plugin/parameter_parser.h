#pragma once

#include <string>

#include "framework/include/cficonfigparam.h"

namespace obzx_pdk_4_4 {

/**
 * The configuration values of a component from their description:
 *
 *   <parameters>
 *     <parameter name="FI_TRACE/LEVEL" type="number" default="2">
 *       <help>Level up to which lines are traced.</help>
 *     </parameter>
 *   </parameters>
 *
 * A parameter without a name, or with one that was there before, is passed over.
 * @return false: not well-formed, no description, or one with document type declarations; so is every text once the
 * XML parser found no memory to start in this process
 */
bool parseParameterDescription(const std::string& xml, CFiConfigParamInfoList& parameters);

}  // namespace obzx_pdk_4_4
