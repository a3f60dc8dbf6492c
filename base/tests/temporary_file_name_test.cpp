#include "base/temporary_file_name.h"

#include <gtest/gtest.h>

namespace {

TEST(TemporaryFileName, TellsItsMaker)
{
    const base::STemporaryFileMaker maker{
        .place = base::processPlace("boot", "pid:[1]"), .pid = 4711, .startTime = 123456};
    const std::string name = "job" + base::temporaryFileMark(maker) + "aB3dE9";
    EXPECT_EQ(base::temporaryFileMaker(name, "job"), maker);
    EXPECT_EQ(base::temporaryFileMaker(name, "other"), std::nullopt);
}

TEST(TemporaryFileName, OfAnotherFormTellsNone)
{
    const std::string place = base::processPlace("boot", "pid:[1]");
    for (const std::string& name :
         {std::string("job"), "job" + place, "job" + place + "_", "job" + place + "_5_6_aB3dE",
          "job" + place + "_5_6_aB3dE9x", "job" + place + "_0_6_aB3dE9", "job" + place + "_5_0_aB3dE9",
          "job" + place + "_5_aB3dE9", "job" + place + "x_5_6_aB3dE9", "job" + place.substr(1) + "_5_6_aB3dE9",
          "job" + std::string("X") + place.substr(1) + "_5_6_aB3dE9"}) {
        EXPECT_EQ(base::temporaryFileMaker(name, "job"), std::nullopt) << name;
    }
}

TEST(TemporaryFileName, PlacesAreToldApartByRunAndNamespace)
{
    EXPECT_NE(base::processPlace("boot", "pid:[1]"), base::processPlace("boot", "pid:[2]"));
    EXPECT_NE(base::processPlace("boot", "pid:[1]"), base::processPlace("again", "pid:[1]"));
    EXPECT_EQ(base::processPlace("", "pid:[1]"), "");
    EXPECT_EQ(base::processPlace("boot", ""), "");
    // Files that are there were marked so.
    EXPECT_EQ(base::processPlace("boot", "pid:[1]").size(), 16U);
}

}  // namespace
