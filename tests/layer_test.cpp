// The layer for programs, beyond what the programs of the pages show. Each
// standard compiles it, and none what it must not: see layer_calls.sh.

#include "support/property.h"

#include <foundation/json/build.h>
#include <foundation/json/fields.h>
#include <foundation/json/files.h>
#include <foundation/json/hint.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

namespace {

using namespace std::string_view_literals;
using namespace support;
using namespace vorn::foundation;
using namespace vorn::foundation::json;
using Kind = JsonFault::Kind;

using LayerTest = testing::TestWithParam<bool>;  // tracing
INSTANTIATE_TEST_SUITE_P(Tracing, LayerTest, testing::Bool());

// Has each request of the work fail, of each source.
template <class Work, class Check>
void SweepAll(Work work, Check check) {
  for (const Source source : {Source::OperatorNew, Source::ObjectMonitor,
                              Source::MemoryMonitor, Source::List}) {
    for (const bool forever : {false, true}) {
      const Account before = Monitor::Now();
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

// What the reader, and the archiver, say of a text.
template <class... Text>
JsonFault FaultOf(const Text&... text) {
  JsonReader reader;
  JsonArchiver archiver;
  JsonFault fault = {Kind::Malformed, 1, 1, 1, "rule", "message"}, same = fault;
  const bool read = reader.fromString(text..., fault);
  EXPECT_EQ(fault.kind == Kind::None, read);
  EXPECT_EQ(archiver.fromString(text..., same), read);
  EXPECT_EQ(ToText(same), ToText(fault));
  return fault;
}

TEST(FaultTest, SaysWhyAndWhereATextWasNotReadAndWhatWasMeant) {
  constexpr struct {
    std::string_view text;
    const char *hint, *fault = "", *sized = fault;
  } kRows[] = {
      {"[1]", "", "0 0 0:0 : "},
      {"1 // \0"sv, "", "0 0 0:0 : ", "2 5 1:6 Parse: extra data characters"},
      {"[\0]"sv, "array that begins at line 1, column 1", "2 1 1:2 ArraySkip:"},
      {"", "the text is empty", "2 0 1:1 ParseNumber: number is incorrect"},
      {"\n\r\n\r[1,\n  2", "line 4, column 1", "2 11 5:4 ParseArray: missing"},
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
      {"\xEF\xBB\xBF{}", "byte order mark"},
      {"\xFF\xFE{", "UTF-16"},
      {"[NaN]", "not a number is written nan"},
      {"{\"a\": True}", "small letters"},
      {"[1 /* one */]", "begin with //"},
      {"{'a': 1}", "double quotes"},
      {"{a: 1}", "double quotes"},
      {"1 2", "", "2 2 1:3 Parse: extra data characters"}};
  for (const auto& [text, help, place, sized_place] : kRows) {
    const std::string string(text);
    const JsonFault fault = FaultOf(string);
    EXPECT_EQ(ToText(fault).find(place), 0u) << ToText(fault);
    EXPECT_EQ(ToText(FaultOf(string.c_str())), ToText(fault));
    EXPECT_EQ(ToText(FaultOf(SafeString(text))), ToText(fault));
    // Nothing behind it is there to be read.
    const std::vector<char> bytes(text.begin(), text.end());
    const char* const begin = bytes.empty() ? "" : bytes.data();
    const JsonFault sized = FaultOf(begin, bytes.size());
    EXPECT_EQ(ToText(sized).find(sized_place), 0u) << ToText(sized);
    const SafeString hint = Hint(sized, std::string_view(begin, bytes.size()));
    EXPECT_NE(hint.find(help), hint.npos) << text << ": " << hint;
    EXPECT_EQ(hint.empty(), *help == '\0') << text << ": " << hint;
    EXPECT_TRUE(hint == Hint(fault, string.c_str()) || hint.empty());
  }
  const char* const none = nullptr;
  EXPECT_EQ(ToText(FaultOf(none)), "1 0 0:0 : ");
  EXPECT_EQ(Hint(FaultOf(none, std::size_t{0}), none), "");
}

// Has the reader, or archiver, read a text, and the file that has a NUL.
template <class Reads>
void ReadWithoutMemory(std::string_view text, const char* path) {
  Reads reads;
  FileFault fault, of_file;
  const auto read = [&] {
    const bool done = reads.fromString(text.data(), text.size(), fault.text);
    ReadFile(path, 99, reads, of_file);
    return done;
  };
  SweepAll(read, [&](End end, bool failed) {
    EXPECT_TRUE(end == End::Passed || failed);
    EXPECT_EQ(ToText(fault.text),
              end == End::Passed ? "0 0 0:0 : " : "3 0 0:0 : ");
    EXPECT_EQ(of_file.error, of_file.text.kind == Kind::NoMemory ? ENOMEM : 0);
  });
}

TEST_P(LayerTest, WithoutMemoryAFaultHasNoPlaceAndAFileAnError) {
  constexpr auto kText = R"([{"a key of some length": [1, "of two"]}])"sv;
  std::ofstream("layer_test.json") << kText << '\0';
  ReadWithoutMemory<JsonReader>(kText, "layer_test.json");
  ReadWithoutMemory<JsonArchiver>(kText, "layer_test.json");
  std::remove("layer_test.json");
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

// The number that is made from the value, as that is set.
template <class T>
std::string Made(T value) {
  JNumber set;
  set.setValue(value);
  EXPECT_EQ(set.view(), JNumber(value).view());
  return std::string(set.view());
}

TEST(ViewTest, ANumberIsReadAsEveryTypeAndMadeOfIt) {
  enum Small { kSmall = 7 };
  const std::string zeros(400, '0');
  const std::pair<std::string, std::string> kRows[] = {
      {Read<int>("2147483647"), "2147483647"},
      {Read<int>("2147483648") + Read<int>("1.0") + Read<int>("nan"), "---"},
      {Read<std::int8_t>("-128") + Read<std::uint8_t>("256"), "-128-"},
      {Read<unsigned>("-1") + Read<unsigned>("-0"), "-0"},
      {Read<std::uint64_t>("18446744073709551615"), "18446744073709551615"},
      {Read<std::uint64_t>("0xFFFFFFFFFFFFFFFF"), "18446744073709551615"},
      {Read<std::int64_t>("0xFFFFFFFFFFFFFFFF"), "-"},
      {Read<double>("0x10") + Read<double>("-inf") + Read<double>("nan"),
       "16-infnan"},
      {Read<double>("123456789012345678901"), "123456789012345683968"},
      {Read<double>("1e400") + Read<double>("-1E+99999999999999999999"), "--"},
      {Read<double>("1e-400") + Read<double>("-1e-99999999999999999999"),
       "0-0"},
      {Read<double>("0." + zeros + "1e+5"), "0"},
      {Read<double>("1" + zeros + "e-5"), "-"},
      {Read<float>("16777217.0000000001"), "16777218"},
      {Read<float>("1e39") + Read<float>("1e-60"), "-0"},
      {Made(short{-7}) + Made(~0ull), "-718446744073709551615"},
      // These could be before all integers could.
      {Made('a') + Made(true) + Made(kSmall) + Made(0.5f), "97170.5"}};
  for (const auto& [text, expected] : kRows) EXPECT_EQ(text, expected);
}

TEST(ViewTest, MembersAreFoundByEveryKindOfText) {
  JObject object;
  object.setValue("a", Make<JNull>());
  object.setValue({"a\0b", 3}, Make<JString>(SafeString("c\0d", 3)));
  const JObject& fixed = object;
  char array[] = "a";
  const char* const pointer = array;
  for (JBase* found :
       {object.at("a"), object.at(pointer), object.at(array),
        object.at(SafeString("a")), object.at({"ab", 1}), object.at({'a'}),
        fixed.at("a"), fixed.at({"ab", 1}), fixed.at("a"sv)}) {
    EXPECT_EQ(JsonReader::Compress(found), "null");
  }
  EXPECT_TRUE(object.existed({"a\0b", 3}) && fixed.existed("a\0b"sv));
  EXPECT_FALSE(object.existed("a\0"sv));
  EXPECT_EQ(View(&object)["a\0b"sv].value("none"), "c\0d"sv);
  std::size_t count = 0;
  for (auto [key, value] : View(&object).members()) {
    EXPECT_EQ(key, object.keys().at(count++));
    EXPECT_EQ(value.get(), object.at(key));
  }
  EXPECT_EQ(count, object.length());
}

TEST(ViewTest, FindsWhatIsThereWithoutMemory) {
  JsonReader reader;
  ASSERT_TRUE(reader.fromString(R"({"wifi": {"a/b": 1, "m~n": [4, 5], "": 6},
      "on": false, "name": "pump", "list": [1, [2], null]})"));
  const View root(reader), absent;
  constexpr std::pair<std::string_view, int> kPaths[] = {
      {"/wifi/a~1b", 1}, {"/wifi/m~0n/1", 5}, {"/wifi/", 6}, {"/list/1/0", 2}};
  Monitor::FailRequest(Source::MemoryMonitor, 0, true);
  Monitor::FailRequest(Source::OperatorNew, 0, true);
  bool found = !root["list"][3] && !root["list"][static_cast<std::size_t>(-1)];
  for (const auto& [path, number] : kPaths) {
    found = found && root.at(path).value(0) == number;
  }
  for (const char* path :
       {"/list/01", "/list/-", "/list/3", "/list/0x1", "/list/1x1", "/list/-0",
        "/list/", "/wifi/a~2b", "/wifi/m~n", "/wifi/m~0", "/wifi/m~0nn", "wifi",
        "/wifi/m~", "/on/0", "/list/99999999999999999999"}) {
    found = found && !root.at(path);
  }
  Monitor::StopFailing();
  EXPECT_TRUE(found && root.at("").get() == reader.getJson());
  EXPECT_EQ(root.size() + root["list"].size() + root["name"].size(), 7u);
  EXPECT_EQ(root["on"].as<bool>(), false);
  EXPECT_FALSE(root["on"].as<int>() || root["name"].as<int>());
  EXPECT_TRUE(absent.value(static_cast<char*>(nullptr)).empty());
  EXPECT_TRUE(root["list"][2].is(JType::Null) && !absent.is(JType::Null));
  EXPECT_FALSE(absent || absent["a"][1].at("/b") || absent.size() != 0);
  for (View element : View()) ADD_FAILURE() << element.size();
  for (const View none : {root, root["on"]}) {
    for (View element : none) ADD_FAILURE() << element.size();
  }
  for (const View none : {absent, root["list"], root["on"]}) {
    for (auto [key, value] : none.members()) ADD_FAILURE() << key << !value;
  }
}

TEST_P(LayerTest, ATreeIsBuiltOrNothingIs) {
  const generic::ScopedPointer<JArray> history(Make<JArray>());
  JsonReader reader, expected;
  reader.fromString(R"({"a": [1, {"b": "a text of some length"}]})");
  expected.fromString(R"([{"name": "pump", "null": null, "": null,
      "list": [0.5, 4000000000, 1, 1, 1, 1, "a", true, ["b"]],
      "copy": [1, {"b": "a text of some length"}], "last": null,
      "deep": {"one more text of some length": []}}])");
  const std::string text = "one more text of some length";
  char array[] = "a";
  const char* const none = nullptr;
  const auto build = [&] {
    auto named = MakeArray(Here(), 0.5f, 4000000000u, 1L, 1ul, 1ll, short{1},
                           array, std::vector<bool>(1, true)[0]);
    generic::ScopedPointer<JBase> base(MakeArray(Here(), "b"sv).release());
    Append({"a", 1, "b"}, *named.get(), std::move(base));
    auto pump =
        MakeObject(Here(), "name", text, "list"sv, std::move(named), "null",
                   none, SafeString("copy"), View(reader)["a"], "last", 1,
                   "deep", MakeObject(Here(), text, MakeArray(Here())));
    Set(Here(), *pump.get(), "name", "pump", array, View(reader)["c"], "last",
        generic::ScopedPointer<JBase>(), none, nullptr);
    pump->remove(array);
    Append(Here(), *history.get(), std::move(pump));
    const bool built = JsonReader::IsEqual(history.get(), expected.getJson());
    history->clear();
    return built;
  };
  SweepAll(build, [&](End end, bool failed) {
    EXPECT_EQ(end, failed ? End::Exhausted : End::Passed);
  });
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
    fields.required("pin", pin, 1, 300);
    fields.optional("scale", scale);
    fields.optional("flags", flags);
    fields.optional("parts", parts);
    if (name == "access null") throw lang::Exception("", name.c_str());
  }
};

TEST(FieldsTest, AreLoadedAsTheyWereSaved) {
  Part loaded;
  for (const double scale : {0.5, HUGE_VAL, std::nan("")}) {
    JsonArchiver written, again;
    SaveFields(written, Part{"null", 99, 2, {true}, {{"b", 2, scale, {}, {}}}});
    LoadFields(written, "part", loaded);
    SaveFields(again, loaded);
    EXPECT_EQ(again.compress(), written.compress());
  }
  constexpr struct {
    const char *text, *fault;
  } kRows[] = {
      {"[]", "part: expected an object"},
      {R"({"name": "access null", "pin": 1})", ": access null"},
      {R"({"name": "", "pin": 0})",
       "part.pin: expected a whole number from 1 to 255"},
      {R"({"name": "", "pin": 1, "scale": "x"})", "part.scale: expected a num"},
      {R"({"name": "", "pin": 1, "flags": [true, 0]})",
       "part.flags[1]: expected true or false"}};
  for (const auto& [text, expected] : kRows) {
    JsonArchiver archiver;
    archiver.fromString(text);
    try {
      LoadFields(archiver, "part", loaded);
      ADD_FAILURE() << text;
    } catch (const lang::Exception& fault) {
      const std::string said = std::string(fault.where()) + ": " + fault.what();
      EXPECT_EQ(said.find(expected), 0u) << said;
    }
  }
}

#ifdef NOT
// What must not compile, each line with types of its own.
void DoesNot(JObject& object, JArray& array, const View& view,
             json_internal::Loader loader, int& number) {
  auto named = MakeArray(Here());
  JBase* raw = &array;
  Append(Here(), array, raw);
  Append(Here(), array, &object);
  Append(Here(), array, 'a');
  Append(Here(), array, L"a");
  Append(Here(), array, static_cast<const unsigned char*>(nullptr));
  Append(Here(), array, static_cast<void*>(nullptr));
  Append(Here(), array, named);
  Append(Here(), array, object);
  Append(Here(), array, 1.0L);
  Append(Here(), array, std::vector<char>());
  Set(Here(), object, 1, "a");
  Set(Here(), object, nullptr, "a");
  Set(Here(), object, "a", 1, "b");
  MakeObject(Here(), "ab");
  auto copy = named;
  (void)view.as<char>();
  (void)view.as<const char*>();
  (void)view.value(nullptr);
  const JBase* converted = view;
  bool flag = view;
  JBool pointer("a");
  pointer.setValue("a");
  loader.load(number, 1);
  loader.load(number, 1, 2.5);
}
#endif

}  // namespace
