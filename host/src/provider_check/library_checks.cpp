// The library itself, and what it tells of the provider.
#include <dlfcn.h>
#include <link.h>
#include <sys/stat.h>

#include <cstring>

#include "framework/include/obzx_runtime.h"
#include "host/src/provider_check/checks.h"
#include "host/src/provider_check/message_log.h"

namespace fictl {

namespace {

void checkLibrary(SCheckSurroundings& surroundings)
{
    const CSubject subject(surroundings.library, surroundings.journal);
}

bool isSameFile(const char* one, const std::string& other)
{
    struct stat first = {};
    struct stat second = {};
    const bool areThere = one != nullptr && stat(one, &first) == 0 && stat(other.c_str(), &second) == 0;
    return areThere && first.st_dev == second.st_dev && first.st_ino == second.st_ino;
}

void checkSymbols(SCheckSurroundings& surroundings)
{
    const CSubject subject(surroundings.library, surroundings.journal);
    for (const SFunction& function : functions()) {
        const std::string symbol = subject.name() + "_fi_pgn_" + function.name;
        Dl_info info = {};
        void* extra = nullptr;
        const bool isKnown = dladdr1(subject.addressOf(function), &info, &extra, RTLD_DL_SYMENT) != 0;
        if (!isKnown || !isSameFile(info.dli_fname, subject.path())) {
            throw SViolation{"dlsym(" + symbol + ")", "a function of the library itself",
                             isKnown ? std::string("one of ") + info.dli_fname : "no function of any library"};
        }
        const auto* const entry = static_cast<const ElfW(Sym)*>(extra);
        if (entry == nullptr || ELF64_ST_TYPE(entry->st_info) != STT_FUNC || symbol != info.dli_sname) {
            throw SViolation{"dlsym(" + symbol + ")", "a function of that name", "something else"};
        }
    }
}

void checkVersion(SCheckSurroundings& surroundings)
{
    CSubject subject(surroundings.library, surroundings.journal);
    CMessageLog messages;
    CSubject::expectStatus(subject.call(&SEntryPoints::init, messages.context(), nullptr, nullptr), OBZ_ERR_VERSION);
    CSubject::expect(messages.count() == 0, "nothing is touched", "a message was told");
    obz_version version;
    std::memset(&version, 0xFF, sizeof version);
    subject.call(&SEntryPoints::init, nullptr, &version, nullptr);
    CSubject::expect(version.version == OBZ_INTERFACE_VERSION, "version " + std::to_string(OBZ_INTERFACE_VERSION),
                     "version " + std::to_string(version.version));
    for (const uint8_t byte : version.reserved) {
        CSubject::expect(byte == 0, "the rest of the version record is 0", std::to_string(byte));
    }
    subject.end();
}

void checkStart(SCheckSurroundings& surroundings)
{
    CSubject subject(surroundings.library, surroundings.journal);
    CMessageLog messages;
    if (subject.start(messages.context()) != OBZ_OK) {
        CSubject::expect(messages.count() > 0, "a message that says why", "none");
        surroundings.remark = "it did not start: " + messages.last();
    }
    subject.end();
    CSubject other(surroundings.library, surroundings.journal);
    obz_version version{};
    other.call(&SEntryPoints::init, nullptr, &version, "any");
    other.end();
}

void describeProvider(CSubject& subject)
{
    obz_provider_list* provider = nullptr;
    CSubject::expectStatus(subject.call(&SEntryPoints::get_provider_info, &provider), OBZ_OK);
    if (provider == nullptr) return;
    CSubject::expect(provider->name != nullptr && *provider->name != '\0', "a description with a name", "none");
    CSubject::expect(provider->next == nullptr, "one record", "more of them");
    CSubject::expect((provider->attribute_count > 0) == (provider->attributes != nullptr),
                     "attributes and their count, or null and 0", std::to_string(provider->attribute_count));
    obzx_free_provider_list(provider);
}

void checkDescription(SCheckSurroundings& surroundings)
{
    CSubject subject(surroundings.library, surroundings.journal);
    describeProvider(subject);
    subject.start();
    describeProvider(subject);
    obz_fim_list* methods = nullptr;
    if (subject.call(&SEntryPoints::enumerate_fims, &methods) == OBZ_OK) {
        for (const obz_fim_list* method = methods; method != nullptr; method = method->next) {
            CSubject::expect(method->name != nullptr && method->provider != nullptr,
                             "methods with a name and a provider", "null");
        }
    }
    obzx_free_fim_list(methods);
    obz_domain anyNode{};
    obz_confspec* values = nullptr;
    subject.call(&SEntryPoints::config, &anyNode, nullptr, nullptr, &values);
    for (const obz_confspec* value = values; value != nullptr; value = value->next) {
        CSubject::expect(value->name != nullptr && *value->name != '\0', "configuration values with a name", "none");
    }
    obzx_free_confspec(values);
    subject.end();
}

constexpr SProviderCheck CHECKS[] = {
    {"library", "The file is a library called lib<name>.so that is loaded and has all 77 functions",
     "the first paragraph", checkLibrary},
    {"symbols", "Each function is one of the library itself, under its own name", "the first paragraph", checkSymbols},
    {"version", "init fills the version record, and refuses to do without one", "Start-up and description",
     checkVersion},
    {"start", "init starts the provider, or tells why it cannot", "Messages", checkStart},
    {"description", "Descriptions, methods and configuration values have names", "Configuration values",
     checkDescription},
};

}  // namespace

std::span<const SProviderCheck> libraryChecks()
{
    return CHECKS;
}

}  // namespace fictl
