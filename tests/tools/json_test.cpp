#include "io/json.h"

#include <cstdint>
#include <string>
#include <vector>

#include <climits>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace quarv::cli {
namespace {

TEST(JsonValues, ListsOfNamedValuesAreObjects) {
  const std::string name = "a";
  const std::size_t count = 3;
  const Json object = {{"file", name}, {"sizes", {count, 4}}, {"seconds", {{"read", 0.5}, {"print", -2}}}};
  EXPECT_EQ(object.text(), R"({"file":"a","sizes":[3,4],"seconds":{"read":0.5,"print":-2}})");
  Json list = Json::array();
  list.push_back({name, count});
  list.push_back({{"name", name}});
  EXPECT_EQ(list.text(), R"([["a",3],{"name":"a"}])");
  EXPECT_EQ(Json(true).text() + Json().text() + Json::object().text() + Json::array().text(), "truenull{}[]");
}

TEST(JsonValues, ChangeByName) {
  Json json;
  json["b"] = 1;
  json["a"] = Json::array({"x"});
  json["b"] = 2;
  json.update({{"c", "z"}, {"a", false}});
  EXPECT_EQ(json.text(1), "{\n \"b\": 2,\n \"a\": false,\n \"c\": \"z\"\n}");
  json.erase("b");
  json.erase("b");
  EXPECT_EQ(json.text(), R"({"a":false,"c":"z"})");
  EXPECT_TRUE(json.contains("c"));
  EXPECT_FALSE(json.contains("b"));
  EXPECT_EQ(json.string_or("c", ""), "z");
  EXPECT_EQ(json.string_or("d", "none"), "none");
  EXPECT_EQ(json.number_or("d", 7), 7);
  EXPECT_FALSE(json.boolean_or("a", true));
}

TEST(JsonValues, OfAnotherKindAreErrors) {
  const Json json = Json::parse(R"({"text":"1","truth":true,"list":[1],"none":null})");
  EXPECT_THROW(json.at("text").number<int>(), JsonError);
  EXPECT_THROW(json.at("truth").number<int>(), JsonError);
  EXPECT_THROW(json.at("none").string(), JsonError);
  EXPECT_THROW(json.at("list").members(), JsonError);
  EXPECT_THROW(json.at("list").at(1), JsonError);
  EXPECT_THROW(json.at("list").at("a"), JsonError);
  EXPECT_THROW(json.at("nothing"), JsonError);
  EXPECT_THROW(json.elements(), JsonError);
  EXPECT_THROW(json.string_or("truth", ""), JsonError);
}

TEST(JsonValues, NumbersAreInRangeOrErrors) {
  const Json json = Json::parse("[18446744073709551615,-9223372036854775808,255,256,-1,2.75,1e30,0]");
  EXPECT_EQ(json.at(0).number<std::uint64_t>(), UINT64_MAX);
  EXPECT_THROW(json.at(0).number<std::int64_t>(), JsonError);
  EXPECT_EQ(json.at(1).number<std::int64_t>(), INT64_MIN);
  EXPECT_EQ(json.at(2).number<std::uint8_t>(), 255);
  EXPECT_THROW(json.at(3).number<std::uint8_t>(), JsonError);
  EXPECT_THROW(json.at(4).number<std::uint64_t>(), JsonError);
  EXPECT_EQ(json.at(5).number<int>(), 2);
  EXPECT_EQ(json.at(5).number<double>(), 2.75);
  EXPECT_THROW(json.at(6).number<std::int64_t>(), JsonError);
  EXPECT_TRUE(json.at(7).is_count());
  EXPECT_FALSE(json.at(4).is_count());
  EXPECT_FALSE(json.at(5).is_integer());
}

TEST(JsonText, IsReadAndWrittenAsByTheLibrary) {
  for (const char* text :
       {"{}", "[]", "null", "true", "-0.0", "[1.0,1e20,1e-7,-5,123456789012345678901234567890]",
        R"({"b":{"a":[[],{}]},"a":"\u00e9\n\"\\ü\u0000"})", R"({"a":1,"b":2,"a":3})", " [ 1 , 2 ] "}) {
    const auto expected = nlohmann::ordered_json::parse(text);
    EXPECT_EQ(Json::parse(text).text(), expected.dump()) << text;
    EXPECT_EQ(Json::parse(text).text(2), expected.dump(2)) << text;
    EXPECT_EQ(Json::parse(Json::parse(text).text()), Json::parse(text)) << text;
  }
}

TEST(JsonText, ThatIsNoneIsAnError) {
  for (const char* text : {"", "[1", "{\"a\":}", "{1:2}", "[1]x", "nul", "1e999", "\"\xff\"", "'a'"}) {
    EXPECT_THROW(Json::parse(text), JsonError) << text;
  }
}

TEST(JsonText, NestsAHundredDeep) {
  const std::string deep = std::string(100, '[') + std::string(100, ']');
  EXPECT_EQ(Json::parse(deep).text(), deep);
  EXPECT_THROW(Json::parse('[' + deep + ']'), JsonError);
  EXPECT_THROW(Json::parse(std::string(1'000'000, '[')), JsonError);
}

TEST(JsonText, ThatIsNotUnicodeIsAnErrorOrReplaced) {
  const Json json = "a\xff";
  EXPECT_THROW(json.text(), JsonError);
  EXPECT_EQ(json.repaired_text(), "\"a\xef\xbf\xbd\"");
}

}  // namespace
}  // namespace quarv::cli
