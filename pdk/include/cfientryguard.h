#pragma once

#include <cstdint>
#include <exception>
#include <new>
#include <type_traits>

#include "framework/include/cfientrypoint.h"
#include "framework/include/cfipluginbase.h"
#include "framework/include/cfitrace.h"
#include "pdk/include/cficontextsingleton.h"
#include "pdk/include/cfioutputs.h"
#include "pdk/include/cfipluginname.h"

namespace obzx_pdk_4_4 {

/// Where an entry point stands, for its trace lines; the function also names it in run records. The texts are
/// literals, which stay as long as the library does.
struct SFiEntryPlace
{
    const char* function;  ///< <provider>_fi_pgn_<name>
    int32_t line;
    const char* file;  ///< of which the trace shows what stands behind the last "/"
};

/// Captures the place of the entry point that it is written in.
#define FI_HERE (::obzx_pdk_4_4::SFiEntryPlace{__func__, __LINE__, __FILE__})

/// The objects of this provider, fetched anew for each step of a call and given back right after it.
struct FI_PRIVATE CFiContext
{
    /// Empty when the object cannot be had, also for lack of memory.
    template <class T>
    static CFiSmartPtr<T, CFiContextSingletonAllocator<T>> fetch()
    {
        try {
            return CFiContextSingleton<T, FI_PLUGIN_NAME>::instance(false);
        } catch (const std::bad_alloc&) {
            return {};
        }
    }

    /// Gives the provider's reference to the object back; it goes with the last one that somebody holds.
    template <class T>
    static void end()
    {
        CFiContextSingleton<T, FI_PLUGIN_NAME>::instance(true);
    }

    /// The status of an operation of the plug-in object, or the one given when the object cannot be had. What the
    /// operation throws passes through.
    template <class Plugin, class... Params>
    static int32_t call(int32_t unreachable, int32_t (CFiPluginBase::*operation)(Params...),
                        std::type_identity_t<Params>... args)
    {
        const auto plugin = fetch<Plugin>();
        return plugin ? (plugin.get()->*operation)(args...) : unreachable;
    }

    /// The status of a step that is the glue's own, not the plug-in's; what it throws is OBZ_ERR_FAILED.
    template <class Step>
    static int32_t ownStep(const Step& step)
    {
        try {
            return step();
        } catch (const std::exception&) {
            return OBZ_ERR_FAILED;
        }
    }
};

/**
 * What every entry point runs in: it names itself to run records, traces entry and exit, and holds the checks that come
 * before the operation, in the order in which they are written. The first check that fails fixes the status; nothing
 * after it is done.
 *
 *   return CFiEntry(FI_HERE).gated().needing(node, parameters).call(&CFiPluginBase::config, node, ...);
 *
 * An exception of an operation passes through after the counted pointers and the tracer were given back.
 */
template <class Plugin>
class FI_PRIVATE CFiEntryGuard
{
    static_assert(std::is_base_of_v<CFiPluginBase, Plugin>, "a plug-in class derives from CFiPluginBase");

  public:
    explicit CFiEntryGuard(const SFiEntryPlace& place)
        : m_place(place.function), m_trace(CFiContext::fetch<CFiTraceLog>(), place.function, place.line, place.file)
    {
    }

    /// The status for a null argument and for a plug-in object that cannot be had, where it is not the usual one.
    CFiEntryGuard& failingWith(int32_t status)
    {
        m_nullStatus = m_unreachableStatus = status;
        return *this;
    }

    /// Delayed initialisation; its failure gives OBZ_ERR_DELAYED_INIT.
    CFiEntryGuard& gated()
    {
        if (m_isRefused) return *this;
        const auto plugin = CFiContext::fetch<Plugin>();
        if (!plugin || plugin->invokeDelayedInit() != 0) refuse(OBZ_ERR_DELAYED_INIT);
        return *this;
    }

    /// Pointers that must not be null.
    template <class... Pointers>
    CFiEntryGuard& needing(const Pointers*... pointers)
    {
        if ((!pointers || ...)) refuse(m_nullStatus);
        return *this;
    }

    /// Any other condition on the arguments.
    CFiEntryGuard& requiring(bool condition)
    {
        if (!condition) refuse(OBZ_ERR_INVALID_ARG);
        return *this;
    }

    /// Outputs that are null or 0 unless the operation stores something else; those that are null are passed over.
    template <class... T>
    CFiEntryGuard& clearing(T*... outputs)
    {
        if (!m_isRefused) clearOutputs(outputs...);
        return *this;
    }

    /// The status of the check that failed, else of the operation.
    template <class... Params>
    int32_t call(int32_t (CFiPluginBase::*operation)(Params...), std::type_identity_t<Params>... args) const
    {
        return m_isRefused ? m_status : CFiContext::call<Plugin>(m_unreachableStatus, operation, args...);
    }

    /// The same for an entry point with steps of its own: steps() gives the status.
    template <class Steps>
    int32_t run(const Steps& steps) const
    {
        return m_isRefused ? m_status : steps();
    }

  private:
    void refuse(int32_t status)
    {
        if (m_isRefused) return;
        m_isRefused = true;
        m_status = status;
    }

    CFiEntryPoint m_place;  // around all else that the call does
    CFiTraceLogFunction m_trace;
    bool m_isRefused = false;
    int32_t m_status = OBZ_OK;  // of a call that was refused
    int32_t m_nullStatus = OBZ_ERR_INVALID_ARG;
    int32_t m_unreachableStatus = OBZ_ERR_FAILED;
};

}  // namespace obzx_pdk_4_4
