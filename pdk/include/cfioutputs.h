#pragma once

namespace obzx_pdk_4_4 {

/// Sets the outputs of a call to null or 0; an output that is itself null is passed over. Called before anything else,
/// so that the outputs are defined whatever fails later.
template <class... T>
void clearOutputs(T*... outputs) noexcept
{
    const auto clear = [](auto* output) {
        if (output != nullptr) *output = {};
    };
    (clear(outputs), ...);
}

}  // namespace obzx_pdk_4_4
