#pragma once

#include <bit>
#include <cstdint>
#include <type_traits>
#include <vector>

namespace fictl {

/// Arguments of any function, each as it lies in a register.
using CWords = std::vector<uint64_t>;

template <class T>
uint64_t toWord(T value)
{
    if constexpr (std::is_pointer_v<T>) {
        return std::bit_cast<uint64_t>(value);
    } else {
        return static_cast<uint64_t>(static_cast<int64_t>(value));
    }
}

template <class T>
T fromWord(uint64_t word)
{
    if constexpr (std::is_pointer_v<T>) {
        return std::bit_cast<T>(word);
    } else {
        return static_cast<T>(static_cast<int64_t>(word));
    }
}

}  // namespace fictl
