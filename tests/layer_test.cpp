// The layer for programs: faults and hints, what the value classes have for it,
// views, trees that are built, fields.

#include "support/property.h"
#include "support/traced.h"

#include <foundation/json/build.h>
#include <foundation/json/fields.h>
#include <foundation/json/files.h>
#include <foundation/json/hint.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace std::string_view_literals;
using namespace support;
using namespace vorn::foundation;
using namespace vorn::foundation::json;
using Kind = JsonFault::Kind;

VORN_TRACED_TEST(LayerTest);

// Has each request of the work fail, of each source. The work says what it has,
// which is all or, where a request failed, may be nothing.
template <class Work, class Check>
void SweepAll(Work work, Check check) {
  for (const Source source : {Source::OperatorNew, Source::ObjectMonitor,
                              Source::MemoryMonitor, Source::List}) {
    for (const bool forever : {false, true}) {
      Account before = Monitor::Now();
      Sweep({source, forever}, work, [&](End end, std::size_t, bool failed) {
        EXPECT_EQ(Monitor::Now(), before);
        check(end, failed);
        return testing::Test::HasFailure();
      });
    }
  }
}

std::string ToText(const JsonFault& fault) {
  return std::to_string(static_cast<int>(fault.kind)) + " " +
         std::to_string(fault.offset) + " " + std::to_string(fault.line) + ":" +
         std::to_string(fault.column) + " " + fault.rule + ": " + fault.message;
}

constexpr const char* kRead = "0 0 0:0 : ";
constexpr const char* kNoMemory = "3 0 0:0 : ";

// What the reader, and the archiver, say of a text.
template <class... Text>
std::string FaultOf(const Text&... text) {
  JsonReader reader;
  JsonArchiver archiver;
  JsonFault fault = {Kind::Malformed, 1, 1, 1, "rule", "message"}, same = fault;
  const bool read = reader.fromString(text..., fault);
  EXPECT_EQ(fault.kind == Kind::None, read);
  EXPECT_EQ(archiver.fromString(text..., same), read);
  EXPECT_EQ(ToText(same), ToText(fault));
  return ToText(fault);
}

TEST_P(LayerTest, AFaultSaysWhyAndWhereATextWasNotRead) {
  // Up to their NUL, and with their length where that differs.
  constexpr struct {
    std::string_view text, fault, sized;
  } kRows[] = {
      {"[1]"sv, kRead, ""},
      {""sv, "2 0 1:1 ParseNumber: number is incorrect", ""},
      {"\n\r\n\r[1,\n  2"sv, "2 11 5:4 ParseArray: missing ']'", ""},
      {"{\"a\r\r\nb\n\": 1}}"sv, "2 13 4:6 Parse: extra data characters", ""},
      {"[\0]"sv, "2 1 1:2 ArraySkip: array ']' mismatching", ""},
      {"1 // \0"sv, kRead, "2 5 1:6 Parse: extra data characters"},
      {"1\0\0"sv, kRead, "2 1 1:2 Parse: extra data characters"}};
  for (const auto& [text, fault, sized] : kRows) {
    const std::string string(text);
    EXPECT_EQ(FaultOf(string.c_str()), fault);
    EXPECT_EQ(FaultOf(SafeString(text)), fault);
    EXPECT_EQ(FaultOf(string), fault);
    EXPECT_EQ(JsonReader().fromString(string), fault == kRead);
    EXPECT_EQ(JsonArchiver().fromString(string), fault == kRead);
    // Nothing behind it is there to be read.
    std::vector<char> bytes(text.begin(), text.end());
    bytes.shrink_to_fit();
    const char* const begin = bytes.empty() ? "" : bytes.data();
    EXPECT_EQ(FaultOf(begin, bytes.size()), sized.empty() ? fault : sized);
  }
  const char* const none = nullptr;
  EXPECT_EQ(FaultOf(none), "1 0 0:0 : ");
  EXPECT_EQ(FaultOf(none, std::size_t{0}), "1 0 0:0 : ");
}

// Has the reader, or archiver, read while requests fail.
template <class Reads>
void ReadWithoutMemory() {
  const auto text = R"([{"a key of some length": [1, "of two"]}])"sv;
  Reads reads;
  JsonFault fault;
  const auto read = [&] {
    const bool done = reads.fromString(text.data(), text.size(), fault);
    reads.fromString(nullptr);
    return done;
  };
  SweepAll(read, [&](End end, bool failed) {
    EXPECT_TRUE(end == End::Passed || failed);
    EXPECT_EQ(ToText(fault), end == End::Passed ? kRead : kNoMemory);
  });
}

TEST_P(LayerTest, WithoutMemoryAFaultHasNoPlace) {
  ReadWithoutMemory<JsonReader>();
  ReadWithoutMemory<JsonArchiver>();
}

TEST_P(LayerTest, WithoutMemoryAFileHasAnError) {
  std::ofstream("layer_test.json") << "[\"a text of some length\"]" << '\0';
  JsonReader reader;
  FileFault fault;
  const auto read = [&] {
    ReadFile("layer_test.json", 99, reader, fault);
    return true;
  };
  SweepAll(read, [&](End, bool) {
    EXPECT_EQ(fault.error, fault.text.kind == Kind::NoMemory ? ENOMEM : 0);
  });
  std::remove("layer_test.json");
}

TEST_P(LayerTest, AHintSaysWhatWasMeant) {
  constexpr struct {
    const char *text, *hint;
  } kRows[] = {
      {"[1, 2", "array that begins at line 1, column 1 is not closed"},
      {"{\"a\":\n {\"b\": [0]", "object that begins at line 2, column 2"},
      {"[\"]\", // [\n {\"\\\\\": [1}]", "begins at line 2, column 9"},
      {"[1,\n \"a\\\"]", "the string that begins at line 2, column 2"},
      {"{\"a\": \"b,\n \"c\": 1}",
       "the string that begins at line 1, column 7"},
      {"[1 2]", "a comma is missing"},
      {"[1 True]", "a comma is missing"},
      {"{\"a\": 1\n \"b\": 2}", "a comma is missing"},
      {"[1,]", "a comma is too many"},
      {"[1,,2]", "a comma is too many"},
      {"{\"a\": 1,}", "a comma is too many"},
      {"\xEF\xBB\xBF{}", "byte order mark"},
      {"\xFF\xFE{", "UTF-16"},
      {"", "the text is empty"},
      {"[NaN]", "not a number is written nan"},
      {"{\"a\": True}", "small letters"},
      {"[1 /* one */]", "begin with //"},
      {"{'a': 1}", "double quotes"},
      {"{a: 1}", "double quotes"},
      {"{\"a\" 1}", "a colon"},
      {"1 2", ""},
      {"[1]", ""}};
  for (const auto& [text, expected] : kRows) {
    JsonFault fault;
    JsonReader().fromString(text, fault);
    const SafeString hint = Hint(fault, text);
    EXPECT_NE(hint.find(expected), hint.npos) << text << ": " << hint;
    EXPECT_EQ(hint.empty(), expected[0] == '\0') << text << ": " << hint;
    // Nothing behind the text is there to be read.
    const std::vector<char> bytes(text, text + std::strlen(text));
    EXPECT_EQ(Hint(fault, std::string_view(bytes.data(), bytes.size())), hint);
  }
  EXPECT_EQ(Hint({Kind::NoText, 0, 0, 0, "", ""}, nullptr), "");
}

enum Small { kSmall = 7 };

// The number that is made from the value, and the one that is set, and what is
// read of them.
template <class T>
std::string NumberText(T value) {
  JNumber set;
  set.setValue(value);
  EXPECT_EQ(set.view(), JNumber(value).view());
  if constexpr (kIsInteger<T>) {
    EXPECT_EQ(set.as<T>(), value);
  }
  return std::string(set.view());
}

TEST_P(LayerTest, MembersAreFoundByEveryKindOfText) {
  const JBool one(1), zero(0);
  EXPECT_TRUE(one.value() && !zero.value());
  JObject object;
  object.setValue("a", Make<JNull>());
  object.setValue({"a\0b", 3}, Make<JString>(SafeString("c\0d", 3)));
  const JObject& fixed = object;
  char array[] = "a";
  const char* const pointer = array;
  for (JBase* found : {object.at("a"), object.at(pointer), object.at(array),
                       object.at(SafeString("a")), object.at({"ab", 1}),
                       object.at({'a'}), object.at("a"sv), fixed.at("a"),
                       fixed.at({"ab", 1}), fixed.at("a"sv)}) {
    EXPECT_EQ(JsonReader::Compress(found), "null");
  }
  EXPECT_TRUE(object.existed({"a\0b", 3}) && fixed.existed("a\0b"sv));
  EXPECT_FALSE(object.existed("a\0"sv));
  EXPECT_EQ(static_cast<JString*>(object.at("a\0b"sv))->view(), "c\0d"sv);
  std::size_t count = 0;
  for (JObject::Cursor member(object); member; ++member) {
    EXPECT_EQ(member.key(), object.keys().at(count++));
    EXPECT_EQ(member.value(), object.at(member.key()));
  }
  EXPECT_EQ(count, object.length());
}

// What a text reads as, "-" if it is absent.
template <class T>
std::string Read(const std::string& text) {
  JNumber number;
  EXPECT_TRUE(number.fromString(SafeString(text))) << text;
  const auto value = View(&number).as<T>();
  char digits[64];
  return {digits, value ? std::to_chars(digits, digits + 64, *value).ptr
                        : std::fill_n(digits, 1, '-')};
}

TEST(ViewTest, ANumberIsReadAsEveryTypeAndMadeOfIt) {
  const std::string zeros(400, '0');
  const std::pair<std::string, std::string> kRows[] = {
      {Read<int>("2147483647"), "2147483647"},
      {Read<int>("-2147483648"), "-2147483648"},
      {Read<int>("2147483648") + Read<int>("1.0") + Read<int>("1e3"), "---"},
      {Read<int>("nan") + Read<std::int8_t>("128"), "--"},
      {Read<std::int8_t>("-128") + Read<std::uint8_t>("255"), "-128255"},
      {Read<unsigned>("-1") + Read<unsigned>("-0"), "-0"},
      {Read<std::uint64_t>("18446744073709551615"), "18446744073709551615"},
      {Read<std::uint64_t>("18446744073709551616"), "-"},
      {Read<std::uint64_t>("0xFFFFFFFFFFFFFFFF"), "18446744073709551615"},
      {Read<std::int64_t>("0xFFFFFFFFFFFFFFFF"), "-"},
      {Read<double>("0x10"), "16"},
      {Read<double>("123456789012345678901"), "123456789012345683968"},
      {Read<double>("-inf") + Read<double>("nan"), "-infnan"},
      {Read<double>("1e400") + Read<double>("-1E+99999999999999999999"), "--"},
      {Read<double>("1e-400") + Read<double>("-1e-99999999999999999999"),
       "0-0"},
      {Read<double>("0." + zeros + "1e+5"), "0"},
      {Read<double>("1" + zeros + "e-5"), "-"},
      {Read<double>("5e-324"), "5e-324"},
      {Read<float>("16777217.0000000001"), "16777218"},
      {Read<float>("1e39") + Read<float>("1e-60"), "-0"},
      {NumberText(short{-7}) + NumberText(std::uint8_t{200}), "-7200"},
      {NumberText(4000000000u), "4000000000"},
      {NumberText(-2000000000L) + NumberText(std::size_t{3}), "-20000000003"},
      {NumberText(~0ull), "18446744073709551615"},
      // These could be before all integers could.
      {NumberText(7) + NumberText('a') + NumberText(true), "7971"},
      {NumberText(kSmall) + NumberText(0.5f) + NumberText(5.0), "70.55.0"}};
  for (const auto& [text, expected] : kRows) EXPECT_EQ(text, expected);
}

TEST_P(LayerTest, AViewFindsWhatIsThereWithoutMemory) {
  JsonReader reader;
  ASSERT_TRUE(reader.fromString(R"({"wifi": {"a/b": 1, "m~n": [4, 5], "": 6},
      "on": false, "name": "pump", "list": [1, [2], null]})"));
  const View root(reader), absent;
  constexpr struct {
    std::string_view path;
    const char* found;
  } kPaths[] = {{"/wifi/a~1b", "1"}, {"/wifi/m~0n/1", "5"},
                {"/wifi/", "6"},     {"/list/1/0", "2"},
                {"/list/2", "null"}, {"/list/01", ""},
                {"/list/-", ""},     {"/list/3", ""},
                {"/list/0x1", ""},   {"/list/1x1", ""},
                {"/list/-0", ""},    {"/list/", ""},
                {"/wifi/a~2b", ""},  {"/wifi/m~n", ""},
                {"/wifi/m~0", ""},   {"/wifi/m~0nn", ""},
                {"wifi", ""},        {"/on/0", ""},
                {"/wifi/m~", ""},    {"/list/99999999999999999999", ""}};
  std::vector<View> views(std::size(kPaths));
  Monitor::FailRequest(Source::MemoryMonitor, 0, true);
  Monitor::FailRequest(Source::OperatorNew, 0, true);
  std::transform(std::begin(kPaths), std::end(kPaths), views.begin(),
                 [&](const auto& row) { return root.at(row.path); });
  int sum = 0;
  for (auto [key, value] : root["wifi"].members()) {
    sum += value.value(0) + static_cast<int>(key.size());
  }
  for (View element : root["list"]) sum += element ? 100 : 0;
  const bool same = root["name"].value("none") == "pump" &&
                    root["none"].value("none") == "none" && !root["list"][3] &&
                    root["none"].value(static_cast<char*>(nullptr)).empty() &&
                    !root["list"][static_cast<std::size_t>(-1)];
  Monitor::StopFailing();
  EXPECT_TRUE(same);
  EXPECT_EQ(sum, 1 + 6 + 3 + 3 + 300);
  auto view = views.begin();
  for (const auto& [path, found] : kPaths) {
    EXPECT_EQ(JsonReader::Compress((view++)->get()), found) << path;
  }
  EXPECT_EQ(root.at("").get(), reader.getJson());
  EXPECT_EQ(root.size() + root["list"].size() + root["name"].size(), 7u);
  EXPECT_EQ(root["on"].as<bool>(), false);
  EXPECT_FALSE(root["on"].as<int>() || root["name"].as<int>());
  EXPECT_TRUE(root["list"][2].is(JType::Null) && !absent.is(JType::Null));
  EXPECT_FALSE(absent || absent["a"][1].at("/b") || absent.size() != 0);
  for (const View none : {absent, root, root["on"]}) {
    for (View element : none) ADD_FAILURE() << element.size();
  }
  for (const View none : {absent, root["list"], root["on"]}) {
    for (auto [key, value] : none.members()) ADD_FAILURE() << key;
  }
}

TEST_P(LayerTest, ATreeIsBuiltOrNothingIs) {
  const generic::ScopedPointer<JArray> history(Make<JArray>());
  JsonReader reader, expected;
  ASSERT_TRUE(
      reader.fromString(R"({"a": [1, {"b": "a text of some length"}]})"));
  ASSERT_TRUE(
      expected.fromString(R"([{"name": "pump", "list": [0.5, 4000000000],
      "null": null, "copy": [1, {"b": "a text of some length"}], "last": null, "": null,
      "deep": {"one more text of some length": []}, "flag": true}])"));
  const std::string text = "one more text of some length";
  const char* const none = nullptr;
  const auto build = [&] {
    auto named = MakeArray(Here(), 0.5f, 4000000000u);
    auto pump = MakeObject(Here(), "name", text, "list"sv, std::move(named),
                           "null", none, SafeString("copy"), View(reader)["a"],
                           "last", View(reader)["c"], "flag", true, "deep",
                           MakeObject(Here(), text, MakeArray(Here())));
    Set(Here(), *pump.get(), "name", "pump", "last",
        generic::ScopedPointer<JBase>(), none, nullptr);
    Append(Here(), *history.get(), std::move(pump));
    const bool built = JsonReader::IsEqual(history.get(), expected.getJson());
    history->clear();
    return built;
  };
  SweepAll(build, [&](End end, bool failed) {
    EXPECT_EQ(end, failed ? End::Exhausted : End::Passed);
  });
}

TEST_P(LayerTest, WhatIsBuiltHasTheTagOfItsLine) {
  const JNumber number(1);
  MakeArray({"pump.cpp", 7, "Fill"}, 1, View(&number)).reset();
  EXPECT_EQ(Monitor::TakeCalls(),
            "+pump.cpp:7 Fill #1+pump.cpp:7 Fill #2"
            "+../json/json:399 clone #3-#1-#2-#3");
  EXPECT_EQ(Here().line, __LINE__);
}

struct Part {
  std::string name;
  std::uint8_t pin = 0;
  double scale = 1;
  std::vector<bool> flags;
  std::vector<Part> parts;

  template <class Fields>
  void list(Fields& fields) {
    fields.required("name", name);
    fields.required("pin", pin, 1, 63);
    fields.optional("scale", scale);
    fields.optional("flags", flags);
    fields.optional("parts", parts);
    if (name == "access null") throw lang::Exception("", name.c_str());
  }
};

TEST_P(LayerTest, FieldsAreLoadedAsTheyWereSaved) {
  JsonArchiver written, again;
  SaveFields(written, Part{"a", 1, 0.5, {true, false}, {{"b", 2, 2, {}, {}}}});
  Part loaded;
  for (const double scale : {NAN, INFINITY}) {
    SaveFields(again, Part{"a", 1, scale, {}, {}});
    LoadFields(again, "part", loaded);
    again.fromString(nullptr);
  }
  EXPECT_EQ(loaded.scale, INFINITY);
  LoadFields(written, "part", loaded);
  SaveFields(again, loaded);
  EXPECT_EQ(again.compress(), written.compress());
  constexpr struct {
    const char *text, *fault;
  } kRows[] = {
      {"[]", "part: expected an object"},
      {R"({"name": "access null", "pin": 1})", ": access null"},
      {R"({"name": "", "pin": 1, "scale": "x"})", "part.scale: expected a num"},
      {R"({"name": "", "pin": 1, "flags": [true, 0]})",
       "part.flags[1]: expected true or false"},
      {R"({"name": "", "pin": 1, "parts": [{"name": ""}]})",
       "part.parts[0].pin: is missing"}};
  for (const auto& [text, expected] : kRows) {
    ASSERT_TRUE(again.fromString(text));
    try {
      LoadFields(again, "part", loaded);
      ADD_FAILURE() << text;
    } catch (const lang::Exception& fault) {
      const std::string said = std::string(fault.where()) + ": " + fault.what();
      EXPECT_EQ(said.find(expected), 0u) << said;
    }
  }
}

}  // namespace
