// Each defect that a provider can have is found, in the check that is there for it; and each check finds some.
#include <cstdlib>
#include <set>

#include "base/tests/environment_value.h"
#include "host/src/provider_check/checks.h"
#include "host/tests/fictl_fixture.h"
#include "host/tests/kitfi/defects.h"

namespace kitfi {

// What a parameter is called where a test fails.
std::ostream& operator<<(std::ostream& stream, const SDefect& defect);
std::ostream& operator<<(std::ostream& stream, const SDefect& defect)
{
    return stream << defect.name;
}

}  // namespace kitfi

namespace {

using kitfi::SDefect;

std::vector<SDefect> allDefects()
{
    std::vector<SDefect> all;
    for (const auto defects : {kitfi::argumentDefects(), kitfi::orderDefects(), kitfi::snapshotDefects(),
                               kitfi::memoryDefects(), kitfi::processDefects()}) {
        all.insert(all.end(), defects.begin(), defects.end());
    }
    return all;
}

// Checks that look at the heap as the C library counts it, which a sanitizer replaces.
bool needsTheHeap(const SDefect& defect)
{
    return std::string(defect.check).starts_with("memory") || std::string(defect.name) == "leaks-by-load";
}

// What the time limit of a check is there for; any other defect is to be found without it.
bool hangs(const SDefect& defect)
{
    const std::set<std::string> hanging = {"callback-hangs", "hangs-on-another-thread", "lock-left"};
    return hanging.contains(defect.name);
}

bool isSanitized()
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    return true;
#else
    return false;
#endif
}

class ProviderWithADefect : public CFictlTest, public testing::WithParamInterface<SDefect>
{
};

TEST_P(ProviderWithADefect, FailsInTheCheckThatIsThereForIt)
{
    const SDefect& defect = GetParam();
    if (isSanitized() && needsTheHeap(defect)) GTEST_SKIP() << "the sanitizer's allocator does not count";
    const base_test::CEnvironmentValue chosen("KITFI_DEFECT", defect.name);
    const SRun found =
        run({"provider", "check", FICTL_GOOD_PROVIDER, "--only", defect.check, "--limit", hangs(defect) ? "5" : "100"});
    EXPECT_EQ(found.exit, 8) << found.out << found.err;
    EXPECT_EQ(found.out.find("did not end within") != std::string::npos, hangs(defect)) << found.out;
    EXPECT_EQ(found.out.find(std::string(defect.check) + ": FAIL: "), 0U) << found.out;
}

INSTANTIATE_TEST_SUITE_P(, ProviderWithADefect, testing::ValuesIn(allDefects()), [](const auto& each) {
    std::string name = each.param.name;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
});

TEST(ProviderDefects, EachHasANameOfItsOwn)
{
    std::set<std::string> names;
    for (const SDefect& defect : allDefects()) {
        EXPECT_TRUE(names.insert(defect.name).second) << defect.name;
    }
    EXPECT_GE(names.size(), 60U);
}

TEST(ProviderDefects, EachCheckFindsOne)
{
    std::set<std::string> finding = {"library", "symbols"};  // by libraries of their own: provider_check_test.cpp
    for (const SDefect& defect : allDefects()) {
        finding.insert(defect.check);
    }
    std::set<std::string> checks;
    for (const fictl::SProviderCheck& check : fictl::providerChecks()) {
        checks.insert(check.name);
    }
    EXPECT_EQ(finding, checks);
}

}  // namespace
