// Exhausted memory. Each operation is run with its first, second, third, ...
// request for memory failing, that one alone or all from there on, until it
// passes. Nothing may be left behind, and what it works on must be as before.

#include "support/fixture.h"

#include <foundation/generic/scopedpointer.h>
#include <foundation/json/json.h>

#include <cfloat>
#include <climits>
#include <new>
#include <optional>
#include <string>
#include <string_view>

namespace {

using namespace std::string_view_literals;
using namespace support;
using namespace vorn::foundation;
using namespace vorn::foundation::json;
using generic::ScopedPointer;

// How an operation ends: '+' with its result, '0' without one (null or false),
// 'b' by std::bad_alloc, '[' or '{' by the "access null" of a JArray or a
// JObject, '?' otherwise.
struct Row {
  const char* name;
  const char* subject;         // the text of the tree that it works on
  bool (*operate)(JBase* it);  // whether there is a result
  char memory;                 // the end when memory is exhausted; '+' for an
                               // operation that needs none
  const char* objects;         // the ends when the object monitor, tracing, has
                               // no memory for object 0, 1, 2, ...
};

// What the tests make for an operation, with all memory that it takes.
JBase* Read(const char* text) {
  const Monitor::Exempt exemption;
  JsonReader reader;
  reader.fromString(text);
  return reader.transfer();
}

SafeString Text() {
  const Monitor::Exempt exemption;
  return "1234567890.123456";
}

template <class T>
T& As(JBase* it) {
  return static_cast<T&>(*it);
}

template <class T, class Argument>
bool Made(const Argument& argument) {
  const ScopedPointer<T> made(Make<T>(argument));
  return static_cast<bool>(made);
}

bool Cloned(JBase* it) {
  const ScopedPointer<JBase> copy(it->clone());
  const Monitor::Exempt exemption;
  return JsonReader::IsEqual(copy.get(), it);
}

// A value that a container did not take is still ours.
bool Append(JBase* it) {
  ScopedPointer<JBase> value(Read("0"));
  As<JArray>(it).append(value.get());
  return value.release() != nullptr;
}

bool SetMember(JBase* it) {
  ScopedPointer<JBase> value(Read("0"));
  As<JObject>(it).setValue(Text(), value.get());
  return value.release() != nullptr;
}

// A member that was to be replaced is gone when there is no memory for the new
// one; it is put back.
bool ReplaceMember(JBase* it) {
  try {
    return SetMember(it);
  } catch (const std::bad_alloc&) {
    const Monitor::Exempt exemption;
    if (As<JObject>(it).existed(Text())) return false;
    As<JObject>(it).setValue(Text(), Read("[1]"));
    throw;
  }
}

// Three containers, each with a child.
constexpr const char* kText =
    R"([[{"1234567890123456": "1234567890123456"}], 1234567890123456, nan])";

bool Holds(const char* text) {
  JsonReader reader;
  return reader.fromString(text) || reader.valid();
}

bool Written(JBase* it) {
  Context context;
  it->toString(context);
  const Monitor::Exempt exemption;
  return JsonReader::Format(it) == context.stream.str();
}

const Row kRows[] = {
    {"make a long", "0", [](JBase*) { return Made<JNumber>(LLONG_MIN); }, 'b',
     "0"},
    {"make a double", "0", [](JBase*) { return Made<JNumber>(-DBL_MAX); }, 'b',
     "0"},
    {"make a string", "0", [](JBase*) { return Made<JString>(Text()); }, 'b',
     "0"},
    {"set a long", "1234567890123456",
     [](JBase* it) { return As<JNumber>(it).setValue(LLONG_MIN), true; }, 'b',
     ""},
    {"set a double", "1234567890123456",
     [](JBase* it) { return As<JNumber>(it).setValue(-DBL_MAX), true; }, 'b',
     ""},
    {"set a number's text", "0",
     [](JBase* it) { return As<JNumber>(it).fromString(Text()); }, 'b', ""},
    {"set a string", R"("0")",
     [](JBase* it) { return As<JString>(it).setValue(Text()), true; }, 'b', ""},
    {"read a number", "1234567890123456",
     [](JBase* it) { return !As<JNumber>(it).toString().empty(); }, 'b', ""},
    {"read a string", R"("1234567890123456")",
     [](JBase* it) { return !As<JString>(it).value().empty(); }, 'b', ""},
    {"read keys", R"({"1": 0, "1234567890123456": 0})",
     [](JBase* it) { return As<JObject>(it).keys().size() == 2; }, 'b', ""},
    {"clone null", "null", Cloned, 'b', "0"},
    {"clone a boolean", "true", Cloned, 'b', "0"},
    {"clone a number", "1234567890123456", Cloned, 'b', "0"},
    {"clone a string", R"("1234567890123456")", Cloned, 'b', "0"},
    {"clone an empty array", "[]", Cloned, 'b', "["},
    {"clone an empty object", "{}", Cloned, 'b', "0"},
    {"clone an array", R"([1, ["1234567890123456", {}], {"1": [null]}, []])",
     Cloned, 'b', "[b[bb{[b["},
    {"clone an object", R"({"1234567890123456": {"": [true, "2"]}})", Cloned,
     'b', "{{[bb"},
    {"append", "[0]", Append, 'b', ""},
    {"set the first member", "{}", SetMember, 'b', ""},
    {"set a further member", R"({"1": [2]})", SetMember, 'b', ""},
    {"replace a member", R"({"1234567890.123456": [1], "2": 3})", ReplaceMember,
     'b', ""},
    {"compare", R"({"1234567890123456": ["1234567890123456"]})",
     [](JBase* it) { return JsonReader::IsEqual(it, it); }, '+', ""},
    {"read a text", "0", [](JBase*) { return Holds(kText); }, '0', "000+++"},
    {"format", kText, [](JBase* it) { return !JsonReader::Format(it).empty(); },
     'b', ""},
    {"compress", kText,
     [](JBase* it) { return !JsonReader::Compress(it).empty(); }, 'b', ""},
    {"write", kText, Written, 'b', ""},
};

char EndOf(const Row& row, JBase* subject) {
  try {
    return row.operate(subject) ? '+' : '0';
  } catch (const std::bad_alloc&) {
    return 'b';
  } catch (const lang::Exception& e) {
    const std::string_view where = e.where();
    if (e.what() != "access null"sv) return '?';
    if (where.find("6JArrayE>") != where.npos) return '[';
    return where.find("7JObjectE>") != where.npos ? '{' : '?';
  }
}

// Runs the row until it passes and returns all its ends.
std::string EndsOf(const Row& row, Source source, bool forever) {
  std::string ends;
  char end = '?';
  bool unchanged = false;
  Sweep(
      source, forever,
      [&] {
        const ScopedPointer<JBase> subject(Read(row.subject));
        end = EndOf(row, subject.get());
        const ScopedPointer<JBase> before(Read(row.subject));
        const Monitor::Exempt exemption;
        unchanged = JsonReader::IsEqual(subject.get(), before.get());
      },
      [&](bool) {
        ends += end;
        EXPECT_TRUE(unchanged || end == '+') << "what it works on has changed";
      });
  return ends;
}

class FailureTest : public TracedLeakTest {};
INSTANTIATE_TEST_SUITE_P(Tracing, FailureTest, testing::Bool());

TEST_P(FailureTest, LeavesNothingBehind) {
  for (const Row& row : kRows) {
    for (const bool forever : {false, true}) {
      SCOPED_TRACE(row.name);
      const std::string objects = row.objects;
      EXPECT_EQ(EndsOf(row, Source::ObjectMonitor, forever),
                (GetParam() ? objects : "") + "+");
      EXPECT_EQ(EndsOf(row, Source::OperatorNew, forever),
                std::string(GetParam() ? 0 : objects.size(), row.memory) + "+");
      const std::string ends = EndsOf(row, Source::MemoryMonitor, forever);
      EXPECT_EQ(ends, std::string(ends.size() - 1, row.memory) + "+");
      EXPECT_EQ(ends.size() == 1 && objects.empty(), row.memory == '+');
      if (HasFailure()) return;  // a failure ends every sweep
    }
  }
}

// Archivers -------------------------------------------------------------------

// What fails on an archiver leaves it as it was, but the first write decides
// its kind all the same, and loading leaves it empty.
struct ArchiverRow {
  const char* name;
  const char* text;  // what the archiver holds; nothing when it is empty
  bool (*operate)(JsonArchiver& it);
  std::size_t objects;  // how many it makes
  const char* ends;     // how it may end when memory is exhausted
};

using It = JsonArchiver&;

constexpr const char* kThirteen =
    R"({"1": 0, "2": 0, "3": 0, "4": 0, "5": 0, "6": 0, "7": 0, "8": 0, "9": 0,
        "A": 0, "B": 0, "C": 0, "D": 0})";

bool ReadText(It it) {
  SafeString text;
  return it.read(text);
}

const ArchiverRow kArchiverRows[] = {
    {"make", "", [](It) { return JsonArchiver(), true; }, 1, "b"},
    {"write first", "", [](It it) { return it.writeString(Text()), true; }, 3,
     "b"},
    {"write first by index", "",
     [](It it) { return it.writeStringByIndex(0, Text()), true; }, 4, "ba"},
    {"write first by field", "",
     [](It it) { return it.writeStringByField(Text(), ""), true; }, 4, "ba"},
    {"write data", R"("2")", [](It it) { return it.writeData(Text()), true; },
     1, "bd"},
    {"write data by index", "[[2]]",
     [](It it) { return it.writeDataByIndex(0, Text()), true; }, 3, "bad"},
    {"write data by field", R"({"1": 2})",
     [](It it) { return it.writeDataByField(Text(), Text()), true; }, 3, "bad"},
    {"append to a child", "[[2]]",
     [](It it) { return it.readByIndex(0)->writeArrayByIndex(1) != nullptr; },
     1, "b"},
    {"add to a child", R"({"1": {"2": 3}})",
     [](It it) {
       return it.readByField("1")->writeObjectByField(Text()) != nullptr;
     },
     1, "b"},
    {"replace by an object", "[[2]]",
     [](It it) { return it.writeObjectByIndex(0) != nullptr; }, 1, "b"},
    {"add one for more buckets", kThirteen,
     [](It it) { return it.writeArrayByField("E") != nullptr; }, 1, "b"},
    {"load", "2", [](It it) { return it.fromString(kText); }, 15, "0b+"},
    {"format", kText, [](It it) { return !it.format().empty(); }, 6, "ba"},
    {"compress", kText, [](It it) { return !it.compress().empty(); }, 6, "ba"},
    {"read a string", R"("1234567890123456")", ReadText, 0, "b"},
    {"read a number", "1234567890123456", ReadText, 0, "b"},
    {"read fields", kThirteen, [](It it) { return it.fields().size() == 13; },
     0, "b"},
};

// As above, with 'a' for any "access null", and 'd' where what could not be
// parsed is taken for bad data.
char EndOf(const ArchiverRow& row, JsonArchiver& it) {
  try {
    return row.operate(it) ? '+' : '0';
  } catch (const std::bad_alloc&) {
    return 'b';
  } catch (const lang::Exception& e) {
    if (e.what() == "access null"sv) return 'a';
    return e.what() == "try to write error format data"sv ? 'd' : '?';
  }
}

// Runs the row on a new archiver, and looks at what that holds afterwards.
char Attempt(const ArchiverRow& row) {
  std::optional<JsonArchiver> it;
  SafeString left;
  {
    const Monitor::Exempt exemption;
    it.emplace().fromString(row.text);
    if (row.ends[0] != '0') left = it->compress();
  }
  const char end = EndOf(row, *it);
  const Monitor::Exempt exemption;
  const SafeString now = it->compress();
  const bool first = *row.text == '\0';
  EXPECT_TRUE(end == '+' || now == left ||
              (first && SafeString("null[]{}").find(now) != now.npos))
      << now;
  return end;
}

TEST_P(FailureTest, LeavesArchiversAsTheyWere) {
  for (const ArchiverRow& row : kArchiverRows) {
    for (const Source source : kSources) {
      for (const bool forever : {false, true}) {
        SCOPED_TRACE(row.name);
        std::string ends;
        char end = '?';
        Sweep(
            source, forever, [&] { end = Attempt(row); },
            [&](bool) { ends += end; });
        EXPECT_EQ(ends.back(), '+');
        ends.pop_back();
        EXPECT_EQ(ends.find_first_not_of(row.ends), ends.npos) << ends;
        if (source == Source::MemoryMonitor) continue;
        const bool makes = GetParam() == (source == Source::ObjectMonitor);
        EXPECT_EQ(ends.size(), makes ? row.objects : 0) << ends;
        if (HasFailure()) return;  // a failure ends every sweep
      }
    }
  }
}

}  // namespace
