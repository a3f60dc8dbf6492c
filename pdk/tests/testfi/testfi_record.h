#pragma once

#include <cstdint>
#include <cstdlib>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "pdk/include/cfisessionmgr.h"

namespace testfi {

/// An argument or status as a number, whatever its type.
template <class T>
uint64_t toWord(T value)
{
    if constexpr (std::is_pointer_v<T>) {
        return reinterpret_cast<uint64_t>(value);
    } else {
        return static_cast<uint64_t>(static_cast<int64_t>(value));
    }
}

/// What a recording provider met, and what it is told to answer. A test process makes one before it loads the provider;
/// the provider finds it through the environment, because its library exports nothing but its entry points.
struct STestRecord
{
    struct SCall
    {
        std::string operation;
        std::vector<uint64_t> words;     // arguments
        std::vector<std::string> texts;  // what lay behind them
        int32_t references;              // to the plug-in object, while the operation ran
    };

    static constexpr const char* VARIABLE = "TESTFI_RECORD";

    STestRecord() { setenv(VARIABLE, std::to_string(toWord(this)).c_str(), 1); }
    ~STestRecord() { unsetenv(VARIABLE); }
    STestRecord(const STestRecord&) = delete;
    STestRecord& operator=(const STestRecord&) = delete;

    /// Null in a process without one.
    static STestRecord* find()
    {
        const char* const text = getenv(VARIABLE);
        return text == nullptr ? nullptr : reinterpret_cast<STestRecord*>(std::strtoull(text, nullptr, 10));
    }

    void forget()
    {
        const std::lock_guard lock(mutex);
        calls.clear();
    }
    /// Calls of one operation.
    std::vector<SCall> callsOf(const std::string& operation)
    {
        const std::lock_guard lock(mutex);
        std::vector<SCall> found;
        for (const SCall& call : calls) {
            if (call.operation == operation) found.push_back(call);
        }
        return found;
    }
    /// Names of all operations called, in order.
    std::vector<std::string> operations()
    {
        const std::lock_guard lock(mutex);
        std::vector<std::string> names;
        for (const SCall& call : calls) {
            names.push_back(call.operation);
        }
        return names;
    }

    std::mutex mutex;
    std::vector<SCall> calls;
    std::map<std::string, int64_t> answers;                    // status by operation; 0 unless given
    std::string throwing;                                      // operation that throws
    std::function<void(const std::string&)> onCall;            // run by each operation
    std::function<void(obzx_pdk_4_4::CFiSession&)> onSession;  // run by each session form
    std::vector<std::pair<std::string, std::string>> outputs;  // name and value that objctl gives back
    int plugins = 0;                                           // plug-in objects that exist
    int destroyed = 0;
};

}  // namespace testfi
