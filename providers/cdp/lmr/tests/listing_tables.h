#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/tests/text_file.h"
#include "providers/cdp/lmr/tests/answers.h"

namespace cdpfi {

using CListingLines = std::vector<std::string>;

/// A text and what a reader of listings makes of it.
struct SListingCase
{
    std::string text;
    std::string result;
};

/// Compares what a reader, a function from text to text, makes of each.
template <class Reader>
void expectAll(const Reader& reader, const std::vector<SListingCase>& cases)
{
    for (const SListingCase& entry : cases) {
        EXPECT_EQ(entry.result, reader(entry.text)) << entry.text;
    }
}

/// A whole listing of each kind, to be cut and changed.
namespace sample {

inline const std::string HOSTS = "backup01 10.0.0.7\nbackup02 10.0.0.8\n\nbackup03\n";
inline const std::string GROUPS = "Groups:\n" + answers::groupLine("cg1", 3) + answers::groupLine("cg 2", 1);
inline const std::string GROUP =
    answers::group("cg1", {{"/dev/sdb", "ABC123"}, {"  /dev/sdc", "ABC124"}}, {"backup01"});
inline const std::string TIME_IMAGES = answers::timeImages({"ti1", "ti2"});
inline const std::string TIME_IMAGE = answers::timeImage(
    "ti1", {{{"/dev/t0", "T0"}, {"/dev/sdb", "ABC123"}}, {{"/dev/t1", "T1"}, {"/dev/sdc", "ABC124"}}});
inline const std::string DISKS = answers::disks({{"/dev/sdb", "ABC123"}, {"/dev/sdc", "ABC124"}});

}  // namespace sample

}  // namespace cdpfi
