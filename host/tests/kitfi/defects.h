#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "framework/include/obz_entry_points.h"

namespace kitfi {

/// A call of a function while a defect works on it.
struct SCall
{
    const char* function;
    uint64_t* words;          ///< its arguments, which the good provider is given then
    size_t count;             ///< of the words
    uint64_t pointers;        ///< bit I: word I is a pointer
    uint64_t texts;           ///< bit I: word I is a text that goes in
    int64_t status = 0;       ///< that the host is given
    bool isAnswered = false;  ///< the good provider is not asked

    template <class T>
    T* pointer(size_t place) const
    {
        return reinterpret_cast<T*>(words[place]);
    }
    bool isPointer(size_t place) const { return ((pointers >> place) & 1U) != 0; }
    bool isText(size_t place) const { return ((texts >> place) & 1U) != 0; }
    void answer(int64_t with)
    {
        status = with;
        isAnswered = true;
    }
};

/// In which calls the defect shows.
using When = bool (*)(const SCall& call);
/// What it does there.
using Action = void (*)(SCall& call);

/// A single defect.
struct SDefect
{
    const char* name;
    const char* check;     ///< that must find it
    const char* function;  ///< that has it; empty: each
    When when;
    Action before;  ///< the good provider is asked; null: nothing
    Action after;   ///< the same behind it
};

/// All, each with a name of its own; one source for a few checks.
std::span<const SDefect> argumentDefects();
std::span<const SDefect> orderDefects();
std::span<const SDefect> snapshotDefects();
std::span<const SDefect> memoryDefects();
std::span<const SDefect> processDefects();

/// The defect that the environment names (KITFI_DEFECT); null: none.
const SDefect* chosenDefect();

/// What the calls so far have come to.
struct SSoFar
{
    int inits = 0;  ///< calls of init, with those that are under way
    int finis = 0;
    int lives = 0;        ///< inits that followed a fini, or came first
    int calls = 0;        ///< of the function that has the defect
    bool isLive = false;  ///< between init and fini
    int inside = 0;       ///< calls of init that are under way
};
const SSoFar& soFar();
/// To be told of each call: before the good provider is asked, and behind it.
void enter(const SCall& call);
void leave(const SCall& call);

}  // namespace kitfi
