#pragma once

#include "pdk/tests/entry_calls.h"

namespace pdktest {

/// What a provider of its own answers where the framework's operations would answer something else.
struct SOwnAnswers
{
    std::string_view name;
    std::string_view parameters;  // as in SEntryFacts; a digit is the status for a null in that place
    int32_t status;               // without a null
    int32_t allNullStatus;
};
using COwnAnswers = std::vector<SOwnAnswers>;

/// Calls every entry point of a provider with nulls and expects the documented status.
class CNullMatrix
{
  public:
    explicit CNullMatrix(const CLoadedProvider& provider, COwnAnswers answers = {})
        : m_provider(provider), m_answers(std::move(answers))
    {
    }

    void callWithEachPointerNull();
    void callWithAllPointersNull();
    void callWithNothingButZeroes();
    void callWithoutANull();

  private:
    SOwnAnswers answersOf(const SEntryType& type) const;
    void expectStatus(const SEntryType& type, const CWords& words, int32_t expected);

    const CLoadedProvider& m_provider;
    COwnAnswers m_answers;
    CHostObjects m_objects;
};

/// Valid arguments, with a buffer of the runtime's where the call frees it.
CWords argumentsToConsume(const SEntryType& type, CHostObjects& objects);

/// Frees what a call has handed out.
void freeOutputs(const SEntryType& type, const CWords& words);

}  // namespace pdktest
