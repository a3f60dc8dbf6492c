#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "appliance/core/conventions/error.h"

namespace lumora {

/// Refuses (status malformed) a name that could not stand in every listing and file where the object appears. Bytes at
/// most, and what the name is made of:
///
///   appliance   64   letters, digits, "." "_" "-"; none of the store's own files, since it is also a folder's name
///   host       253   letters, digits, "." "_" "-"
///   LUN         64   letters, digits, "." "_"; the time-image listing has "-" as a mark
///   group      255   any text without "luns=" and the section heads of the listings
///   annotation 255   as a group, but "luns=" is free
///   time image 255   as an annotation, and without blanks
///
/// The first three begin with a letter or digit. The others are valid UTF-8 without control characters and double
/// quotes, and have no blank at either end.
void checkName(EObject object, std::string_view name);

/// "64MiB", "1GiB", "512K", "4096": a number of bytes, larger than 0; units are powers of 1024. Status malformed
/// otherwise.
uint64_t parseSize(std::string_view text);

/// The largest unit that gives a whole number: 67108864 is "64MiB", 1000 is "1000B". Never holds a blank.
std::string formatSize(uint64_t bytes);

/// Characters that would break a disk listing (blanks, parentheses, control characters) in the path of a store.
void checkStorePath(std::string_view path);

}  // namespace lumora
