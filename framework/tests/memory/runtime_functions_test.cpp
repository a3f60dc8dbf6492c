#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "framework/include/obzx_runtime.h"
#include "framework/tests/support/scratch.h"

extern "C" int recordLayoutUsesRuntime(void);

namespace {

TEST(RuntimeFunctions, CanBeUsedFromC)
{
    EXPECT_EQ(recordLayoutUsesRuntime(), 0);
}

TEST(RuntimeFunctions, BuffersAreZeroed)
{
    auto* buffer = static_cast<unsigned char*>(obzx_alloc_buf(4096));
    ASSERT_NE(buffer, nullptr);
    for (int i = 0; i < 4096; ++i) {
        ASSERT_EQ(buffer[i], 0);
    }
    obzx_free_buf(buffer, 4096);
}

TEST(RuntimeFunctions, EmptyBufferIsValid)
{
    void* buffer = obzx_alloc_buf(0);
    EXPECT_NE(buffer, nullptr);
    obzx_free_buf(buffer, 0);
}

TEST(RuntimeFunctions, ImpossibleSizesGiveNull)
{
    EXPECT_EQ(obzx_alloc_buf(SIZE_MAX), nullptr);
    EXPECT_EQ(obzx_alloc_buf(static_cast<size_t>(int64_t{-1})), nullptr);
    EXPECT_EQ(obzx_alloc_buf(SIZE_MAX / 2 + 1), nullptr);
}

TEST(RuntimeFunctions, FreeingNothingDoesNothing)
{
    obzx_free_buf(nullptr, 0);
    obzx_free_objid(nullptr);
    obzx_free_objid_array(nullptr, 5);
    obzx_free_provider_list(nullptr);
    obzx_free_fim_list(nullptr);
    obzx_free_snaphandle(nullptr);
    obzx_free_confspec(nullptr);
}

struct SIdentityCase
{
    int32_t size;
    const char* expected;
};

TEST(RuntimeFunctions, IdentityCopiesAtMostTheSize)
{
    const SIdentityCase table[] = {{0, "disk"}, {1, ""},     {2, "d"},           {4, "dis"},
                                   {5, "disk"}, {6, "disk"}, {INT32_MAX, "disk"}};
    for (const SIdentityCase& row : table) {
        const char name[] = "disk";
        obzx_objid* identity = obzx_get_objid(name, row.size, 3);
        ASSERT_NE(identity, nullptr);
        EXPECT_STREQ(identity->name, row.expected) << row.size;
        EXPECT_NE(identity->name, name);
        EXPECT_EQ(identity->size, static_cast<int32_t>(std::strlen(row.expected)) + 1);
        EXPECT_EQ(identity->type, 3);
        obzx_free_objid(identity);
    }
}

TEST(RuntimeFunctions, IdentityReadsNoFurtherThanTheSize)
{
    char name[4];
    std::memcpy(name, "abcd", sizeof name);  // no NUL
    obzx_objid* identity = obzx_get_objid(name, 4, 3);
    ASSERT_NE(identity, nullptr);
    EXPECT_STREQ(identity->name, "abc");
    obzx_free_objid(identity);
}

TEST(RuntimeFunctions, IdentityNeedsANameAndAPossibleSize)
{
    EXPECT_EQ(obzx_get_objid(nullptr, 0, 3), nullptr);
    EXPECT_EQ(obzx_get_objid("disk", -1, 3), nullptr);
    EXPECT_EQ(obzx_get_objid("disk", INT32_MIN, 3), nullptr);
}

TEST(RuntimeFunctions, IdentitiesAreTheSameByTypeAndName)
{
    char disk[] = "disk", same[] = "disk", other[] = "Disk";
    const obzx_objid a{disk, 5, 3}, b{same, 0, 3}, c{disk, 5, 4}, d{other, 5, 3}, none{nullptr, 0, 3},
        none2{nullptr, 9, 3};
    EXPECT_EQ(obzx_objidcmp(&a, &a), 0);
    EXPECT_EQ(obzx_objidcmp(&a, &b), 0);
    EXPECT_NE(obzx_objidcmp(&a, &c), 0);
    EXPECT_NE(obzx_objidcmp(&a, &d), 0);
    EXPECT_NE(obzx_objidcmp(&a, &none), 0);
    EXPECT_NE(obzx_objidcmp(&none, &a), 0);
    EXPECT_EQ(obzx_objidcmp(&none, &none2), 0);
    EXPECT_EQ(obzx_objidcmp(nullptr, nullptr), 0);
    EXPECT_NE(obzx_objidcmp(&a, nullptr), 0);
    EXPECT_NE(obzx_objidcmp(nullptr, &a), 0);
}

TEST(RuntimeFunctions, IdentityArrayIsFreedWithItsIdentities)
{
    auto** identities = static_cast<obzx_objid**>(obzx_alloc_buf(3 * sizeof(obzx_objid*)));
    identities[0] = obzx_get_objid("a", 0, 3);
    identities[2] = obzx_get_objid("b", 0, 3);
    obzx_free_objid_array(identities, 3);  // the leak check is the test
    obzx_free_objid_array(static_cast<obzx_objid**>(obzx_alloc_buf(0)), -1);
}

TEST(RuntimeFunctions, ProviderNodeCopiesItsTexts)
{
    char name[] = "cdpfi", first[] = "one";
    const char* attributes[] = {first, nullptr, "three"};
    const uint16_t version[4] = {7, 0, 1, 2};
    obz_provider_list* node = obzx_build_providerlist_node(name, 11, 12, version, attributes, 3);
    ASSERT_NE(node, nullptr);
    name[0] = first[0] = 'X';
    EXPECT_STREQ(node->name, "cdpfi");
    EXPECT_EQ(node->kind, 11);
    EXPECT_EQ(node->level, 12);
    EXPECT_EQ(std::memcmp(node->version, version, sizeof version), 0);
    ASSERT_EQ(node->attribute_count, 3);
    EXPECT_STREQ(node->attributes[0], "one");
    EXPECT_STREQ(node->attributes[1], "");
    EXPECT_STREQ(node->attributes[2], "three");
    EXPECT_EQ(node->next, nullptr);
    obzx_free_provider_list(node);
}

TEST(RuntimeFunctions, ProviderNodeNeedsOnlyAName)
{
    EXPECT_EQ(obzx_build_providerlist_node(nullptr, 0, 0, nullptr, nullptr, 0), nullptr);
    const char* attributes[] = {"x"};
    obz_provider_list* head = obzx_build_providerlist_node("a", 0, 0, nullptr, nullptr, 5);
    ASSERT_NE(head, nullptr);
    EXPECT_EQ(head->attributes, nullptr);
    EXPECT_EQ(head->attribute_count, 0);
    EXPECT_EQ(head->version[0], 0);
    head->next = obzx_build_providerlist_node("b", 0, 0, nullptr, attributes, -1);
    ASSERT_NE(head->next, nullptr);
    EXPECT_EQ(head->next->attribute_count, 0);
    obzx_free_provider_list(head);
}

TEST(RuntimeFunctions, FimNodeCopiesItsTexts)
{
    char name[] = "Lumora";
    obz_fim_list* head = obzx_build_fim_list_node(name, "1.0", "cdpfi");
    ASSERT_NE(head, nullptr);
    name[0] = 'X';
    EXPECT_STREQ(head->name, "Lumora");
    EXPECT_STREQ(head->version, "1.0");
    EXPECT_STREQ(head->provider, "cdpfi");
    EXPECT_EQ(head->next, nullptr);
    head->next = obzx_build_fim_list_node("b", nullptr, nullptr);
    ASSERT_NE(head->next, nullptr);
    EXPECT_EQ(head->next->version, nullptr);
    obzx_free_fim_list(head);
    EXPECT_EQ(obzx_build_fim_list_node(nullptr, "1.0", "cdpfi"), nullptr);
}

TEST(RuntimeFunctions, SnapshotHandleIsEmptiedAndMayBeFreedTwice)
{
    obz_snaphandle handle = {};
    handle.entries = static_cast<obz_snaphandle_entry*>(obzx_alloc_buf(2 * sizeof(obz_snaphandle_entry)));
    handle.entries[0].node = static_cast<char*>(obzx_alloc_buf(8));
    handle.entries[1].target = static_cast<char*>(obzx_alloc_buf(8));
    handle.count = 2;
    obzx_free_snaphandle(&handle);
    EXPECT_EQ(handle.entries, nullptr);
    EXPECT_EQ(handle.count, 0);
    obzx_free_snaphandle(&handle);
}

TEST(RuntimeFunctions, ParameterListIsFreedWithItsTexts)
{
    auto* head = static_cast<obz_confspec*>(obzx_alloc_buf(sizeof(obz_confspec)));
    head->name = static_cast<char*>(obzx_alloc_buf(4));
    head->help = static_cast<char*>(obzx_alloc_buf(4));
    head->next = static_cast<obz_confspec*>(obzx_alloc_buf(sizeof(obz_confspec)));
    head->next->type = static_cast<char*>(obzx_alloc_buf(4));
    head->next->value = static_cast<char*>(obzx_alloc_buf(4));
    obzx_free_confspec(head);
}

class PlacePath : public obzx_test::CScratch
{
};

TEST_F(PlacePath, LiesBelowTheRootDirectory)
{
    char* placed = obzx_place_path("/etc/qz/unit.conf");
    EXPECT_EQ(placed, root() + "/etc/qz/unit.conf");
    obzx_free_buf(placed, 0);
    placed = obzx_place_path("relative");
    EXPECT_EQ(placed, root() + "/relative");
    obzx_free_buf(placed, 0);
    ::setenv("OBZX_ROOT", (root() + "//").c_str(), 1);
    placed = obzx_place_path("/x");
    EXPECT_EQ(placed, root() + "/x");
    obzx_free_buf(placed, 0);
}

TEST_F(PlacePath, StandsAsItIsWithoutARootDirectory)
{
    for (const char* unset : {"", static_cast<const char*>(nullptr)}) {
        unset == nullptr ? ::unsetenv("OBZX_ROOT") : ::setenv("OBZX_ROOT", unset, 1);
        char* placed = obzx_place_path("/etc/qz/unit.conf");
        EXPECT_STREQ(placed, "/etc/qz/unit.conf");
        obzx_free_buf(placed, 0);
    }
    ::setenv("OBZX_ROOT", "/", 1);
    char* placed = obzx_place_path("/etc");
    EXPECT_STREQ(placed, "/etc");
    obzx_free_buf(placed, 0);
    EXPECT_EQ(obzx_place_path(nullptr), nullptr);
}

}  // namespace
