#pragma once

/**
 * A resolver that nobody answers for. The program defines getaddrinfo itself; being the program, its definition comes
 * before that of the C library. A question is held up for a moment and then given up, as one is after all attempts.
 */
namespace dead_resolver {

/// Questions since the process began.
int questions();
/// The most that were asked about one name since the last call of this function.
int takeMostOfOneName();

}  // namespace dead_resolver
