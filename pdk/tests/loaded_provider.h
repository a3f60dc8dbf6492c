#pragma once

#include <dlfcn.h>

#include <stdexcept>
#include <string>
#include <utility>

#include "framework/include/obz_entry_points.h"

namespace pdktest {

/// A provider's library, loaded by path for the life of the object.
class CLoadedProvider
{
  public:
    CLoadedProvider(const std::string& path, std::string name)
        : m_name(std::move(name)), m_library(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL))
    {
        if (m_library == nullptr) throw std::runtime_error(dlerror());
    }
    ~CLoadedProvider()
    {
        if (m_library != nullptr) dlclose(m_library);
    }
    CLoadedProvider(const CLoadedProvider&) = delete;
    CLoadedProvider& operator=(const CLoadedProvider&) = delete;

    /// An entry point by its name behind the prefix.
    void* find(const std::string& op) const
    {
        void* const function = dlsym(m_library, (m_name + "_fi_pgn_" + op).c_str());
        if (function == nullptr) throw std::runtime_error(dlerror());
        return function;
    }
    template <class Function>
    Function* get(const std::string& op) const
    {
        return reinterpret_cast<Function*>(find(op));
    }

    int32_t init(obz_context* context = nullptr, const char* fim = nullptr) const
    {
        obz_version version = {};
        return get<obzx_fi_init_fn>("init")(context, &version, fim);
    }
    void fini() const { get<obzx_fi_fini_fn>("fini")(); }

    const std::string& name() const { return m_name; }

  private:
    std::string m_name;
    void* m_library;
};

inline std::string providerPath(const std::string& name)
{
    return std::string(PDK_TEST_PROVIDER_DIR) + "/lib" + name + ".so";
}

}  // namespace pdktest
