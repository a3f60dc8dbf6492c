#include "framework/include/obzx_runtime.h"
#include "host/src/commands.h"
#include "host/src/error.h"
#include "host/src/provider.h"

namespace fictl {

namespace {

std::string text(const char* value)
{
    return value == nullptr ? "" : value;
}

json describe(CProvider& provider)
{
    obz_provider_list* list = nullptr;
    const int32_t status = provider.call().get_provider_info(&list);
    // A provider may leave its description out; its version is then not known.
    json document = {{"name", provider.name()},
                     {"path", provider.library().path()},
                     {"interface", OBZ_INTERFACE_VERSION},
                     {"version", nullptr}};
    if (status == OBZ_OK && list != nullptr) {
        const uint16_t* const version = list->version;
        document["announced_name"] = text(list->name);
        document["version"] = std::to_string(version[0]) + "." + std::to_string(version[1]) + "." +
                              std::to_string(version[2]) + "." + std::to_string(version[3]);
        document["kind"] = list->kind;
        document["level"] = list->level;
    }
    obzx_free_provider_list(list);
    if (status == OBZ_OK) return document;
    throw EFictl(EExit::FAILED, "provider \"" + provider.name() + "\" does not describe itself (status " +
                                    std::to_string(status) + ")")
        .withReport(provider.takeReport());
}

json methods(CProvider& provider)
{
    obz_fim_list* list = nullptr;
    const int32_t status = provider.call().enumerate_fims(&list);
    json document = json::array();
    for (const obz_fim_list* method = list; method != nullptr; method = method->next) {
        document.push_back(
            {{"name", text(method->name)}, {"version", text(method->version)}, {"provider", text(method->provider)}});
    }
    obzx_free_fim_list(list);
    if (status == OBZ_OK) return document;
    throw EFictl(EExit::FAILED, "provider \"" + provider.name() + "\" does not list its snapshot methods (status " +
                                    std::to_string(status) + ")")
        .withReport(provider.takeReport());
}

/// The configuration values that the provider reads; none for a provider that does not tell.
json parameters(CProvider& provider)
{
    obz_domain anyNode{};  // the values are the same for every node
    obz_confspec* list = nullptr;
    const int32_t status = provider.call().config(&anyNode, nullptr, nullptr, &list);
    json document = json::array();
    for (const obz_confspec* value = list; value != nullptr; value = value->next) {
        document.push_back({{"name", text(value->name)},
                            {"type", text(value->type)},
                            {"default", text(value->value)},
                            {"help", text(value->help)}});
    }
    obzx_free_confspec(list);
    if (status == OBZ_OK || status == OBZ_ERR_UNSUPPORTED) return document;
    throw EFictl(EExit::FAILED, "provider \"" + provider.name() + "\" does not tell its configuration values (status " +
                                    std::to_string(status) + ")")
        .withReport(provider.takeReport());
}

std::string parameterTable(const json& values)
{
    if (values.empty()) return "";
    std::vector<std::vector<std::string>> rows = {{"VALUE", "TYPE", "DEFAULT", "MEANING"}};
    for (const json& value : values)
        rows.push_back({value["name"], value["type"], value["default"], value["help"]});
    return "\n" + formatTable(rows);
}

}  // namespace

SResult showProvider(const SContext& context)
{
    context.progress.step("start provider");
    CProvider provider(context.chosenProvider());
    SResult result;
    json document = describe(provider);
    document["methods"] = methods(provider);
    document["parameters"] = parameters(provider);
    std::vector<std::vector<std::string>> rows = {
        {"PROVIDER", document["name"].get<std::string>()},
        {"PATH", document["path"].get<std::string>()},
        {"INTERFACE", std::to_string(OBZ_INTERFACE_VERSION)},
        {"VERSION", document["version"].is_null() ? "not told" : document["version"].get<std::string>()},
    };
    for (const json& method : document["methods"]) {
        rows.push_back({"METHOD", method["name"].get<std::string>() + " " + method["version"].get<std::string>()});
    }
    result.text = formatValues(rows) + parameterTable(document["parameters"]);
    result.document = {{"provider", std::move(document)}};
    return result;
}

}  // namespace fictl
