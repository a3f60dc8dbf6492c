#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "appliance/core/conventions/error.h"

namespace lumora {

/// Refuses (status malformed) a name that could not stand in every listing and file where the object appears.
///   appliance  letters, digits, "." "_" "-", begins with a letter or digit, at most 64; it is also a folder name
///   host       letters, digits, "." "_" "-", begins with a letter or digit, at most 253
///   LUN        letters, digits, "." "_", begins with a letter or digit, at most 64; the time-image listing has "-" as
///   a mark group      any text of at most 255 bytes without double quote and control characters, no blank at either
///   end,
///              without "luns=" and the section heads of the listings
///   annotation as a group, but "luns=" is free
///   time image as an annotation, and without blanks
void checkName(EObject object, std::string_view name);

/// "64MiB", "1GiB", "512K", "4096": a number of bytes, larger than 0; units are powers of 1024. Status malformed
/// otherwise.
uint64_t parseSize(std::string_view text);

/// The largest unit that gives a whole number: 67108864 is "64MiB", 1000 is "1000B". Never holds a blank.
std::string formatSize(uint64_t bytes);

/// Characters that would break a disk listing (blanks, parentheses, control characters) in the path of a store.
void checkStorePath(std::string_view path);

}  // namespace lumora
