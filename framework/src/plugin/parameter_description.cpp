#include "framework/src/plugin/parameter_description.h"

#include "base/file_read.h"
#include "framework/src/messages/catalog_folder.h"
#include "framework/src/plugin/parameter_parser.h"

namespace obzx_pdk_4_4 {
namespace {

constexpr size_t MAX_DESCRIPTION = size_t{1} << 20;

}  // namespace

CFiConfigParamInfoList readParameterDescription(const std::string& component, const CFiTraceable& tracer)
{
    const std::string path = catalogFolder(component) + "/parameters.xml";
    const base::SFileText xml = base::readFile(path, MAX_DESCRIPTION);
    CFiConfigParamInfoList parameters;
    if (!xml) {
        tracer.trace(TRACE_INVALID, "Cannot read the parameter description [%s]", path);
    } else if (!parseParameterDescription(xml.text, parameters)) {
        tracer.trace(TRACE_INVALID, "The parameter description [%s] is malformed", path);
        parameters.clear();
    }
    return parameters;
}

}  // namespace obzx_pdk_4_4
