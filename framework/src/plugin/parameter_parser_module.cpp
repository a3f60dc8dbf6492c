#include "framework/src/plugin/parameter_parser_module.h"

#include "framework/include/obzx_export.h"
#include "framework/src/plugin/parameter_parser.h"

extern "C" OBZX_API obzx_pdk_4_4::ParseParameters obzx_parse_parameters;

bool obzx_parse_parameters(const std::string& xml, obzx_pdk_4_4::CFiConfigParamInfoList& parameters)
{
    return obzx_pdk_4_4::parseParameterDescription(xml, parameters);
}
