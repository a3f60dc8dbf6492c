#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "host/src/provider_check/given_back.h"
#include "host/src/provider_check/subject.h"

namespace fictl {

/// What came of the steps of a snapshot's life, one line for each.
using CTranscript = std::vector<std::string>;

struct SLife
{
    std::string session;
    std::string device;              ///< offered to the provider, which need not serve it
    std::mutex* nodeLock = nullptr;  ///< held where nodes are set up and taken down; null with one thread
    EScribble scribble = EScribble::NO;
};

/**
 * Takes a snapshot of a device through a provider that was started, as a host does: from interpose to the disposal of
 * the copy, with the node's state given to a second node between. Goes on whatever a step returns. Everything that
 * comes out is freed, and nodes are taken down. Throws SViolation as the calls do, and where what came out is not what
 * the host interface says.
 */
CTranscript liveOnce(CSubject& subject, const SLife& life);

/// The first difference of two transcripts in words, for SViolation::came; empty when they are the same.
std::string differenceOf(const CTranscript& expected, const CTranscript& came);

}  // namespace fictl
