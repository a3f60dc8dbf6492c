#include <nlohmann/json.hpp>

#include "framework/include/obzx_runtime.h"
#include "host/src/commands/commands.h"
#include "host/src/guardian/guardian.h"
#include "host/src/output/error.h"
#include "host/src/output/error_text.h"
#include "host/src/provider/provider.h"

namespace fictl {

namespace {

std::string text(const char* value)
{
    return value == nullptr ? "" : value;
}

// A question whose answer needs a provider that has started is answered by null when it has not.
json unanswered(CProvider& provider, const char* what, int32_t status)
{
    if (provider.startFailure()) return nullptr;
    throw EFictl(EExit::FAILED,
                 "provider \"" + provider.name() + "\" does not " + what + " (status " + std::to_string(status) + ")")
        .withReport(provider.takeReport());
}

void describe(CProvider& provider, json& document)
{
    obz_provider_list* list = nullptr;
    const int32_t status = provider.call().get_provider_info(&list);
    // A provider may leave its description out; its version is then not known.
    if (status == OBZ_OK && list != nullptr) {
        const uint16_t* const version = list->version;
        document["announced_name"] = text(list->name);
        document["version"] = std::to_string(version[0]) + "." + std::to_string(version[1]) + "." +
                              std::to_string(version[2]) + "." + std::to_string(version[3]);
        document["kind"] = list->kind;
        document["level"] = list->level;
    }
    obzx_free_provider_list(list);
    if (status != OBZ_OK) unanswered(provider, "describe itself", status);
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
    return status == OBZ_OK ? document : unanswered(provider, "list its snapshot methods", status);
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
    return unanswered(provider, "tell its configuration values", status);
}

std::string parameterTable(const json& values)
{
    if (values.empty()) return "";
    Rows rows = {{"VALUE", "TYPE", "DEFAULT", "MEANING"}};
    for (const json& value : values) {
        rows.push_back({value["name"], value["type"], value["default"], value["help"]});
    }
    return "\n" + formatTable(rows);
}

std::string providerText(const json& document, const std::optional<EFictl>& failure)
{
    Rows rows = {
        {"PROVIDER", document["name"].get<std::string>()},
        {"PATH", document["path"].get<std::string>()},
        {"INTERFACE", std::to_string(OBZ_INTERFACE_VERSION)},
        {"VERSION", document["version"].is_null() ? "not told" : document["version"].get<std::string>()},
        {"STARTED", failure ? std::string("no: ") + failure->what() : "yes"},
    };
    if (document["methods"].is_null()) rows.push_back({"METHOD", "not told"});
    for (const json& method : document["methods"]) {
        rows.push_back({"METHOD", method["name"].get<std::string>() + " " + method["version"].get<std::string>()});
    }
    return formatValues(rows) + parameterTable(document["parameters"]);
}

SResult showProvider(const SContext& context)
{
    const CGuardian guardian;
    context.progress.step("start provider");
    CProvider provider(context.chosenProvider(), CProvider::EStart::ATTEMPTED);
    const std::optional<EFictl>& failure = provider.startFailure();
    json document = {{"name", provider.name()},
                     {"path", provider.library().path()},
                     {"interface", OBZ_INTERFACE_VERSION},
                     {"version", nullptr},
                     {"started", !failure},
                     {"not_started", failure ? errorJson(*failure) : json()}};
    describe(provider, document);
    document["methods"] = methods(provider);
    if (failure && document["methods"].empty()) document["methods"] = nullptr;
    document["parameters"] = parameters(provider);
    if (failure) CProgress::warn(failure->what() + ("\n" + reportText(failure->report()) + "  next: fictl doctor"));
    std::string text = providerText(document, failure);
    return resultOf({{"provider", std::move(document)}}, std::move(text));
}

}  // namespace

CommandRun declareProviderShow(COptions& /*options*/)
{
    return showProvider;
}

}  // namespace fictl
