// The layer for programs, beyond what the programs of the pages show.
// package_test compiles this, and looks that nothing compiles that must not.

#include "support/property.h"

#include <foundation/json/build.h>
#include <foundation/json/fields.h>
#include <foundation/json/files.h>
#include <foundation/json/hint.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace {

using namespace std::string_view_literals;
using namespace support;
using namespace vorn::foundation;
using namespace vorn::foundation::json;
using Kind = JsonFault::Kind;

// Where a text is wrong, property_tool_test compares with the tool's scanner.
TEST(FaultTest, IsTheSameOfAnArchiverAndHasAHint) {
  constexpr std::pair<std::string_view, const char*> kRows[] = {
      {"", "the text is empty"},
      {"\n\r\n\r[1,\n  2", "line 4, column 1"},
      {"{\"a\":\n {\"b\": [0]", "object that begins at line 2, column 2"},
      {"[\"]\", // [\n {\"\\\\\": [1}]", "begins at line 2, column 9"},
      {"[1,\n \"a\\\"]", "the string that begins at line 2, column 2"},
      {"[1,,2]", "a comma is too many"},
      {"{a: 1}", "double quotes"},
      {"[1]", ""},
      {"1 // \0"sv, ""}};
  JsonReader reader;
  JsonArchiver archiver;
  JsonFault fault, same;
  for (const auto& [text, expected] : kRows) {
    // Nothing behind it is there to be read.
    const std::unique_ptr<char[]> bytes(new char[text.size()]);
    text.copy(bytes.get(), text.size());
    const bool read = reader.fromString(bytes.get(), text.size(), fault);
    EXPECT_EQ(archiver.fromString(bytes.get(), text.size(), same), read);
    EXPECT_EQ(read, fault.kind == Kind::None && *fault.message == '\0');
    EXPECT_TRUE(fault.offset == same.offset && fault.line == same.line) << text;
    const SafeString hint = Hint(fault, {bytes.get(), text.size()});
    EXPECT_NE(hint.find(expected), hint.npos) << text << ": " << hint;
    EXPECT_EQ(hint.empty(), *expected == '\0') << text << ": " << hint;
  }
  const char* const none = nullptr;
  EXPECT_FALSE(reader.fromString(none, fault) ||
               reader.fromString(none, 0, same));
  EXPECT_TRUE(fault.kind == Kind::NoText && same.kind == Kind::NoText);
  EXPECT_EQ(Hint(fault, none), "");
}

TEST(ViewTest, FindsWhatIsThereWithoutMemory) {
  JsonReader reader;
  ASSERT_TRUE(reader.fromString(R"({"wifi": {"a/b": 1, "m~n": [4, 5], "": 6},
      "a": null, "on": false, "name": "pump", "list": [1, [2], null]})"));
  const View root(reader), absent;
  constexpr struct {
    std::string_view path;
    int number = 0;  // absent
  } kPaths[] = {{"/wifi/a~1b", 1}, {"/wifi/m~0n/1", 5}, {"/wifi/", 6},
                {"/list/1/0", 2},  {"/list/01"},        {"/list/-"},
                {"/list/3"},       {"/list/1x1"},       {"/wifi/a~2b"},
                {"/wifi/m~"},      {"/wifi/m~0nn"},     {"wifi"},
                {"/on/0"},         {"/list/-0"}};
  Monitor::FailRequest(Source::MemoryMonitor, 0, true);
  Monitor::FailRequest(Source::OperatorNew, 0, true);
  bool found = !root["list"][3] && !root["list"][static_cast<std::size_t>(-1)];
  for (const auto& [path, number] : kPaths) {
    found = found && root.at(path).value(0) == number &&
            bool(root.at(path)) == (number != 0);
  }
  Monitor::StopFailing();
  EXPECT_TRUE(found && root.at("").get() == reader.getJson());
  auto& object = static_cast<const JObject&>(*root.get());
  char array[] = "a";
  for (const View member : {object.at(array), object.at(SafeString("a")),
                            object.at({"ab", 1}), object.at({'a'})}) {
    EXPECT_TRUE(member.is(JType::Null));
  }
  EXPECT_EQ(root.size() + root["list"].size() + root["name"].size(), 8u);
  EXPECT_EQ(root["on"].as<bool>(), false);
  EXPECT_FALSE(root["on"].as<int>() || root["name"].as<int>());
  EXPECT_FALSE(absent || absent["a"][1].at("/b") || absent.size() != 0);
}

constexpr auto kText = R"([{"a key of some length": [1, "of two"]}])"sv;
constexpr const char* kFile = "layer_test.json";

// Reads the text and the file. Throws where a fault says memory is exhausted.
template <class Reads>
bool ReadBoth() {
  Reads reads;
  FileFault fault;
  const bool done = reads.fromString(kText.data(), kText.size(), fault.text) &&
                    ReadFile(kFile, 99, reads, fault);
  if (fault.text.kind == Kind::NoMemory) {
    EXPECT_EQ(fault.text.line, 0u);
    EXPECT_EQ(fault.error == ENOMEM, *fault.step != '\0');
    throw std::bad_alloc();
  }
  return done;
}

using LayerTest = testing::TestWithParam<bool>;  // tracing
INSTANTIATE_TEST_SUITE_P(Tracing, LayerTest, testing::Bool());

TEST_P(LayerTest, ReadsAndBuildsAllOrNothing) {
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
    Set(Here(), *pump.get(), "name", "pump", "last",
        generic::ScopedPointer<JBase>(), none, nullptr);
    const auto history = MakeArray(Here(), std::move(pump));
    return JsonReader::IsEqual(history.get(), expected.getJson());
  };
  FileFault fault;
  EXPECT_TRUE(SaveFile(kFile, *reader.getJson(), fault));
  for (const Failing& failing : kFailing) {
    Look(failing, build, End::Exhausted);
    Look(failing, ReadBoth<JsonReader>);
    Look(failing, ReadBoth<JsonArchiver>);
  }
  EXPECT_FALSE(ReadFile(kFile, 9, expected, fault) || fault.error != EFBIG);
  std::remove(kFile);
}

TEST(FilesTest, AreRegularOrNotOpened) {
  constexpr std::pair<const char*, int> kRows[] = {
      {nullptr, EFAULT}, {"/", EISDIR}, {"/dev/null", EINVAL}};
  for (const auto& [path, error] : kRows) {
    JsonReader reader;
    FileFault read, saved;
    EXPECT_FALSE(ReadFile(path, 9, reader, read) ||
                 SaveFile(path, JNull(), saved));
    EXPECT_TRUE(read.error == error && saved.error == error) << error;
    EXPECT_EQ(read.step + std::string(saved.step), "openopen");
  }
}

#ifdef NOT
// No line of it compiles.
void DoesNot(JObject& object, JArray& array, const View& view, JBase* raw,
             const generic::ScopedPointer<JArray>& named,
             json_internal::Loader loader, int& number) {
  Append(Here(), array, raw);
  Append(Here(), array, &object);
  Append(Here(), array, static_cast<void*>(nullptr));
  Append(Here(), array, named);
  Append(Here(), array, object);
  Set(Here(), object, nullptr, "a");
  Set(Here(), object, "a", 1, "b");
  auto copy = named;
  (void)view.as<char>();
  (void)view.value(nullptr);
  const JBase* converted = view;
  JBool pointer("a");
  loader.load(number, 1);
}
#endif

}  // namespace
