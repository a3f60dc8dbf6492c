#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <utility>

#include "base/file_descriptor.h"

namespace base {

/// A stream from a child to this process. Both ends are closed in programs that this process starts, lie above the
/// standard streams' numbers, and are none where there is no pipe.
struct SPipe
{
    CFileDescriptor readEnd;  ///< reads from it do not wait
    CFileDescriptor writeEnd;

    explicit operator bool() const noexcept { return readEnd && writeEnd; }
};

/// A new pipe; none, with errno set, when the system has no more.
inline SPipe openPipe() noexcept
{
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) return {};
    CFileDescriptor readEnd(ends[0]);
    CFileDescriptor writeEnd(ends[1]);
    SPipe pipe{aboveStandard(std::move(readEnd)), {}};
    if (!pipe.readEnd) return {};
    pipe.writeEnd = aboveStandard(std::move(writeEnd));
    if (!pipe.writeEnd || ::fcntl(pipe.readEnd.get(), F_SETFL, O_NONBLOCK) != 0) return {};
    return pipe;
}

}  // namespace base
