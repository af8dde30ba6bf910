// The archiver: what each operation does on each kind of archiver, and what it
// creates and releases.

#include "support/fixture.h"

#include <foundation/generic/scopedpointer.h>
#include <foundation/json/json.h>

#include <algorithm>
#include <functional>
#include <new>
#include <optional>
#include <sstream>
#include <type_traits>

namespace {

using namespace support;
using namespace vorn::foundation;
using namespace vorn::foundation::json;
using A = io::IArchiver;

static_assert(std::is_base_of_v<lang::Exception, JsonException>);
// Programs catch it by value, and scripts/abi sees no function of it.
static_assert(sizeof(JsonException) == 2 * sizeof(SafeString) &&
              !std::is_polymorphic_v<JsonException>);
static_assert(!std::is_copy_constructible_v<JsonArchiver> &&
              !std::is_copy_assignable_v<JsonArchiver>);

class ArchiverTest : public TracedLeakTest {};
INSTANTIATE_TEST_SUITE_P(Tracing, ArchiverTest, testing::Bool());

// Operations, and how they end ------------------------------------------------

SafeString Show(unsigned int value) { return std::to_string(value).c_str(); }

// All that can be read there, fields sorted and strings without quotes.
SafeString Show(A* it) {
  SafeString text;
  if (it == nullptr) return "none";
  if (it->read(text)) return text;
  auto names = it->fields();
  std::sort(names.begin(), names.end());
  for (const SafeString& name : names) {
    text += "," + name + ":" + Show(it->readByField(name));
  }
  for (unsigned int i = 0; i < it->size(); ++i) {
    text += "," + Show(it->readByIndex(i));
  }
  text.erase(0, 1);
  if (it->isArray()) return "[" + text + "]";
  return it->isObject() ? "{" + text + "}" : "empty";
}

using Operation = std::function<SafeString(A&)>;

// The operation with the arguments: shows its result, as "." for none.
template <class Member, class... Arguments>
Operation Call(Member member, Arguments... arguments) {
  return [=](A& it) -> SafeString {
    if constexpr (std::is_void_v<decltype((it.*member)(arguments...))>) {
      return (it.*member)(arguments...), ".";
    } else {
      return Show((it.*member)(arguments...));
    }
  };
}

constexpr const char* kBadData = "try to write error format data";

// What the operation shows, or the message of its exception. What is refused,
// whatever the data, makes nothing.
SafeString Outcome(const Operation& operate, A& it) try {
  return operate(it);
} catch (const JsonException& e) {
  EXPECT_STREQ(e.where(), "vorn.foundation.json.JsonArchiver");
  if (e.what() == SafeString(kBadData)) return kBadData;
  Monitor::TakeLog();
  EXPECT_THROW(operate(it), JsonException);
  EXPECT_EQ(TakeCalls(), "");
  return e.what();
}

SafeString Mismatch(bool root) {
  return root ? "the type of write archiver is mismatched"
              : "unexpected write operation at";
}
SafeString BadIndex(const SafeString& index) {
  return "try to write to error index <" + index + ">";
}
SafeString Existing(const SafeString& field) {
  return "field <" + field + "> is already existing";
}

// Each operation, and how it ends on an archiver that is empty, the scalar 5,
// the array [5] and the object {'f':5}; behind an arrow, what the content then
// is, where it is not the same. M stands for the message of a write of another
// kind, D for that of bad data, I and F for those of the index and the field.
const std::pair<Operation, const char*> kRows[] = {
    {Call(&A::writeData, " -1.0//"), ".->-1.0 .->-1.0 M M"},
    {Call(&A::writeData, "[1"), "D->null D M M"},
    {Call(&A::writeData, "[1]"), ".->[1] .->[1] M M"},
    {Call(&A::writeString, "\\"), ".->'\\\\' .->'\\\\' M M"},
    {Call(&A::writeArray), "[]->[] M [5] M"},
    {Call(&A::writeObject), "{}->{} M M {f:5}"},
    {Call(&A::writeDataByIndex, 0u, "nan"), ".->[nan] M .->[nan] M"},
    {Call(&A::writeDataByIndex, 1u, ""), "I1->[] M D M"},
    {Call(&A::writeStringByIndex, 1u, "1"), "I1->[] M .->[5,'1'] M"},
    {Call(&A::writeArrayByIndex, 0u), "[]->[[]] M []->[[]] M"},
    {Call(&A::writeObjectByIndex, 1u), "I1->[] M {}->[5,{}] M"},
    {Call(&A::writeArrayByIndex, 2u), "I2->[] M I2 M"},
    {Call(&A::writeDataByField, "g", "1"), ".->{'g':1} M M .->{'f':5,'g':1}"},
    {Call(&A::writeDataByField, "f", "x"), "D->{} M M Ff"},
    {Call(&A::writeDataByField, "g", "x"), "D->{} M M D"},
    {Call(&A::writeStringByField, "", ""), ".->{'':''} M M .->{'f':5,'':''}"},
    {Call(&A::writeStringByField, "f", ""), ".->{'f':''} M M Ff"},
    {Call(&A::writeArrayByField, "g"), "[]->{'g':[]} M M []->{'f':5,'g':[]}"},
    {Call(&A::writeArrayByField, "f"), "[]->{'f':[]} M M Ff"},
    {Call(&A::writeObjectByField, "f"), "{}->{'f':{}} M M Ff"},
    {[](A& it) {
       SafeString out = "untouched";
       return Show(it.read(out)) + out;
     },
     "0untouched 15 0untouched 0untouched"},
    {Call(&A::readByIndex, 0u), "none none 5 none"},
    {Call(&A::readByIndex, 1u), "none none none none"},
    {Call(&A::readByField, "f"), "none none none 5"},
    {Call(&A::isArray), "0 0 1 0"},
    {Call(&A::size), "0 0 1 0"},
    {Call(&A::isObject), "0 0 0 1"},
    {[](A& it) { return Show(static_cast<unsigned int>(it.fields().size())); },
     "0 0 0 1"},
};

TEST_P(ArchiverTest, DispatchesEachOperation) {
  for (const auto& [operate, row] : kRows) {
    std::istringstream ends(row);
    for (const SafeString content : {"", "5", "[5]", R"({"f":5})"}) {
      SafeString end, after = content;
      ends >> end;
      std::replace(end.begin(), end.end(), '\'', '"');
      const std::size_t arrow = end.find("->");
      if (arrow != end.npos) after = end.substr(arrow + 2), end.resize(arrow);
      if (end[0] == 'I') end = BadIndex(end.substr(1));
      if (end[0] == 'F') end = Existing(end.substr(1));
      if (end == "D") end = kBadData;
      for (const bool root : {true, false}) {
        if (content.empty() && !root) continue;
        SCOPED_TRACE(testing::Message() << row << " on " << content
                                        << (root ? "" : " in an array"));
        JsonArchiver archiver;
        archiver.fromString(root ? content : "[" + content + "]");
        A* const it = root ? &archiver : archiver.readByIndex(0);
        EXPECT_EQ(Outcome(operate, *it), end == "M" ? Mismatch(root) : end);
        EXPECT_EQ(archiver.compress(), root ? after : "[" + after + "]");
        EXPECT_EQ(archiver.isValid(), !after.empty());
      }
    }
  }
}

TEST_P(ArchiverTest, MessagesHoldTheirValues) {
  EXPECT_EQ(Outcome(Call(&A::writeObject), *JsonArchiver().writeArray()),
            Mismatch(false));
  JsonArchiver archiver;
  A& list = *archiver.writeArrayByField("list");
  for (const unsigned int index : {1u, 3u, 4294967295u}) {
    EXPECT_EQ(Outcome(Call(&A::writeObjectByIndex, index), list),
              BadIndex(Show(index)));
  }
  for (const SafeString& field :
       {SafeString(), SafeString("%s%n"), SafeString("%s%n\0", 5),
        SafeString(5000, 'x')}) {
    archiver.writeStringByField(field, field);
    EXPECT_EQ(Show(archiver.readByField(field)), field);
    EXPECT_EQ(Outcome(Call(&A::writeArrayByField, field), archiver),
              Existing(field.c_str()));
  }
}

TEST_P(ArchiverTest, LoadingDropsTheContentFirst) {
  JsonArchiver archiver;
  const SafeString deep = SafeString(1025, '[') + SafeString(1025, ']');
  const std::pair<SafeString, SafeString> steps[] = {
      {"[1]", "[1]"}, {"[1", ""}, {"// 2\n{}", "{}"},
      {"2 2", ""},    {"7", "7"}, {SafeString("[]\0x", 4), "[]"},
      {deep, ""}};
  for (const auto& [text, content] : steps) {
    SCOPED_TRACE(text.c_str());
    EXPECT_EQ(archiver.fromString(text), !content.empty());
    EXPECT_EQ(archiver.compress(), content);
  }
  archiver.writeData("[1]");
  EXPECT_EQ(archiver.format(), "[\n    1\n]");
  EXPECT_FALSE(archiver.fromString(nullptr));
  EXPECT_EQ(archiver.format(), "");
}

// Objects ---------------------------------------------------------------------

// The calls of the object monitor, without the archivers' folder, with
// "+scalar" for the two creations of a scalar, "~#1" for the release of an
// archiver by its owner and "!#1" for one without a tag.
std::string TakeArchiverCalls() {
  const std::string release = Monitor::Traces() ? "_DecLeakInfo" : "_DecLeak";
  const std::pair<std::string, const char*> signs[] = {
      {release + "Ex ../json/archive/archiverutils:33 Destroy ", "~"},
      {release + " ", "!"},
      {release + "Ex ", "-"},
      {"../json/archive/genericarchiver:8 GenericArchiver ", "null"},
      {"../json/archive/archiverutils:13 Create ", "scalar"},
      {"../json/archive/", ""}};
  std::string calls = TakeCalls();
  for (const auto& [text, sign] : signs) {
    for (std::size_t at; (at = calls.find(text)) != calls.npos;) {
      calls.replace(at, text.size(), sign);
    }
  }
  return calls;
}

// A scalar of a text takes three objects, its value, a copy of that and an
// archiver, a container two, its value and an archiver.
TEST_P(ArchiverTest, TellsTheMonitorOfEachObject) {
  std::optional<JsonArchiver> it;
  const std::pair<std::function<void()>, const char*> steps[] = {
      {[&] { it.emplace(); }, "+jsonarchiver:160 JsonArchiver #1"},
      {[&] { it->writeString(""); },
       "+null#2+scalar#3+genericarchiver:44 writeString #4-#2"},
      {[&] { it->writeData("1"); }, "+../json/json:309 ParseNumber #5-#4"},
      {[&] { it->fromString("t"); }, "~#3-#5"},
      {[&] { it->writeDataByIndex(0, "null"); },
       "+archiverutils:16 Create #6+null#7+scalar#8"
       "+../json/json:278 ParseNullOrNan #9-#7"},
      {[&] { it->writeObjectByIndex(1); }, "+archiverutils:18 Create #10"},
      {[&] { it->writeStringByIndex(1, ""); },
       "+null#11+scalar#12+genericarchiver:44 writeString #13-#11~#10"},
      {[&] { it->writeArrayByIndex(0); }, "+archiverutils:16 Create #14~#8-#9"},
      {[&] { Outcome(Call(&A::writeDataByIndex, 1u, "t"), *it); },
       "+null#15+scalar#16!#16-#15"},
      {[&] { it->compress(); },
       "+arrayarchiver:33 snapshot #17+arrayarchiver:33 snapshot #18"
       "+../json/json:491 clone #19-#17-#18-#19"},
      {[&] { it->fromString("{\"f\":[null]}"); },
       "~#6~#14~#12-#13+../json/json:208 ParseObject #20"
       "+../json/json:235 ParseArray #21+../json/json:278 ParseNullOrNan #22"
       "+../json/json:326 clone #23+archiverutils:28 FromJson #24"
       "+archiverutils:26 FromJson #25+archiverutils:23 FromJson #26"
       "-#20-#21-#22"},
      {[&] { Outcome(Call(&A::writeDataByField, "g", "t"), *it); },
       "+null#27+scalar#28!#28-#27"},
      {[&] { it->format(); },
       "+objectarchiver:34 snapshot #29+arrayarchiver:33 snapshot #30"
       "+../json/json:326 clone #31-#29-#30-#31"},
      {[&] { it.reset(); },
       "-jsonarchiver:167 ~JsonArchiver #1~#26~#25~#24-#23"},
  };
  for (const auto& step : steps) step.first(), Monitor::Note("|");
  std::istringstream calls(TakeArchiverCalls());
  for (const auto& step : steps) {
    std::string line;
    std::getline(calls, line, '|');
    EXPECT_EQ(line, step.second);
  }
}

// What was finished before memory was exhausted is released by its owner.
TEST_P(ArchiverTest, DestroysWhatWasLoadedInPart) {
  JsonArchiver archiver;
  const auto load = [&] {
    try {
      archiver.fromString(R"({"f":[1]})");
    } catch (const std::bad_alloc&) {
    }
    archiver.fromString(nullptr);
  };
  load();
  Sweep(Source::MemoryMonitor, false, load, [](bool) {
    EXPECT_EQ(TakeArchiverCalls().find('!'), std::string::npos);
  });
}

// What is loaded is a copy, whose members stand and go in the order of a
// copy's.
TEST_P(ArchiverTest, KeepsFieldsInTheOrderOfObjects) {
  JsonReader reader;
  JsonArchiver archiver;
  const char* const text = R"({"a":[],"b":[],"c":[],"d":[],"e":[],"f":[]})";
  reader.fromString(text);
  archiver.fromString(text);
  const generic::ScopedPointer<JBase> copy(reader.getJson()->clone());
  std::string releases = "~all";
  const auto keys = static_cast<JObject*>(copy.get())->keys();
  EXPECT_EQ(archiver.fields(), keys);
  for (const SafeString& key : keys) {
    Monitor::Name(archiver.readByField(key), key.c_str());
    (releases += "~") += key;
  }
  Monitor::Name(archiver.writeObject()->writeObject(), "all");
  Monitor::TakeLog();
  archiver.fromString(nullptr);
  EXPECT_EQ(TakeArchiverCalls(), releases);
}

}  // namespace
