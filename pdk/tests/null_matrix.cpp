#include "pdk/tests/null_matrix.h"

#include <gtest/gtest.h>

#include "framework/include/obzx_runtime.h"

namespace pdktest {
namespace {

int32_t nullStatus(const SEntryFacts& facts, const SOwnAnswers& answers, size_t place)
{
    const char kind = answers.parameters[place];
    if (kind == 'n') return facts.nullStatus;
    return kind == 'o' ? answers.status : kind - '0';
}

template <class T>
T* outputOf(const CWords& words, size_t place)
{
    return words[place] == 0 ? nullptr : *fromWord<T**>(words[place]);
}

/// Takes nodes that the call may have set up down again.
void deinitNodes(const CLoadedProvider& provider, const SEntryType& type, const CWords& words)
{
    std::vector<size_t> places;
    if (type.name == "init_node" || type.name == "process_providerstate") places = {0};
    if (type.name == "init_altnode" || type.name == "init_remnode") places = {0, 2};
    for (const size_t place : places) {
        provider.get<obzx_fi_deinit_node_fn>("deinit_node")(fromWord<obz_domain*>(words[place]));
    }
}

}  // namespace

void freeOutputs(const SEntryType& type, const CWords& words)
{
    if (type.name == "get_provider_info") obzx_free_provider_list(outputOf<obz_provider_list>(words, 0));
    if (type.name == "enumerate_fims") obzx_free_fim_list(outputOf<obz_fim_list>(words, 0));
    if (type.name == "config") obzx_free_confspec(outputOf<obz_confspec>(words, 3));
    if (type.name == "objctl") free(outputOf<char>(words, 2));
    if (type.name == "get_locale_message") obzx_free_buf(outputOf<char>(words, 2), 0);
    if (type.name == "errmsg") obzx_free_buf(outputOf<char>(words, 1), 0);
}

CWords argumentsToConsume(const SEntryType& type, CHostObjects& objects)
{
    CWords words = validArguments(type, objects);
    if (type.name == "del_last_error" || type.name == "del_locale_message") {
        words[0] = testfi::toWord(obzx_alloc_buf(256));
    }
    return words;
}

SOwnAnswers CNullMatrix::answersOf(const SEntryType& type) const
{
    for (const SOwnAnswers& answers : m_answers) {
        if (answers.name == type.name) return answers;
    }
    const SEntryFacts& facts = factsOf(type.name);
    const bool needsAny = facts.parameters.find('n') != std::string_view::npos;
    return {facts.name, facts.parameters, facts.defaultStatus, needsAny ? facts.nullStatus : facts.defaultStatus};
}

void CNullMatrix::expectStatus(const SEntryType& type, const CWords& words, int32_t expected)
{
    EXPECT_EQ(type.invoke(m_provider.find(type.name), words), expected);
    freeOutputs(type, words);
    deinitNodes(m_provider, type, words);
}

void CNullMatrix::callWithEachPointerNull()
{
    for (const SEntryType& type : entryTypes()) {
        for (size_t i = 0; i < type.isPointer.size(); ++i) {
            if (!type.isPointer[i]) continue;
            SCOPED_TRACE(type.name + ", pointer " + std::to_string(i));
            CWords words = validArguments(type, m_objects);
            words[i] = 0;
            expectStatus(type, words, nullStatus(factsOf(type.name), answersOf(type), i));
        }
    }
}

void CNullMatrix::callWithAllPointersNull()
{
    for (const SEntryType& type : entryTypes()) {
        if (type.name == "fini") continue;
        SCOPED_TRACE(type.name);
        CWords words = validArguments(type, m_objects);
        for (size_t i = 0; i < words.size(); ++i) {
            if (type.isPointer[i]) words[i] = 0;
        }
        expectStatus(type, words, answersOf(type).allNullStatus);
    }
}

void CNullMatrix::callWithNothingButZeroes()
{
    for (const SEntryType& type : entryTypes()) {
        if (type.name == "fini") continue;
        SCOPED_TRACE(type.name);
        const int64_t status = type.invoke(m_provider.find(type.name), CWords(type.isPointer.size(), 0));
        EXPECT_TRUE(status == OBZ_OK || status == factsOf(type.name).nullStatus || status == OBZ_ERR_UNSUPPORTED)
            << status;
    }
}

void CNullMatrix::callWithoutANull()
{
    for (const SEntryType& type : entryTypes()) {
        if (type.name == "fini") continue;
        SCOPED_TRACE(type.name);
        expectStatus(type, argumentsToConsume(type, m_objects), answersOf(type).status);
    }
}

}  // namespace pdktest
