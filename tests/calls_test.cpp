// What the monitors are told, and in which order: by tracked creation and
// deletion, by the parser, by copies and by archivers. The tags are written
// out.

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

// "?" is a call of _IsTrace(), "(" one of _Alloc() and ")" one of _Dealloc().
TEST_P(CallsTest, OfTrackedObjects) {
  Make<Second>()->dispose();
  debug::Destroy<Disposable>(Make<Second>());
  debug::Destroy(Make<Plain>(), kTag);
  ScopedPointer<Plain>(Make<Plain>()).get();
  ScopedPointer<Disposable> it(Make<Disposable>());
  it.reset(Make<Disposable>());
  it.release()->dispose();
  EXPECT_FALSE(it);
  debug::Destroy<Plain>(nullptr);
  debug::Destroy<Disposable>(nullptr, kTag);
  const std::string log =
      "?(+test:1 test #1?-#1 destructor )"
      "?(+test:1 test #2?!#2 destructor )"
      "?(+test:1 test #3?!test:1 test #3 destructor )"
      "?(+test:1 test #4?!#4 destructor )"
      "?(+test:1 test #5?(+test:1 test #6?-#5 destructor )?-#6 destructor )";
  EXPECT_EQ(Monitor::TakeLog(),
            GetParam() ? log : Replace(Replace(log, "(", ""), ")", ""));
  if (!GetParam()) return;
  Monitor::FailRequest(Source::ObjectMonitor, 0, false);
  EXPECT_EQ(Make<Plain>(), nullptr);
  EXPECT_EQ(Monitor::TakeLog(), "?(+test:1 test null");
}

// The calls, without the folders.
std::string CallsOf(const std::function<void()>& work) {
  Monitor::TakeLog();
  work();
  const std::string calls = Replace(Monitor::TakeCalls(), "../json/json:", "");
  return Replace(calls, "../json/archive/", "");
}

TEST_P(CallsTest, OfTheLibrary) {
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
      {read(R"({"k":{},"k":0}])"),
       "+208 ParseObject #1+208 ParseObject #2+309 ParseNumber #3-#2"
       "!69 Compile #1-#3"},
      {[] {
         JsonReader reader;
         reader.fromString("null");
         reader.fromString(R"(["",{"":true}])");  // after a disposal
         ScopedPointer<JBase>(reader.getJson()->clone()).reset();
         reader.fromString("1");
         ScopedPointer<JBase>(reader.getJson()->clone()).reset();
       },
       "+278 ParseNullOrNan #1-#1+235 ParseArray #2+259 ParseString #3"
       "+208 ParseObject #4+270 ParseBool #5+525 clone #6+491 clone #7"
       "+636 clone #8+350 clone #9-#6-#7-#8-#9-#2-#3-#4-#5"
       "+309 ParseNumber #10+399 clone #11-#11-#10"},
      {[] {
         JsonArchiver it;
         it.writeObjectByIndex(0)->writeStringByField("f", "");
         EXPECT_THROW(it.writeDataByIndex(1, "t"), JsonException);
         it.compress();
         it.fromString("[{\"f\":null}]");
       },
       "+jsonarchiver:160 JsonArchiver #1"
       "+archiverutils:16 Create #2+archiverutils:18 Create #3"
       "+genericarchiver:8 GenericArchiver #4+archiverutils:13 Create #5"
       "+genericarchiver:44 writeString #6-#4"
       "+genericarchiver:8 GenericArchiver #7+archiverutils:13 Create #8!#8-#7"
       "+arrayarchiver:33 snapshot #9+objectarchiver:34 snapshot #10"
       "+491 clone #11-#9-#10-#11!archiverutils:33 Destroy #2"
       "!archiverutils:33 Destroy #3!archiverutils:33 Destroy #5-#6"
       "+235 ParseArray #12+208 ParseObject #13+278 ParseNullOrNan #14"
       "+326 clone #15+archiverutils:28 FromJson #16"
       "+archiverutils:23 FromJson #17+archiverutils:26 FromJson #18"
       "-#12-#13-#14!jsonarchiver:167 ~JsonArchiver #1"
       "!archiverutils:33 Destroy #18!archiverutils:33 Destroy #17"
       "!archiverutils:33 Destroy #16-#15"}};
  for (const auto& [work, calls] : kRows) {
    Monitor::Reset(GetParam());
    EXPECT_EQ(CallsOf(work), calls);
  }
  // No container is created of the last bracket.
  for (const char* open : {"[", "{\"\":"}) {
    const std::string calls = CallsOf(read(Repeat(1025, open)));
    EXPECT_EQ(std::count(calls.begin(), calls.end(), '+'), 1024);
  }
}

}  // namespace
