#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace lumora {

/// Refuses with what a call of librados or librbd returned, a negative errno value:
/// `cannot remove image "v1" of pool "images": Directory not empty`. Status missing for what is not there, exists, in
/// use for what another object or client needs, unusable where the user may not, else storage.
[[noreturn]] void throwCeph(std::string_view doing, const std::string& object, int64_t code);

/// Refuses when the code is negative.
inline void checkCeph(int64_t code, std::string_view doing, const std::string& object)
{
    if (code < 0) throwCeph(doing, object, code);
}

/// `image "v1" of pool "images"`.
std::string imageInWords(std::string_view image, std::string_view pool);
/// `group "g1" of pool "images"`.
std::string groupInWords(std::string_view group, std::string_view pool);
/// `content "c1" of group "g1" of pool "images"`.
std::string contentInWords(std::string_view content, std::string_view group, std::string_view pool);

}  // namespace lumora
