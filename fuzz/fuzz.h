#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

/// What every fuzz target defines: takes one input and ends the process when a property does not hold.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace fuzz {

/// Ends the process when a property does not hold; the fuzzer then keeps the input.
inline void require(bool holds, const char* property)
{
    if (holds) return;
    std::fprintf(stderr, "property does not hold: %s\n", property);
    std::abort();
}

/// The input as text; the bytes are the input's own, so that a read past its end is seen.
inline std::string_view textOf(const uint8_t* data, size_t size)
{
    return {reinterpret_cast<const char*>(data), size};
}

/// Whether a view lies within one of the texts.
inline bool isWithin(std::string_view view, const std::vector<std::string>& texts)
{
    if (view.empty()) return true;
    for (const std::string& text : texts) {
        if (view.data() >= text.data() && view.data() + view.size() <= text.data() + text.size()) return true;
    }
    return false;
}

/// Hands out the bytes of an input from left to right; 0 when there are none left.
class CInput
{
  public:
    CInput(const uint8_t* data, size_t size) : m_rest(textOf(data, size)) {}

    uint8_t byte()
    {
        if (m_rest.empty()) return 0;
        const auto value = static_cast<uint8_t>(m_rest.front());
        m_rest.remove_prefix(1);
        return value;
    }

    uint64_t number()
    {
        uint64_t value = 0;
        for (int i = 0; i < 8; ++i) {
            value = value << 8U | byte();
        }
        return value;
    }

    std::string_view text(size_t most)
    {
        const std::string_view taken = m_rest.substr(0, most);
        m_rest.remove_prefix(taken.size());
        return taken;
    }

    std::string_view rest() const { return m_rest; }

  private:
    std::string_view m_rest;
};

}  // namespace fuzz
