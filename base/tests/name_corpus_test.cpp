// The corpus itself: a name that stands twice or says nothing would test less than it seems to.
#include "base/tests/name_corpus.h"

#include <gtest/gtest.h>

#include <set>

namespace base_test {

TEST(NameCorpus, HoldsEachNameOnceAndSaysWhatItIs)
{
    std::set<std::string> names;
    for (const SCorpusName& name : nameCorpus()) {
        EXPECT_TRUE(names.insert(name.name).second) << name.name;
        EXPECT_STRNE(name.what, "") << name.name;
    }
    EXPECT_GE(names.size(), 100U);
}

TEST(NameCorpus, HasNamesForEverything)
{
    for (const ECarrier carrier : {APPLIANCE, HOST, LUN, GROUP, ANNOTATION, IMAGE, SNAPSHOT, SERIAL}) {
        EXPECT_GE(namesFor(carrier).size(), 20U) << carrier;
        EXPECT_LT(namesFor(carrier).size(), nameCorpus().size()) << carrier;
    }
}

}  // namespace base_test
