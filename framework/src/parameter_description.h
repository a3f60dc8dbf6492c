#pragma once

#include <string>

#include "framework/include/cficonfigparam.h"
#include "framework/include/cfitrace.h"

namespace obzx_pdk_4_4 {

/**
 * The configuration values of a component as the file parameters.xml beside its message catalogs describes them:
 *
 *   <parameters>
 *     <parameter name="FI_TRACE/LEVEL" type="number" default="2">
 *       <help>Level up to which lines are traced.</help>
 *     </parameter>
 *   </parameters>
 *
 * A parameter without a name, or with one that was there before, is passed over. A file that is missing, larger than
 * 1 MiB, malformed or with document type declarations gives an empty list and a trace line of level 2. So does every
 * file once the XML parser found no memory to start in this process.
 */
CFiConfigParamInfoList readParameterDescription(const std::string& component, const CFiTraceable& tracer);

/// The same from a text; false when it is not well-formed or no description.
bool parseParameterDescription(const std::string& xml, CFiConfigParamInfoList& parameters);

}  // namespace obzx_pdk_4_4
