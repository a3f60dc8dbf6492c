#pragma once

#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

#include "base/file_descriptor.h"

namespace base {

/// What is to be started, and what of this process it gets. No text holds a NUL.
struct SChildStart
{
    std::vector<std::string> programs;     ///< paths to try in turn, as a search path gives them
    std::vector<std::string> words;        ///< arguments, the name that it goes by first
    std::vector<std::string> environment;  ///< lines NAME=VALUE on top of this process's own
    std::string directory;                 ///< it starts in; empty: this process's

    // Open descriptors, not owned: each above those of the standard streams, or standard error.
    int input = -1;   ///< becomes its standard input
    int output = -1;  ///< becomes its standard output
    int errors = -1;  ///< becomes its standard error

    /// The program is killed as soon as the thread that started it ends, however that ends: for what must not go on
    /// changing things once nobody waits for it any more.
    bool endsWithThread = false;

    /// Asked now and then while the program does not run yet, which lasts when its file system does not answer. True:
    /// nobody waits for it any more. Does not throw. Empty: it is waited for as long as it takes.
    std::function<bool()> isGivenUp = {};
};

/**
 * Starts a program in a process group of its own, with three descriptors and no other, no signal blocked and every
 * signal at its default. The child borrows this process's memory until its program runs, so the cost does not grow
 * with it. 0 and the child's id, or the errno value of what failed, with the id untouched; ECANCELED for one that was
 * given up, which is killed then, and waited for 5 s at most.
 * @throw std::bad_alloc before there is a child
 */
int startChild(const SChildStart& start, pid_t& pid);

/// A file for a child to read, or nothing to read (empty path). Opening does not wait, reading does. None, with errno
/// set, when it cannot be opened.
CFileDescriptor openInput(const std::string& path = {});

/// Pointers to the texts, a null last.
std::vector<char*> pointersTo(const std::vector<std::string>& texts);

/// The environment of this process with lines added or in place of those of the same names, a null last; refers to the
/// texts of both.
std::vector<char*> environmentWith(const std::vector<std::string>& added);

}  // namespace base
