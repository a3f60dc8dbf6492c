#include "framework/src/plugin/parameter_description.h"

#include <dlfcn.h>

#include "base/file_read.h"
#include "framework/src/messages/catalog_folder.h"
#include "framework/src/plugin/parameter_parser_module.h"
#include "framework/src/system/library_folder.h"

namespace obzx_pdk_4_4 {
namespace {

constexpr size_t MAX_DESCRIPTION = size_t{1} << 20;

// The XML parser brings more libraries with it than all the rest of the runtime, and takes most of the time that a
// program takes to start; hardly any asks for parameters. Once loaded it stays. Null when it cannot be loaded now.
ParseParameters* loadParser(const CFiTraceable& tracer)
{
    const std::string path = libraryFolder() + "/" + OBZX_PARAMETER_PARSER;
    void* const library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    void* const parse = library == nullptr ? nullptr : dlsym(library, PARSE_PARAMETERS);
    if (parse == nullptr) {
        const char* const reason = dlerror();
        tracer.trace(TRACE_INVALID, "Cannot load the parser of parameter descriptions [%s]",
                     reason == nullptr ? path : std::string(reason));
    }
    return reinterpret_cast<ParseParameters*>(parse);
}

}  // namespace

CFiConfigParamInfoList readParameterDescription(const std::string& component, const CFiTraceable& tracer)
{
    const std::string path = catalogFolder(component) + "/parameters.xml";
    const base::SFileText xml = base::readFile(path, MAX_DESCRIPTION);
    CFiConfigParamInfoList parameters;
    if (!xml) {
        tracer.trace(TRACE_INVALID, "Cannot read the parameter description [%s]", path);
        return parameters;
    }
    ParseParameters* const parse = loadParser(tracer);
    if (parse != nullptr && !parse(xml.text, parameters)) {
        tracer.trace(TRACE_INVALID, "The parameter description [%s] is malformed", path);
        parameters.clear();
    }
    return parameters;
}

}  // namespace obzx_pdk_4_4
