#include "providers/cdp/tests/support/expected_file.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include "base/tests/text_file.h"

namespace cdpfi {

namespace fs = std::filesystem;

namespace {

fs::path nameOf(const testing::TestInfo& test)
{
    std::string suite = test.test_suite_name();
    suite.erase(0, suite.find('/') + 1);  // the name of the instantiation
    std::string name = test.name();
    std::ranges::replace(name, '/', '.');
    return fs::path(suite) / name;
}

}  // namespace

void expectFile(const std::string& folder, const std::string& suffix, const std::string& actual)
{
    fs::path path = folder / nameOf(*testing::UnitTest::GetInstance()->current_test_info());
    path += suffix;
    const char* const written = std::getenv("WRITE_EXPECTED");  // NOLINT(concurrency-mt-unsafe)
    if (written == nullptr) {
        EXPECT_EQ(base_test::contentOf(SOURCE_FOLDER / path), actual) << path << "; script/expected --update writes it";
        return;
    }
    EXPECT_TRUE(!fs::exists(written / path) || base_test::contentOf(written / path) == actual)
        << path << " is two texts";
    base_test::writeFile(written / path, actual);
}

}  // namespace cdpfi
