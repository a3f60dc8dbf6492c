#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace base {

enum class EFileRead : uint8_t
{
    DONE,
    NOT_READABLE,      ///< cannot be opened or read; SFileText::error says why
    NOT_REGULAR_FILE,  ///< a folder, FIFO, socket or device
    TOO_LARGE,         ///< more bytes than the limit
};

/// What became of the reading of a file.
struct SFileText
{
    EFileRead outcome = EFileRead::NOT_READABLE;
    int error = 0;     ///< errno value of NOT_READABLE
    std::string text;  ///< the whole content; empty unless DONE

    explicit operator bool() const { return outcome == EFileRead::DONE; }
};

/// What to say of a file that was not read, such as "Permission denied" or "larger than 4096 bytes".
std::string reasonOf(const SFileText& read, size_t limit);

/// Reads a regular file of at most limit bytes. Whatever the path names is opened without waiting, so that a FIFO or a
/// device in a file's place cannot stop the program. Also for files of /proc, whose size is not known before.
/// @throw std::bad_alloc
SFileText readFile(const std::string& path, size_t limit);

/// Reads from an open file at an offset until size bytes or its end, whatever signals come; the file's own offset
/// stays.
/// @return bytes read; negative, with errno set, when it cannot be read
ptrdiff_t readAt(int file, char* bytes, size_t size, uint64_t offset) noexcept;

}  // namespace base
