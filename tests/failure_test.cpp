// Exhausted memory. Each operation is run with its first, second, third, ...
// request for memory failing, that one alone or all from there on, until it
// passes. After each failure all that was there is as before, nothing else is
// left, and the operation passes when it is tried again.

#include "support/build.h"
#include "support/fixture.h"

#include <foundation/generic/scopedpointer.h>
#include <foundation/json/json.h>

#include <pthread.h>
#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <new>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

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
constexpr const char* kFull =  // another one takes more than its 29 buckets
    R"({"1": [1], "2": {"": 2}, "3": 0, "4": 0, "5": 0, "6": 0, "7": 0, "8": 0,
        "9": 0, "A": 0, "B": 0, "C": 0, "D": 0, "E": 0, "F": 0, "G": 0, "H": 0,
        "I": 0, "J": 0, "K": 0, "L": 0, "M": 0, "N": 0, "O": 0, "P": 0, "Q": 0,
        "R": 0, "S": 0, "T": 0})";
constexpr const char* kNested =
    R"({"\t234567890123456": [[{"1": 0, "2": 0, "3": 0, "4": 0, "5": 0, "6": 0,
        "7": 0, "8": 0, "9": 0, "A": 0, "B": 0, "C": 0, "D": 0, "E": 0}],
        "123456789012345\n", {}, nan, true, null]})";
constexpr Subjects kNull = {"null", "null"};
constexpr Subjects kBooleans = {"false", "true"};
constexpr Subjects kNumbers = {"1", "-9.223372036854775e18"};
constexpr Subjects kStrings = {R"("1")", R"("1234567890123456")"};
constexpr Subjects kArrays = {"[0]", R"([[1, {"2": [true, null]}]])"};
constexpr Subjects kObjects = {R"({"1": 0})",
                               R"({"1234567890.123456": [[1], {"2": 3}]})"};
constexpr Subjects kSets = {"{}", kFull};
constexpr Subjects kAny = {"0", kNested};
constexpr Subjects kNewScalar = {"", "0"};
constexpr Subjects kNewArray = {"", "[[2]]"};
constexpr Subjects kNewSet = {"", kFull};

struct World {
  World(const Subjects& subjects, bool is_nested)
      : subject(is_nested ? subjects.nested : subjects.small),
        nested(is_nested) {
    Load();
  }

  void Load() {
    reader.fromString(subject);
    archiver.fromString(subject);
    account = Monitor::Now();
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
  SafeString word = nested ? "1234567890.123456" : "1";  // a key, data, ...
  SafeString other = nested ? kNested : "1";             // another text
  ScopedPointer<JBase> value{Make<JString>(word)};       // to be handed over
  JsonReader reader;
  JsonArchiver archiver;
  Account account;  // of what is out once all is loaded
};
using It = World&;

// The kinds and sizes of what is out, wherever it is.
using Sizes = std::multiset<std::pair<Kind, unsigned int>>;
Sizes SizesOf(const Account& account) {
  Sizes sizes;
  for (const auto& [block, size] : account.blocks) {
    sizes.emplace(block.first, size);
  }
  return sizes;
}

// Whether all that is out was out before.
bool WereOut(const Blocks& blocks, const Blocks& before) {
  return std::includes(before.begin(), before.end(), blocks.begin(),
                       blocks.end());
}

// The operations --------------------------------------------------------------

template <class T, class... Arguments>
bool Made(Arguments&&... arguments) {
  return static_cast<bool>(
      ScopedPointer<T>(Make<T>(std::forward<Arguments>(arguments)...)));
}

bool Cloned(It it) {
  const ScopedPointer<JBase> copy(it.tree()->clone());
  return JsonReader::IsEqual(copy.get(), it.tree());
}

// To a tree of the same text, and to one that differs in a single character.
bool Compared(It it) {
  JsonReader same, changed;
  {
    const Monitor::Exempt exemption;
    std::string text = it.subject;
    same.fromString(text.c_str());
    text[text.rfind('0')] = '8';
    changed.fromString(text.c_str());
  }
  return JsonReader::IsEqual(same.getJson(), it.tree()) &&
         !JsonReader::IsEqual(changed.getJson(), it.tree());
}

// A value that a container did not take is still ours.
bool SetMember(It it) {
  it.object().setValue(it.word, it.value.get());
  return it.value.release() != nullptr;
}

// Loads again what a failure has dropped. Nothing new may be out, and nothing
// gone that is not there again.
template <class Holder>
void Reload(It it, const Holder& holder, const char* left = "") {
  const Monitor::Exempt exemption;
  const Account before = std::move(it.account);
  EXPECT_EQ(holder.compress(), left);
  EXPECT_TRUE(WereOut(Monitor::Now().blocks, before.blocks));
  it.Load();
  EXPECT_EQ(SizesOf(it.account), SizesOf(before));
}

bool ReplaceMember(It it) try {
  return SetMember(it);
} catch (const std::bad_alloc&) {
  Reload(it, it.reader, "{}");
  throw;
}

template <class Holder, class Text>
bool Read(It it, Holder& holder, const Text& text) try {
  const bool read = holder.fromString(text);
  if (!read) Reload(it, holder);
  return read;
} catch (const std::bad_alloc&) {
  Reload(it, holder);
  throw;
}

bool Written(It it) {
  Context context;
  it.tree()->toString(context);
  const Monitor::Exempt exemption;
  return it.reader.format() == context.stream.str();
}

template <class Container>
bool Detached(Container& container, JBase* child) {
  container.detach();
  child->dispose();
  return container.empty();
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

// The subjects; how it ends on each of them when the first, the second, ...
// object cannot be made and, behind a bar, how it may end when a string or a
// container has no memory; and the operation. Where nothing stands, there is
// nothing that could fail.
//   n  without a result    b  by std::bad_alloc
//   -  with false          d  taking what could not be parsed for bad data
//   a  [  {                by the "access null" of the pointer to an archiver,
//                          an array, an object
//   +  without the object  *  the same when those that follow can be made
#define ROW(subjects, small, nested, ...)                                    \
  Row({#__VA_ARGS__, subjects, {small, nested}, []([[maybe_unused]] It it) { \
         return HasResult([&] { return __VA_ARGS__; });                      \
       }})
constexpr const char* kRead = "----+++++++++++++++++++|-";
constexpr const char* kCopied = "{[[{bbbbbbbbbbbbbbbbbbb|b";
constexpr const char* kLoaded =
    "----*******************bbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbb|-b";
const Row kRows[] = {
    ROW(kAny, "nnnnnn", "nnnnnn",
        Made<JNull>() + Made<JBool>() + Made<JNumber>() + Made<JString>() +
                Made<JArray>() + Made<JObject>() ==
            6),
    ROW(kAny, "n", "n", Made<JBool>(true)),
    ROW(kNumbers, "n", "n", Made<JNumber>(it.number().toInt())),
    ROW(kNumbers, "n", "n|b", Made<JNumber>(it.number().toLong())),
    ROW(kNumbers, "n", "n|b", Made<JNumber>(it.number().toFloat())),
    ROW(kAny, "n", "n|b", Made<JString>(it.word)),
    ROW(kAny, "n", "n", Made<JString>(std::move(it.word))),
    ROW(kBooleans, "", "", it.boolean().setValue(!it.boolean().value())),
    ROW(kNumbers, "", "", it.number().setValue(it.number().toInt())),
    ROW(kNumbers, "", "|b", it.number().setValue(it.number().toLong())),
    ROW(kNumbers, "", "|b", it.number().setValue(it.number().toFloat())),
    ROW(kNumbers, "", "|b", it.number().fromString(it.word)),
    ROW(kNumbers, "", "|b", it.number().toString() == it.subject),
    ROW(kStrings, "", "|b", it.string().setValue(it.word)),
    ROW(kStrings, "", "|b", it.string().value().size() >= it.word.size() - 1),
    ROW(kNull, "n", "n", Cloned(it)),
    ROW(kBooleans, "n", "n", Cloned(it)),
    ROW(kNumbers, "n", "n|b", Cloned(it)),
    ROW(kStrings, "n", "n|b", Cloned(it)),
    ROW(kArrays, "[b|b", "[[b{[bb|b", Cloned(it)),
    ROW(kObjects, "{b|b", "{[[b{b|b", Cloned(it)),
    ROW(kAny, "n", kCopied, Cloned(it)),
    ROW(kArrays, "|b", "|b",
        (it.array().append(it.value.get()), it.value.release())),
    ROW(kArrays, "", "", it.array().setValue(0, it.value.release())),
    ROW(kArrays, "", "", !it.array().setValue(9, it.value.release())),
    ROW(kArrays, "", "",
        it.array().at(0)->type() == std::as_const(it.array()).at(0)->type() &&
            it.array().length() != 0 && !it.array().empty()),
    ROW(kArrays, "", "", it.array().clear()),
    ROW(kArrays, "", "", Detached(it.array(), it.array().at(0))),
    ROW(kSets, "|b", "|b", SetMember(it)),
    ROW(kObjects, "|b", "|b", ReplaceMember(it)),
    ROW(kObjects, "", "",
        it.object().at(it.word) && std::as_const(it.object()).at(it.word) &&
            it.object().existed(it.word) && !it.object().empty() &&
            it.object().remove(it.word)),
    ROW(kObjects, "|b", "|b", it.object().keys().front() == it.word),
    ROW(kObjects, "", "", it.object().clear()),
    ROW(kObjects, "", "", Detached(it.object(), it.object().at(it.word))),
    ROW(kSets, "-", kRead, Read(it, it.reader, it.other.c_str())),
    ROW(kSets, "-", kRead, Read(it, it.reader, it.other)),
    ROW(kAny, "", "",
        !it.reader.fromString(nullptr) && !it.archiver.fromString(nullptr)),
    ROW(kAny, "", "", it.reader.reset()),
    ROW(kAny, "", "", (it.reader.transfer()->dispose(), !it.reader.valid())),
    ROW(kAny, "", "|b", it.reader.format() == JsonReader::Format(it.tree())),
    ROW(kAny, "", "|b",
        it.reader.compress() == JsonReader::Compress(it.tree())),
    ROW(kAny, "", "|b", Written(it)),
    ROW(kAny, "", "", Compared(it)),
    ROW(kNewSet, "b", "b", !JsonArchiver().isValid()),
    ROW(kNewScalar, "bbd", "d|d", it.archiver.writeData(it.word)),
    ROW(kNewScalar, "bbb", "b|b", it.archiver.writeString(it.word)),
    ROW(kNewArray, "b", "", it.archiver.writeArray()),
    ROW(kNewArray, "babd|b", "abd|d", it.archiver.writeDataByIndex(0, it.word)),
    ROW(kNewArray, "babb|b", "abb|b",
        it.archiver.writeStringByIndex(it.nested, it.word)),
    ROW(kNewArray, "bb|b", "b|b", it.archiver.writeArrayByIndex(it.nested)),
    ROW(kNewArray, "bb|b", "b", it.archiver.writeObjectByIndex(0)),
    ROW(kNewSet, "b", "", it.archiver.writeObject()),
    ROW(kNewSet, "babd|b", "abd|db",
        it.archiver.writeDataByField(it.word, it.word)),
    ROW(kNewSet, "babb|b", "abb|b",
        it.archiver.writeStringByField(it.word, it.word)),
    ROW(kNewSet, "bb|b", "b|b", it.archiver.writeArrayByField(it.word)),
    ROW(kNewSet, "bb|b", "b|b", it.archiver.writeObjectByField(it.word)),
    ROW(kObjects, "d", "b|b", WriteToChild(it)),
    ROW(kObjects, "|b", "|b", Refused([&] { it.archiver.writeArray(); })),
    ROW(kObjects, "|b", "|b",
        Refused([&] { it.archiver.writeArrayByField(it.word); })),
    ROW(kObjects, "|b", "|b",
        Refused([&] { it.archiver.readByField(it.word)->writeObject(); })),
    ROW(kArrays, "|b", "|b",
        Refused([&] { it.archiver.writeArrayByIndex(9); })),
    ROW(kSets, "-bb", kLoaded, Read(it, it.archiver, it.other.c_str())),
    ROW(kSets, "-bb", kLoaded, Read(it, it.archiver, it.other)),
    ROW(kAny, "b", kCopied, it.archiver.format().size()),
    ROW(kObjects, "{b|b", "{[[b{b|b", it.archiver.compress().size()),
    ROW(kStrings, "", "|b", it.archiver.read(it.word)),
    ROW(kNumbers, "", "|b", it.archiver.read(it.word)),
    ROW(kArrays, "", "",
        it.archiver.isArray() && it.archiver.size() != 0 &&
            it.archiver.readByIndex(0)),
    ROW(kObjects, "", "",
        it.archiver.isValid() && it.archiver.isObject() &&
            it.archiver.readByField(it.word)),
    ROW(kObjects, "|b", "|b", it.archiver.fields().front() == it.word),
};

// How the row ends: '+' with its result, '-' without one.
char EndOf(const Row& row, It it) {
  try {
    return row.operate(it) ? '+' : '-';
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

// What is there when the operation has passed.
struct Goal {
  Goal(const Row& row, bool nested) {
    const Monitor::Exempt exemption;
    World it(row.subjects, nested);
    EXPECT_EQ(EndOf(row, it), '+');
    text = it.text();
    sizes = SizesOf(Monitor::Now());
  }

  std::string text;
  Sizes sizes;
};

char Attempt(const Row& row, bool nested, const Goal& goal) {
  std::optional<World> it;
  std::string before;
  {
    const Monitor::Exempt exemption;
    before = it.emplace(row.subjects, nested).text();
  }
  const char end = EndOf(row, *it);
  const Monitor::Exempt exemption;
  const Account now = Monitor::Now();
  const std::string text = it->text();
  if (end != '+' && text == before) {
    EXPECT_EQ(now, it->account);
  } else if (end != '+') {
    // The archiver was empty, and has its kind now.
    const char kind = goal.text[before.size()];
    EXPECT_EQ(before.back(), '\n');
    EXPECT_EQ(text, before + (kind == '['   ? "[]"
                              : kind == '{' ? "{}"
                                            : "null"));
    EXPECT_TRUE(WereOut(it->account.blocks, now.blocks));
  }
  if (end != '+' || text != goal.text) {
    EXPECT_EQ(EndOf(row, *it), '+') << "the second time";
  }
  EXPECT_EQ(it->text(), goal.text);
  EXPECT_EQ(SizesOf(Monitor::Now()), goal.sizes);
  return end;
}

// How it ends for the signs, in the order of kSigns, when one object cannot be
// made, when those that follow cannot either, when operator new throws instead.
constexpr std::string_view kSigns = "n+*b-da[{";
constexpr const char *kOne = "-++b-da[{", *kAll = "-+bb-da[{",
                     *kThrown = "b--b-dbbb";

std::string Translated(std::string signs, const char* ends) {
  for (char& sign : signs) sign = ends[kSigns.find(sign)];
  return signs;
}

// Lets each request of the operation fail, and returns how many did.
std::size_t Check(const Row& row, bool nested, bool forever) {
  const Goal goal(row, nested);
  std::size_t injected = 0;
  const auto ends_of = [&](Source source) {
    std::string ends;
    char end = '?';
    injected += Sweep(
        source, forever, [&] { end = Attempt(row, nested, goal); },
        [&](bool failed) { ends += failed ? std::string(1, end) : ""; });
    return ends;
  };
  const std::string ends = row.ends[nested];
  const std::size_t bar = std::min(ends.find('|'), ends.size());
  const std::string signs = ends.substr(0, bar);
  const bool traced = Monitor::Traces();
  EXPECT_EQ(ends_of(Source::ObjectMonitor),
            traced ? Translated(signs, forever ? kAll : kOne) : "");
  EXPECT_EQ(ends_of(Source::OperatorNew),
            traced ? "" : Translated(signs, kThrown));
  // What tells of bad data takes memory itself.
  std::string expected = ends.substr(bar), others;
  if (forever && expected.find('d') != ends.npos) expected = "|b";
  for (const char end : ends_of(Source::MemoryMonitor)) {
    if (others.find(end) == others.npos) others += end;
  }
  EXPECT_EQ(others.empty() ? "" : "|" + others, expected);
  return injected;
}

using FailureTest = LeakTest;

TEST_F(FailureTest, LosesNothing) {
  std::size_t injected = 0;
  for (const bool traced : {false, true}) {
    Monitor::Reset(traced);
    for (const Row& row : kRows) {
      for (const bool nested : {false, true}) {
        for (const bool forever : {false, true}) {
          SCOPED_TRACE(testing::Message() << row.operation << ", " << nested);
          injected += Check(row, nested, forever);
          if (HasFailure()) return;  // a failure ends every sweep
        }
      }
    }
  }
  std::printf("%zu failures injected\n", injected);
  EXPECT_EQ(injected, 2508u);
}

// Works on a text until it is cancelled, in a request that fails.
void* UntilCancelled(void*) {
  pthread_cancel(pthread_self());
  JsonReader reader, again;
  JsonArchiver archiver;
  reader.fromString(kNested);
  if (!reader.valid()) return nullptr;
  const ScopedPointer<JBase> copy(reader.getJson()->clone());
  again.fromString(reader.format());
  archiver.fromString(reader.compress());
  archiver.writeArrayByField("a")->writeStringByIndex(0, archiver.format());
  return nullptr;
}

TEST_F(FailureTest, LetsAThreadBeCancelled) {
  if (kSanitized) GTEST_SKIP() << "a sanitizer does not see the unwinding";
  for (const bool traced : {false, true}) {
    Monitor::Reset(traced);
    for (const Source source :
         {Source::OperatorNew, Source::ObjectMonitor, Source::MemoryMonitor}) {
      void* result = nullptr;
      const auto run = [&] {
        pthread_t thread;
        EXPECT_EQ(pthread_create(&thread, nullptr, UntilCancelled, nullptr), 0);
        pthread_join(thread, &result);
        Monitor::TakeLog();
      };
      Sweep(source, false, run, [&](bool failed) {
        EXPECT_EQ(result == PTHREAD_CANCELED, failed);
      });
    }
  }
}

}  // namespace
