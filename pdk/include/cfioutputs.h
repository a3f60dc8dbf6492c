#pragma once

namespace obzx_pdk_4_4 {

/// Sets the outputs of a call to null or 0, those that are there. Done first, so that they are so whatever fails after.
template <class... T>
void clearOutputs(T*... outputs) noexcept
{
    const auto clear = [](auto* output) {
        if (output != nullptr) *output = {};
    };
    (clear(outputs), ...);
}

}  // namespace obzx_pdk_4_4
