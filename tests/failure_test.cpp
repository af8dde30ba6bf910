// Exhausted memory. Each operation is run with its first, second, third, ...
// request for memory failing, that one alone or all from there on, until it
// passes. After each failure all that was there is as before, nothing else is
// left, and the operation passes when it is tried again.

#include "support/fixture.h"

#include <foundation/generic/scopedpointer.h>
#include <foundation/json/json.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

namespace {

using namespace std::string_view_literals;
using namespace support;
using namespace vorn::foundation;
using namespace vorn::foundation::json;
using generic::ScopedPointer;

// What the operations work on: a small example and a nested or long one.
struct Subjects {
  const char *small, *nested;
};
constexpr const char* kThirteen =  // another one takes more buckets
    R"({"1": [1], "2": {"": 2}, "3": 0, "4": 0, "5": 0, "6": 0, "7": 0, "8": 0,
        "9": 0, "A": 0, "B": 0, "C": 0, "D": 0})";
constexpr const char* kNested =
    R"({"1234567890123456": [[{"1": 0, "2": 0, "3": 0, "4": 0, "5": 0, "6": 0,
        "7": 0, "8": 0, "9": 0, "A": 0, "B": 0, "C": 0, "D": 0, "E": 0}],
        "1234567890123456", {}, nan, true, null]})";
// How reading, copying and loading that end, in the signs of the table below.
constexpr const char* kNestedRead = "0000+++++++++++++++++++";
constexpr const char* kNestedCopied = "{[[{bbbbbbbbbbbbbbbbbbb";
constexpr const char* kNestedLoaded =
    "0000*******************bbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbb";
constexpr Subjects kNull = {"null", "null"};
constexpr Subjects kBooleans = {"false", "true"};
constexpr Subjects kNumbers = {"1", "-9.223372036854775e18"};
constexpr Subjects kStrings = {R"("1")", R"("1234567890123456")"};
constexpr Subjects kArrays = {"[0]", R"([[1], {"2": [true, null]}])"};
constexpr Subjects kObjects = {R"({"1": 0})",
                               R"({"1234567890.123456": [[1], {"2": 3}]})"};
constexpr Subjects kSets = {"{}", kThirteen};
constexpr Subjects kAny = {"0", kNested};
constexpr Subjects kNoneOrScalar = {"", "0"};
constexpr Subjects kNoneOrArray = {"", "[[2]]"};
constexpr Subjects kNoneOrSet = {"", kThirteen};

struct World {
  World(const Subjects& subjects, bool is_nested)
      : subject(is_nested ? subjects.nested : subjects.small),
        nested(is_nested) {
    Load();
    value.reset(Make<JString>(word));
  }

  void Load() {
    reader.fromString(subject);
    archiver.fromString(subject);
  }

  JBase* tree() { return reader.getJson(); }
  JBool& boolean() { return static_cast<JBool&>(*tree()); }
  JNumber& number() { return static_cast<JNumber&>(*tree()); }
  JString& string() { return static_cast<JString&>(*tree()); }
  JArray& array() { return static_cast<JArray&>(*tree()); }
  JObject& object() { return static_cast<JObject&>(*tree()); }

  // All that it holds, what the archiver does last.
  std::string text() const {
    return (JsonReader::Compress(value.get()) + "\n" + reader.compress() +
            "\n" + archiver.compress())
        .c_str();
  }

  const char* subject;
  bool nested;
  JsonReader reader;
  JsonArchiver archiver;
  SafeString word = nested ? "1234567890.123456" : "1";  // a key, data, ...
  SafeString other = nested ? kNested : "1";             // another text
  ScopedPointer<JBase> value;                            // to be handed over
};
using It = World&;

// The operations --------------------------------------------------------------

template <class T, class... Arguments>
bool Made(const Arguments&... arguments) {
  return static_cast<bool>(ScopedPointer<T>(Make<T>(arguments...)));
}

bool MakeEach(It) {
  const bool made[] = {Made<JNull>(),   Made<JBool>(),  Made<JNumber>(),
                       Made<JString>(), Made<JArray>(), Made<JObject>()};
  return !JsonReader().valid() && std::count(made, made + 6, true) == 6;
}

bool Cloned(It it) {
  const ScopedPointer<JBase> copy(it.tree()->clone());
  return JsonReader::IsEqual(copy.get(), it.tree());
}

// A value that a container did not take is still ours.
bool Append(It it) {
  it.array().append(it.value.get());
  return it.value.release() != nullptr;
}

bool SetMember(It it) {
  it.object().setValue(it.word, it.value.get());
  return it.value.release() != nullptr;
}

// What a failure has dropped is loaded again.
bool Dropped(It it, bool empty) {
  const Monitor::Exempt exemption;
  EXPECT_TRUE(empty);
  it.Load();
  return false;
}

bool ReplaceMember(It it) try {
  return SetMember(it);
} catch (const std::bad_alloc&) {
  Dropped(it, it.object().empty());
  throw;
}

bool Read(It it) {
  return it.reader.fromString(it.other.c_str()) ||
         Dropped(it, !it.reader.valid());
}

bool LoadArchiver(It it) try {
  return it.archiver.fromString(it.other) ||
         Dropped(it, !it.archiver.isValid());
} catch (const std::bad_alloc&) {
  Dropped(it, !it.archiver.isValid());
  throw;
}

bool Written(It it) {
  Context context;
  it.tree()->toString(context);
  const Monitor::Exempt exemption;
  return it.reader.format() == context.stream.str();
}

template <class Container>
bool Detached(Container& container, JBase* child, JBase* other = nullptr) {
  container.detach();
  child->dispose();
  if (other != nullptr) other->dispose();
  return container.empty();
}

bool Transferred(It it) {
  it.reader.transfer()->dispose();
  return !it.reader.valid();
}

bool ReadArchiver(It it) {
  SafeString text;
  return it.archiver.read(text) && !text.empty();
}

bool WriteToChild(It it) {
  io::IArchiver* const child = it.archiver.readByField(it.word);
  if (it.nested) return child->writeObjectByIndex(2) != nullptr;
  return child->writeData(it.word), true;
}

template <class Operation>
bool Refused(Operation operate) try {
  return operate(), false;
} catch (const JsonException&) {
  return true;
}

template <class Operation>
bool HasResult(Operation operate) {
  if constexpr (std::is_void_v<decltype(operate())>) {
    return operate(), true;
  } else {
    return static_cast<bool>(operate());
  }
}

struct Row {
  const char* operation;
  Subjects subjects;
  const char* ends[2];
  bool (*operate)(It);
};

// The subjects, how it ends on each of them when the first, the second, ...
// object cannot be made, and the operation.
//   n  without a result    b  by std::bad_alloc
//   0  with false          d  taking what could not be parsed for bad data
//   a  [  {                by the "access null" of the pointer to an archiver,
//                          an array, an object
//   +  without the object  *  the same when those that follow can be made
// With kNone in the place of the ends it needs no memory at all.
#define ROW(subjects, small, nested, ...)                                    \
  Row({#__VA_ARGS__, subjects, {small, nested}, []([[maybe_unused]] It it) { \
         return HasResult([&] { return __VA_ARGS__; });                      \
       }})
constexpr const char* kNone = nullptr;
const Row kRows[] = {
    ROW(kAny, "nnnnnn", "nnnnnn", MakeEach(it)),
    ROW(kAny, "n", "n", Made<JBool>(true)),
    ROW(kNumbers, "n", "n", Made<JNumber>(it.number().toInt())),
    ROW(kNumbers, "n", "n", Made<JNumber>(it.number().toLong())),
    ROW(kNumbers, "n", "n", Made<JNumber>(it.number().toFloat())),
    ROW(kAny, "n", "n", Made<JString>(it.word)),
    ROW(kBooleans, kNone, kNone, it.boolean().setValue(!it.boolean().value())),
    ROW(kNumbers, kNone, kNone, it.number().setValue(it.number().toInt())),
    ROW(kNumbers, kNone, "", it.number().setValue(it.number().toLong())),
    ROW(kNumbers, kNone, "", it.number().setValue(it.number().toFloat())),
    ROW(kNumbers, kNone, "", it.number().fromString(it.word)),
    ROW(kNumbers, kNone, "", it.number().toString() == it.subject),
    ROW(kStrings, kNone, "", it.string().setValue(it.word)),
    ROW(kStrings, kNone, "", it.string().value().size() >= it.word.size() - 1),
    ROW(kNull, "n", "n", Cloned(it)),
    ROW(kBooleans, "n", "n", Cloned(it)),
    ROW(kNumbers, "n", "n", Cloned(it)),
    ROW(kStrings, "n", "n", Cloned(it)),
    ROW(kArrays, "[b", "[[b{[bb", Cloned(it)),
    ROW(kObjects, "{b", "{[[b{b", Cloned(it)),
    ROW(kAny, "n", kNestedCopied, Cloned(it)),
    ROW(kArrays, "", "", Append(it)),
    ROW(kArrays, kNone, kNone, it.array().setValue(0, it.value.release())),
    ROW(kArrays, kNone, kNone, !it.array().setValue(9, it.value.release())),
    ROW(kArrays, kNone, kNone, it.array().at(0) && it.array().length() != 0),
    ROW(kArrays, kNone, kNone, it.array().clear()),
    ROW(kArrays, kNone, kNone,
        Detached(it.array(), it.array().at(0), it.array().at(1))),
    ROW(kSets, "", "", SetMember(it)),
    ROW(kObjects, "", "", ReplaceMember(it)),
    ROW(kObjects, kNone, kNone, it.object().remove(it.word)),
    ROW(kObjects, kNone, kNone, it.object().existed(it.word)),
    ROW(kObjects, "", "", it.object().keys().front() == it.word),
    ROW(kObjects, kNone, kNone, it.object().clear()),
    ROW(kObjects, kNone, kNone, Detached(it.object(), it.object().at(it.word))),
    ROW(kSets, "0", kNestedRead, Read(it)),
    ROW(kAny, kNone, kNone, it.reader.reset()),
    ROW(kAny, kNone, kNone, Transferred(it)),
    ROW(kAny, "", "", it.reader.format() == JsonReader::Format(it.tree())),
    ROW(kAny, "", "", it.reader.compress() == JsonReader::Compress(it.tree())),
    ROW(kAny, "", "", Written(it)),
    ROW(kAny, kNone, kNone, JsonReader::IsEqual(it.tree(), it.tree())),
    ROW(kNoneOrSet, "b", "b", !JsonArchiver().isValid()),
    ROW(kNoneOrScalar, "bbd", "d", it.archiver.writeData(it.word)),
    ROW(kNoneOrScalar, "bbb", "b", it.archiver.writeString(it.word)),
    ROW(kNoneOrArray, "b", kNone, it.archiver.writeArray()),
    ROW(kNoneOrArray, "babd", "abd", it.archiver.writeDataByIndex(0, it.word)),
    ROW(kNoneOrArray, "babb", "abb",
        it.archiver.writeStringByIndex(it.nested, it.word)),
    ROW(kNoneOrArray, "bb", "b", it.archiver.writeArrayByIndex(it.nested)),
    ROW(kNoneOrArray, "bb", "b", it.archiver.writeObjectByIndex(0)),
    ROW(kNoneOrSet, "b", kNone, it.archiver.writeObject()),
    ROW(kNoneOrSet, "babd", "abd",
        it.archiver.writeDataByField(it.word, it.word)),
    ROW(kNoneOrSet, "babb", "abb",
        it.archiver.writeStringByField(it.word, it.word)),
    ROW(kNoneOrSet, "bb", "b", it.archiver.writeArrayByField(it.word)),
    ROW(kNoneOrSet, "bb", "b", it.archiver.writeObjectByField(it.word)),
    ROW(kObjects, "d", "b", WriteToChild(it)),
    ROW(kObjects, "", "", Refused([&] { it.archiver.writeArray(); })),
    ROW(kObjects, "", "",
        Refused([&] { it.archiver.writeArrayByField(it.word); })),
    ROW(kObjects, "", "",
        Refused([&] { it.archiver.readByField(it.word)->writeObject(); })),
    ROW(kArrays, "", "", Refused([&] { it.archiver.writeArrayByIndex(9); })),
    ROW(kSets, "0bb", kNestedLoaded, LoadArchiver(it)),
    ROW(kAny, "b", kNestedCopied, it.archiver.format().size()),
    ROW(kObjects, "{b", "{[[b{b", it.archiver.compress().size()),
    ROW(kStrings, kNone, "", ReadArchiver(it)),
    ROW(kNumbers, "", "", ReadArchiver(it)),
    ROW(kArrays, kNone, kNone,
        it.archiver.isArray() && it.archiver.size() != 0),
    ROW(kArrays, kNone, kNone, it.archiver.readByIndex(0)),
    ROW(kObjects, kNone, kNone,
        it.archiver.isValid() && it.archiver.isObject()),
    ROW(kObjects, kNone, kNone, it.archiver.readByField(it.word)),
    ROW(kObjects, "", "", it.archiver.fields().front() == it.word),
};

// Of each sign, the end when one object cannot be made, when those that follow
// cannot either, and when operator new throws instead.
constexpr const char* kSigns[] = {"bbbb", "n00b", "0000", "dddd", "aaab",
                                  "[[[b", "{{{b", "+++0", "*+b0"};

std::string Translated(std::string signs, std::size_t column) {
  for (char& sign : signs) {
    for (const char* row : kSigns) {
      if (sign == row[0]) {
        sign = row[column];
        break;
      }
    }
  }
  return signs;
}

// How the row ends: '+' with its result, '0' without one.
char EndOf(const Row& row, It it) {
  try {
    return row.operate(it) ? '+' : '0';
  } catch (const std::bad_alloc&) {
    return 'b';
  } catch (const lang::Exception& e) {
    const std::string_view where = e.where();
    if (e.what() == "try to write error format data"sv) return 'd';
    if (e.what() != "access null"sv) return '?';
    if (where.find("6JArrayE>") != where.npos) return '[';
    if (where.find("7JObjectE>") != where.npos) return '{';
    return where.find("14ITypedArchiverE>") != where.npos ? 'a' : '?';
  }
}

// What is left of an archiver by a first write that fails after it has decided
// the kind.
const char* EmptyOf(char kind) {
  return kind == '[' ? "[]" : kind == '{' ? "{}" : "null";
}

std::string Goal(const Row& row, bool nested) {
  const Monitor::Exempt exemption;
  World it(row.subjects, nested);
  EXPECT_EQ(EndOf(row, it), '+');
  return it.text();
}

char Attempt(const Row& row, bool nested, const std::string& goal) {
  std::optional<World> it;
  std::string before;
  Account account;
  {
    const Monitor::Exempt exemption;
    before = it.emplace(row.subjects, nested).text();
    account = Monitor::Now();
  }
  const char end = EndOf(row, *it);
  const Monitor::Exempt exemption;
  const std::string now = it->text();
  if (end == '+' && now == goal) return end;
  if (now == before) {
    EXPECT_EQ(Monitor::Now(), account) << "something else is left";
  } else if (end != '+') {
    EXPECT_EQ(before.back(), '\n');
    EXPECT_EQ(now, before + EmptyOf(goal[before.size()]));
  }
  EXPECT_EQ(EndOf(row, *it), '+') << "the second time";
  EXPECT_EQ(it->text(), goal);
  return end;
}

class FailureTest : public TracedLeakTest {
 public:
  static void TearDownTestSuite() {
    std::printf("%zu failures injected\n", injected);
  }

 protected:
  // Runs the row until it passes, and returns how it ended before.
  std::string EndsOf(const Row& row, bool nested, Source source, bool forever) {
    const std::string goal = Goal(row, nested);
    std::string ends;
    char end = '?';
    injected += Sweep(
        source, forever, [&] { end = Attempt(row, nested, goal); },
        [&](bool failed) { ends += failed ? std::string(1, end) : ""; });
    return ends;
  }

 private:
  static inline std::size_t injected = 0;
};
INSTANTIATE_TEST_SUITE_P(Tracing, FailureTest, testing::Bool());

TEST_P(FailureTest, LosesNothing) {
  for (const Row& row : kRows) {
    for (const bool nested : {false, true}) {
      for (const bool forever : {false, true}) {
        SCOPED_TRACE(testing::Message() << row.operation << ", " << nested);
        const char* const ends = row.ends[nested];
        const std::string signs = ends != nullptr ? ends : "";
        const std::string thrown = Translated(signs, 3);
        EXPECT_EQ(EndsOf(row, nested, Source::ObjectMonitor, forever),
                  GetParam() ? Translated(signs, forever ? 2 : 1) : "");
        EXPECT_EQ(EndsOf(row, nested, Source::OperatorNew, forever),
                  GetParam() ? "" : thrown);
        // What tells of bad data takes memory itself.
        const bool others = thrown.find_first_not_of('d') != thrown.npos;
        const std::string expected = others ? thrown : thrown + "b";
        const auto bytes = EndsOf(row, nested, Source::MemoryMonitor, forever);
        EXPECT_EQ(bytes.find_first_not_of(ends != nullptr ? expected : ""),
                  bytes.npos)
            << bytes;
        if (HasFailure()) return;  // a failure ends every sweep
      }
    }
  }
}

}  // namespace
