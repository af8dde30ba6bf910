// What the monitors are told, and in which order: by tracked creation and
// deletion, by the parser and by archivers. The tags are written out. What a
// copy creates and disposes is in properties/tree.cpp.

#include "support/property.h"

#include <foundation/generic/scopedpointer.h>
#include <foundation/json/json.h>

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using namespace support;
using namespace vorn::foundation;
using namespace vorn::foundation::json;
using generic::ScopedPointer;

using CallsTest = testing::TestWithParam<bool>;  // tracing
INSTANTIATE_TEST_SUITE_P(Tracing, CallsTest, testing::Bool());

// Objects that note their destruction.
struct Disposable : lang::IDisposable {
  ~Disposable() override { Monitor::Note(" destructor "); }
};
struct Plain {
  ~Plain() { Monitor::Note(" destructor "); }
};
struct Other {
  virtual ~Other() = default;
};
struct Second : Other, Disposable {};  // does not begin with its Disposable
struct Throwing {
  Throwing() { throw std::bad_alloc(); }
};

// "?" is a call of _IsTrace(), "(" one of _Alloc() and ")" one of _Dealloc().
TEST_P(CallsTest, OfTrackedObjects) {
  Make<Second>()->dispose();
  debug::Destroy<Disposable>(Make<Second>());
  debug::Destroy(Make<Plain>(), kTag);
  ScopedPointer<Plain>(Make<Plain>()).get();
  ScopedPointer<Disposable> it(Make<Disposable>());
  it.reset(Make<Disposable>());
  EXPECT_EQ(it.operator->(), it.get());
  EXPECT_TRUE(it);
  it.release()->dispose();
  EXPECT_FALSE(it);
  EndOf([] { return Make<Throwing>(); });
  debug::Destroy<Plain>(nullptr);
  debug::Destroy<Disposable>(nullptr, kTag);
  ScopedPointer<Plain>().reset();
  const std::string log =
      "?(+test:1 test #1?-#1 destructor )"
      "?(+test:1 test #2?!#2 destructor )"
      "?(+test:1 test #3?!test:1 test #3 destructor )"
      "?(+test:1 test #4?!#4 destructor )"
      "?(+test:1 test #5?(+test:1 test #6?-#5 destructor )?-#6 destructor )?()";
  EXPECT_EQ(Monitor::TakeLog(),
            GetParam() ? log : Replace(Replace(log, "(", ""), ")", ""));
}

// Without memory for it, without a place in the list.
TEST_P(CallsTest, OfObjectsThatAreNotMade) {
  const auto make = [] { return Make<Disposable>() != nullptr; };
  Monitor::FailRequest(GetParam() ? Source::ObjectMonitor : Source::OperatorNew,
                       0, false);
  EXPECT_EQ(EndOf(make), GetParam() ? End::Nothing : End::Exhausted);
  Monitor::FailRequest(Source::List, 0, false);
  EXPECT_EQ(EndOf(make), End::Exhausted);
  EXPECT_EQ(Monitor::TakeLog(), GetParam()
                                    ? "?(+test:1 test null?( destructor )"
                                    : "?? destructor ");
}

// Writes and reads of one archiver. A scalar of a text takes three objects, its
// value, a copy of that and an archiver, a container two.
void Archive() {
  JsonArchiver it;
  const auto refused = [](auto write) {
    EXPECT_EQ(EndOf([&] { return write(), true; }), End::Refused);
  };
  it.writeString("");
  it.writeData("1");
  it.fromString("t");
  it.writeDataByIndex(0, "null");
  it.writeObjectByIndex(1);
  it.writeStringByIndex(1, "");
  it.writeArrayByIndex(0);
  refused([&] { it.writeDataByIndex(1, "t"); });
  it.compress();
  it.fromString("{\"f\":[null]}");
  refused([&] { it.writeDataByField("g", "t"); });
  it.format();
}

// The calls without the folders, and with signs for some of them.
TEST_P(CallsTest, OfTheLibrary) {
  const std::pair<const char*, const char*> kSigns[] = {
      {"!../json/archive/archiverutils:33 Destroy ", "~"},
      {"../json/archive/genericarchiver:8 GenericArchiver ", "null"},
      {"../json/archive/archiverutils:13 Create ", "scalar"},
      {"../json/archive/", ""},
      {"../json/json:", ""}};
  const auto read = [](const std::string& text) {
    return [text] { JsonReader().fromString(text.c_str()); };
  };
  const std::pair<std::function<void()>, const char*> kRows[] = {
      {read(R"({"k":[false,true,null,nan,inf,-inf,-1,"s"]})"),
       "+208 ParseObject #1+235 ParseArray #2+265 ParseBool #3+270 ParseBool #4"
       "+278 ParseNullOrNan #5+283 ParseNullOrNan #6+293 ParseNumber #7"
       "+300 ParseNumber #8+309 ParseNumber #9+259 ParseString #10"
       "-#1-#2-#3-#4-#5-#6-#7-#8-#9-#10"},
      {read(R"([null,{"a":false,"b":true,"k":[[],-}]])"),
       "+235 ParseArray #1+278 ParseNullOrNan #2+208 ParseObject #3"
       "+265 ParseBool #4+270 ParseBool #5+235 ParseArray #6+235 ParseArray #7"
       "+309 ParseNumber #8!315 ParseNumber #8-#6-#7-#3-#5-#4-#1-#2"},
      {read(R"({"k":{},"k":0 1})"),
       "+208 ParseObject #1+208 ParseObject #2+309 ParseNumber #3-#2-#1-#3"},
      {read("[true]]"), "+235 ParseArray #1+270 ParseBool #2!69 Compile #1-#2"},
      {[] {
         JsonReader reader;
         reader.fromString("null");
         reader.fromString("[]");  // the former tree is disposed first
       },
       "+278 ParseNullOrNan #1-#1+235 ParseArray #2-#2"},
      {[] {
         Monitor::FailRequest(Source::MemoryMonitor, 1, true);
         JsonReader().fromString("[null 1");  // no room for the element
       },
       "+235 ParseArray #1+278 ParseNullOrNan #2-#1-#2"},
      {Archive,
       "+jsonarchiver:160 JsonArchiver #1"
       "+null#2+scalar#3+genericarchiver:44 writeString #4-#2"
       "+309 ParseNumber #5-#4~#3-#5"
       "+archiverutils:16 Create #6+null#7+scalar#8+278 ParseNullOrNan #9-#7"
       "+archiverutils:18 Create #10"
       "+null#11+scalar#12+genericarchiver:44 writeString #13-#11~#10"
       "+archiverutils:16 Create #14~#8-#9"
       "+null#15+scalar#16!#16-#15"
       "+arrayarchiver:33 snapshot #17+arrayarchiver:33 snapshot #18"
       "+491 clone #19-#17-#18-#19"
       "~#6~#14~#12-#13+208 ParseObject #20+235 ParseArray #21"
       "+278 ParseNullOrNan #22+326 clone #23+archiverutils:28 FromJson #24"
       "+archiverutils:26 FromJson #25+archiverutils:23 FromJson #26"
       "-#20-#21-#22"
       "+null#27+scalar#28!#28-#27"
       "+objectarchiver:34 snapshot #29+arrayarchiver:33 snapshot #30"
       "+326 clone #31-#29-#30-#31"
       "!jsonarchiver:167 ~JsonArchiver #1~#26~#25~#24-#23"}};
  for (const auto& [work, expected] : kRows) {
    Monitor::Reset(GetParam());
    work();
    std::string calls = Monitor::TakeCalls();
    for (const auto& [call, sign] : kSigns) calls = Replace(calls, call, sign);
    EXPECT_EQ(calls, expected);
  }
  // No container is created of the last bracket.
  for (const char* open : {"[", "{\"\":"}) {
    read(Repeat(1025, open))();
    const std::string calls = Monitor::TakeCalls();
    EXPECT_EQ(std::count(calls.begin(), calls.end(), '+'), 1024);
  }
}

}  // namespace
