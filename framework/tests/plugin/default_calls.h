#pragma once

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>

#include "framework/include/cfiplugininterposer.h"
#include "framework/tests/support/plugin_test_support.h"

namespace obzx_pdk_4_4::test {

/**
 * Calls default operations and checks what they do with nulls and outputs. Each argument of an operation is described
 * by one letter:
 *   n  needed: a null gives 3            o  may be null
 *   N  needed output                     O  output that may be null
 *   v  a value
 * Outputs hold rubbish before each call and must be null or 0 after it.
 */
class CDefaultCalls
{
  public:
    struct SResult
    {
        std::string operation;
        int32_t status;
    };

    explicit CDefaultCalls(CFiPluginBase& plugin) : m_plugin(plugin) {}

    template <class... P, class... A>
    void call(const char* entryPoint, const char* operation, int32_t (CFiPluginBase::*function)(P...),
              const char* kinds, int32_t expected, A... arguments)
    {
        static_assert(sizeof...(P) == sizeof...(A));
        SCOPED_TRACE(operation);
        std::tuple<P...> all(arguments...);
        const int32_t status = run(function, kinds, all);
        EXPECT_EQ(status, expected);
        m_results[entryPoint] = SResult{operation, status};
        withNulls(function, kinds, all, expected, std::index_sequence_for<P...>());
    }

    /// What each entry point's operation answered to good arguments.
    const std::map<std::string, SResult>& results() const { return m_results; }
    void add(const char* entryPoint, const char* operation, int32_t status)
    {
        m_results[entryPoint] = SResult{operation, status};
    }
    CFiPluginBase& plugin() { return m_plugin; }

  private:
    static bool isOutput(char kind) { return kind == 'N' || kind == 'O'; }
    static bool isNeeded(char kind) { return kind == 'N' || kind == 'n'; }

    template <class P>
    static void spoil(P argument, char kind)
    {
        if constexpr (std::is_pointer_v<P>) {
            using T = std::remove_pointer_t<P>;
            if (argument == nullptr || !isOutput(kind)) return;
            if constexpr (std::is_pointer_v<T>) {
                *argument = reinterpret_cast<T>(uintptr_t{0x10});
            } else if constexpr (std::is_integral_v<T> && !std::is_const_v<T>) {
                *argument = 77;
            }
        }
    }

    template <class P>
    static void expectCleared(P argument, char kind)
    {
        if constexpr (std::is_pointer_v<P>) {
            using T = std::remove_pointer_t<P>;
            if (argument == nullptr || !isOutput(kind)) return;
            if constexpr (std::is_pointer_v<T> || std::is_integral_v<T>) {
                EXPECT_EQ(*argument, T{});
            }
        }
    }

    template <class F, class... P>
    int32_t run(F function, const char* kinds, const std::tuple<P...>& all)
    {
        size_t i = 0;
        std::apply([&](P... arguments) { (spoil(arguments, kinds[i++]), ...); }, all);
        const int32_t status = std::apply([&](P... arguments) { return (m_plugin.*function)(arguments...); }, all);
        i = 0;
        std::apply([&](P... arguments) { (expectCleared(arguments, kinds[i++]), ...); }, all);
        return status;
    }

    template <class F, class... P, size_t... I>
    void withNulls(F function, const char* kinds, const std::tuple<P...>& all, int32_t expected,
                   std::index_sequence<I...>)
    {
        (withNull<I>(function, kinds, all, expected), ...);
        std::tuple<P...> nulls = all;
        bool anyNeeded = false;
        (
            [&] {
                if constexpr (std::is_pointer_v<std::tuple_element_t<I, std::tuple<P...>>>) {
                    std::get<I>(nulls) = nullptr;
                    anyNeeded = anyNeeded || isNeeded(kinds[I]);
                }
            }(),
            ...);
        EXPECT_EQ(run(function, kinds, nulls), anyNeeded ? OBZ_ERR_INVALID_ARG : expected) << "all null";
    }

    template <size_t I, class F, class... P>
    void withNull(F function, const char* kinds, const std::tuple<P...>& all, int32_t expected)
    {
        if constexpr (std::is_pointer_v<std::tuple_element_t<I, std::tuple<P...>>>) {
            std::tuple<P...> changed = all;
            std::get<I>(changed) = nullptr;
            EXPECT_EQ(run(function, kinds, changed), isNeeded(kinds[I]) ? OBZ_ERR_INVALID_ARG : expected)
                << "argument " << I + 1 << " null";
        }
    }

    CFiPluginBase& m_plugin;
    std::map<std::string, SResult> m_results;
};

/// Makes every call that an entry point hands on.
void callAllDefaults(CDefaultCalls& calls);

}  // namespace obzx_pdk_4_4::test
