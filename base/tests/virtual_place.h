#pragma once

#include <cstdint>
#include <cstring>
#include <stdexcept>

namespace base_test {

/// Place of a virtual function in the table of the class that declares it, from 0; the compilers of this system keep it
/// in the pointer. A destructor takes two places. @throw std::logic_error for a function that is not virtual
template <class Member>
int placeOf(Member member)
{
    struct SPointer
    {
        std::intptr_t place;  // 1 + offset in the table
        std::intptr_t adjustment;
    } pointer;
    static_assert(sizeof member == sizeof pointer);
    std::memcpy(&pointer, &member, sizeof pointer);
    constexpr auto WIDTH = static_cast<std::intptr_t>(sizeof(void*));
    if (pointer.adjustment != 0 || pointer.place % WIDTH != 1) throw std::logic_error("no place in a table");
    return static_cast<int>((pointer.place - 1) / WIDTH);
}

}  // namespace base_test
