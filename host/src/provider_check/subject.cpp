#include "host/src/provider_check/subject.h"

#include <dlfcn.h>

#include <exception>

#include "host/src/output/error.h"
#include "host/src/provider_check/function_facts.h"

namespace fictl {

namespace {

thread_local std::string g_lastCall;

// A file of another name, or none that can be loaded, is a finding like any other.
std::string nameIn(const std::string& path)
{
    try {
        return CProviderLibrary::nameOf(path);
    } catch (const EFictl& error) {
        throw SViolation{path, "a library called lib<name>.so", error.what()};
    }
}

void* load(const std::string& path, CCallJournal& journal)
{
    journal.note("dlopen(" + path + ")");
    void* const library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    journal.note("");
    // NOLINTNEXTLINE(concurrency-mt-unsafe): libraries are loaded by one thread
    if (library == nullptr) throw SViolation{"dlopen(" + path + ")", "the library is loaded", dlerror()};
    return library;
}

}  // namespace

CSubject::CSubject(const std::string& path, CCallJournal& journal)
    : m_path(path), m_name(nameIn(path)), m_journal(journal), m_library(load(path, journal))
{
    try {
        lookUp();
    } catch (...) {
        dlclose(m_library);
        throw;
    }
}

CSubject::~CSubject()
{
    if (std::uncaught_exceptions() > 0) return;  // what was found is to be told, whatever an unloading would do
    m_journal.note("dlclose(" + m_path + ")");
    dlclose(m_library);
    m_journal.note("");
}

void CSubject::lookUp()
{
    for (const SFunction& function : functions()) {
        const std::string symbol = m_name + "_fi_pgn_" + function.name;
        void* const address = dlsym(m_library, symbol.c_str());
        if (address == nullptr) throw SViolation{"dlsym(" + symbol + ")", "a function of that name", "none"};
        m_addresses[function.index] = address;
    }
}

int64_t CSubject::call(const SFunction& function, const CWords& words)
{
    const std::string shown = function.shown(words);
    m_journal.note(shown);
    int64_t status = OBZ_OK;
    try {
        status = function.invoke(m_addresses[function.index], words);
    } catch (const std::exception& error) {
        throw SViolation{shown, "no exception", error.what()};
    } catch (...) {
        throw SViolation{shown, "no exception", "one of an unknown type"};
    }
    m_journal.note("");
    g_lastCall = shown;  // a callback may have called meanwhile
    if (!function.hasResult) return status;
    expect(isStatusOf(function.name, function.isGated, status),
           "status " + std::string(statusesOf(function.name, function.isGated)), "status " + std::to_string(status));
    return status;
}

int64_t CSubject::start(obz_context* context)
{
    obz_version version{};
    return call(&SEntryPoints::init, context, &version, nullptr);
}

const std::string& CSubject::lastCall()
{
    return g_lastCall;
}

void CSubject::expect(bool condition, const std::string& expected, const std::string& came)
{
    if (!condition) throw SViolation{g_lastCall, expected, came};
}

void CSubject::expectStatus(int64_t status, int64_t expected)
{
    expect(status == expected, "status " + std::to_string(expected), "status " + std::to_string(status));
}

}  // namespace fictl
