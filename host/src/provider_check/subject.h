#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <string>
#include <type_traits>
#include <vector>

#include "host/src/provider/provider_library.h"
#include "host/src/provider_check/call_journal.h"
#include "host/src/provider_check/function.h"

namespace fictl {

/// What a check ends with that found something wrong.
struct SViolation
{
    std::string call;  ///< that broke it; empty when it was none
    std::string expected;
    std::string came;
};

/// What a check ends with that the provider gave no occasion to.
struct SNoOccasion
{
    std::string reason;
};

/**
 * A provider that is being checked: its library, loaded for the life of the object, and calls of its functions.
 *
 * Each call is noted in the journal, must not throw, and must return a status of its function; otherwise it throws
 * SViolation, as the constructor does for a library that cannot be loaded or has a function missing. Any thread may
 * call.
 */
class CSubject
{
  public:
    CSubject(const std::string& path, CCallJournal& journal);
    ~CSubject();
    CSubject(const CSubject&) = delete;
    CSubject& operator=(const CSubject&) = delete;

    int64_t call(const SFunction& function, const CWords& words);
    template <class Result, class... Params>
    int64_t call(Result (*SEntryPoints::*member)(Params...), std::type_identity_t<Params>... params)
    {
        return call(functions()[placeOf(&(m_calls.*member))], {toWord(params)...});
    }

    /// Tells the journal what is done now that is no call.
    class CStep
    {
      public:
        CStep(CSubject& subject, const std::string& step) : m_subject(subject) { m_subject.m_journal.note(step); }
        ~CStep() { m_subject.m_journal.note(""); }
        CStep(const CStep&) = delete;
        CStep& operator=(const CStep&) = delete;

      private:
        CSubject& m_subject;
    };

    /// init with a fresh version record.
    int64_t start(obz_context* context = nullptr);
    void end() { call(&SEntryPoints::fini); }

    /// The last call of this thread, as people write it.
    static const std::string& lastCall();
    /// Throws SViolation about the last call of this thread unless the condition holds.
    static void expect(bool condition, const std::string& expected, const std::string& came);
    static void expectStatus(int64_t status, int64_t expected);

    const std::string& name() const { return m_name; }
    const std::string& path() const { return m_path; }
    void* addressOf(const SFunction& function) const { return m_addresses[function.index]; }

  private:
    size_t placeOf(const void* member) const
    {
        const auto* const first = reinterpret_cast<const char*>(&m_calls);
        return static_cast<size_t>(static_cast<const char*>(member) - first) / sizeof(void*);
    }
    void lookUp();

    const std::string m_path;
    const std::string m_name;
    CCallJournal& m_journal;
    void* const m_library;
    std::array<void*, OBZX_FI_ENTRY_POINT_COUNT> m_addresses{};
    SEntryPoints m_calls;  // for the places of its members alone
};

}  // namespace fictl
