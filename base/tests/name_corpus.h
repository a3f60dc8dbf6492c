#pragma once

#include <string>
#include <vector>

namespace base_test {

/// What may have a name.
enum ECarrier : unsigned
{
    NOTHING = 0,
    APPLIANCE = 1U << 0U,
    HOST = 1U << 1U,
    LUN = 1U << 2U,
    GROUP = 1U << 3U,
    ANNOTATION = 1U << 4U,
    IMAGE = 1U << 5U,     ///< time image
    SNAPSHOT = 1U << 6U,  ///< in the catalog of a host
    SERIAL = 1U << 7U,    ///< of a LUN: what every listing of the appliance can carry, and the provider's names, too
};
/// A name that somebody might choose, and what becomes of it.
struct SCorpusName
{
    const char* what;
    std::string name;
    unsigned carriers = NOTHING;  ///< what may have it; everything else refuses it, with the reason
    /// Why no snapshot is taken of a group with that name, wherever it comes from, as it stands behind the name in the
    /// message; empty when everything works with it.
    std::string unusable = {};

    bool isFor(ECarrier carrier) const { return (carriers & carrier) != 0; }
};

/// Names that read like an answer of the appliance, or a part of one; they are in the corpus, too.
const std::vector<SCorpusName>& answerLikeNames();

/// The one list of names that the tests of every layer go through.
const std::vector<SCorpusName>& nameCorpus();
std::vector<SCorpusName> namesFor(ECarrier carrier);

}  // namespace base_test
