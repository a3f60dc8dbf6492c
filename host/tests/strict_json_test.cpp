#include "host/src/text/strict_json.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace {

using namespace fictl;

std::string refusal(const std::string& text, int deepest = 3)
{
    try {
        parseStrictly(text, deepest);
        return "taken";
    } catch (const EStrictJson& error) {
        return error.what();
    }
}

std::string refusedKeys(const std::string& text)
{
    try {
        requireKeys(parseStrictly(text, 3), {"a", "b"}, "it");
        return "taken";
    } catch (const EStrictJson& error) {
        return error.what();
    }
}

TEST(StrictJson, RefusesWhatTheParserWouldPassOver)
{
    EXPECT_EQ(refusal(R"({"a": [{"b": 1}]})"), "taken");
    EXPECT_EQ(refusal(R"({"a": [{"b": [1]}]})"), "it is nested too deeply");
    EXPECT_EQ(refusal(R"({"a": 1, "b": {"c": 1, "c": 2}})"), "key \"c\" stands twice");
    EXPECT_EQ(refusal(R"({"a": {"c": 1}, "b": {"c": 2}})"), "taken");
    EXPECT_NE(refusal("{"), "taken");
    EXPECT_NE(refusal(""), "taken");
}

TEST(StrictJson, AsksForTheKeysAndNoOthers)
{
    EXPECT_EQ(refusedKeys(R"({"a": 1, "b": 2})"), "taken");
    EXPECT_EQ(refusedKeys(R"({"a": 1})"), "it has no \"b\"");
    EXPECT_EQ(refusedKeys(R"({"a": 1, "b": 2, "c": 3})"), "it has the unknown key \"c\"");
    EXPECT_EQ(refusedKeys("[]"), "it is not an object");
}

}  // namespace
