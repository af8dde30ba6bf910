// What the monitors are told, and in which order: by tracked creation and
// deletion, by the parser, by copies and by archivers. The tags are written
// out.

#include "support/property.h"
#include "support/texts.h"
#include "support/traced.h"

#include <foundation/generic/scopedpointer.h>
#include <foundation/json/json.h>

#include <optional>

namespace {

using namespace support;
using namespace vorn::foundation;
using namespace vorn::foundation::json;
using generic::ScopedPointer;

VORN_TRACED_TEST(CallsTest);

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

// In brackets what stands between _Alloc() and _Dealloc() when tracing is on.
TEST_P(CallsTest, OfTrackedObjects) {
  const std::pair<void (*)(), std::string> kRows[] = {
      {[] { Make<Disposable>()->dispose(); },
       "(+test:1 test #1-#1 destructor )"},
      {[] { Make<Second>()->dispose(); }, "(+test:1 test #1-#1 destructor )"},
      {[] { debug::Destroy<Disposable>(Make<Second>()); },
       "(+test:1 test #1!#1 destructor )"},
      {[] { debug::Destroy(Make<Plain>(), kTag); },
       "(+test:1 test #1!test:1 test #1 destructor )"},
      {[] { debug::Destroy(Make<Plain>()); },
       "(+test:1 test #1!#1 destructor )"},
      {[] { ScopedPointer<Plain>(Make<Plain>()); },
       "(+test:1 test #1!#1 destructor )"},
      {[] { ScopedPointer<Disposable>(Make<Disposable>()); },
       "(+test:1 test #1-#1 destructor )"},
      {[] {
         ScopedPointer<Disposable> it(Make<Disposable>());
         it.reset(Make<Disposable>());
         EXPECT_EQ(it.operator->(), it.get());
         EXPECT_TRUE(it);
         it.release()->dispose();
         EXPECT_FALSE(it);
       },
       "(+test:1 test #1(+test:1 test #2-#1 destructor )-#2 destructor )"},
      {[] { EndOf([] { return Make<Throwing>(); }); }, "()"},
      {[] { debug::Destroy<Plain>(nullptr); }, ""},
      {[] { debug::Destroy<Disposable>(nullptr, kTag); }, ""},
      {[] { ScopedPointer<Plain>().reset(); }, ""}};
  for (const auto& [work, log] : kRows) {
    Monitor::Reset(GetParam());
    work();
    const auto objects = std::count(log.begin(), log.end(), '#');
    EXPECT_EQ(Monitor::Questions(), objects + (log == "()"));
    EXPECT_EQ(GetParam() ? Monitor::TakeLog() : "", GetParam() ? log : "");
    EXPECT_EQ(Monitor::TakeCalls(),
              GetParam() ? "" : Replace(Replace(log, "(", ""), ")", ""));
  }
}

// Without memory for it, without a place in the list.
TEST_P(CallsTest, OfObjectsThatAreNotMade) {
  const auto make = [] { return Make<Disposable>() != nullptr; };
  const Source source =
      GetParam() ? Source::ObjectMonitor : Source::OperatorNew;
  Monitor::FailRequest(source, 0, false);
  EXPECT_EQ(EndOf(make), GetParam() ? End::Nothing : End::Exhausted);
  Monitor::FailRequest(Source::List, 0, false);
  EXPECT_EQ(EndOf(make), End::Exhausted);
  Monitor::StopFailing();
  EXPECT_EQ(Monitor::TakeLog(),
            GetParam() ? "(+test:1 test null( destructor )" : " destructor ");
}

// The calls without the folders, and with signs for some of them.
std::string TakeSigns() {
  const std::pair<const char*, const char*> kSigns[] = {
      {"!../json/archive/archiverutils:33 Destroy ", "~"},
      {"../json/archive/genericarchiver:8 GenericArchiver ", "null"},
      {"../json/archive/archiverutils:13 Create ", "scalar"},
      {"../json/archive/", ""},
      {"../json/json:", ""}};
  std::string calls = Monitor::TakeCalls();
  for (const auto& [call, sign] : kSigns) calls = Replace(calls, call, sign);
  return calls;
}

TEST_P(CallsTest, OfTheParser) {
  const std::pair<const char*, const char*> kRows[] = {
      {R"({"k":[false,true,null,nan,inf,-inf,-1,"s"]})",
       "+208 ParseObject #1+235 ParseArray #2+265 ParseBool #3+270 ParseBool #4"
       "+278 ParseNullOrNan #5+283 ParseNullOrNan #6+293 ParseNumber #7"
       "+300 ParseNumber #8+309 ParseNumber #9+259 ParseString #10"
       "-#1-#2-#3-#4-#5-#6-#7-#8-#9-#10"},
      {R"([null,{"k":[false,[],-}]])",
       "+235 ParseArray #1+278 ParseNullOrNan #2+208 ParseObject #3"
       "+235 ParseArray #4+265 ParseBool #5+235 ParseArray #6"
       "+309 ParseNumber #7!315 ParseNumber #7-#4-#5-#6-#3-#1-#2"},
      {R"({"k":{},"k":0 1})",
       "+208 ParseObject #1+208 ParseObject #2+309 ParseNumber #3-#2-#1-#3"},
      {"[true]]", "+235 ParseArray #1+270 ParseBool #2!69 Compile #1-#2"}};
  for (const auto& [text, calls] : kRows) {
    Monitor::Reset(GetParam());
    JsonReader().fromString(text);
    EXPECT_EQ(TakeSigns(), calls);
  }
  for (const char* open : {"[", "{\"\":"}) {
    Monitor::Reset(GetParam());
    JsonReader().fromString(Repeat(1025, open).c_str());
    const std::string calls = TakeSigns();  // no container of the last bracket
    EXPECT_EQ(std::count(calls.begin(), calls.end(), '+'), 1024);
  }
  Monitor::Reset(GetParam());
  Monitor::FailRequest(Source::MemoryMonitor, 1, true);
  JsonReader().fromString("[null 1");  // no room for what waits for the array
  Monitor::StopFailing();
  EXPECT_EQ(TakeSigns(), "+235 ParseArray #1+278 ParseNullOrNan #2-#1-#2");
}

TEST_P(CallsTest, OfReadersAndCopies) {
  JsonReader reader;
  reader.fromString("null");
  reader.fromString(R"([null,true,1.0,"a",{"b":[]}])");
  EXPECT_EQ(TakeSigns().substr(0, 50),
            "+278 ParseNullOrNan #1-#1+235 ParseArray #2+278 Pa");
  reader.getJson()->clone()->dispose();
  EXPECT_EQ(TakeSigns(),
            "+525 clone #9+326 clone #10+350 clone #11+399 clone #12"
            "+491 clone #13+636 clone #14+525 clone #15"
            "-#9-#10-#11-#12-#13-#14-#15");
}

// A scalar of a text takes three objects, its value, a copy of that and an
// archiver, a container two, its value and an archiver.
TEST_P(CallsTest, OfArchivers) {
  std::optional<JsonArchiver> it;
  const std::pair<std::function<void()>, const char*> kSteps[] = {
      {[&] { it.emplace(); }, "+jsonarchiver:160 JsonArchiver #1"},
      {[&] { it->writeString(""); },
       "+null#2+scalar#3+genericarchiver:44 writeString #4-#2"},
      {[&] { it->writeData("1"); }, "+309 ParseNumber #5-#4"},
      {[&] { it->fromString("t"); }, "~#3-#5"},
      {[&] { it->writeDataByIndex(0, "null"); },
       "+archiverutils:16 Create #6+null#7+scalar#8"
       "+278 ParseNullOrNan #9-#7"},
      {[&] { it->writeObjectByIndex(1); }, "+archiverutils:18 Create #10"},
      {[&] { it->writeStringByIndex(1, ""); },
       "+null#11+scalar#12+genericarchiver:44 writeString #13-#11~#10"},
      {[&] { it->writeArrayByIndex(0); }, "+archiverutils:16 Create #14~#8-#9"},
      {[&] { EndOf([&] { return it->writeDataByIndex(1, "t"), true; }); },
       "+null#15+scalar#16!#16-#15"},
      {[&] { it->compress(); },
       "+arrayarchiver:33 snapshot #17+arrayarchiver:33 snapshot #18"
       "+491 clone #19-#17-#18-#19"},
      {[&] { it->fromString("{\"f\":[null]}"); },
       "~#6~#14~#12-#13+208 ParseObject #20+235 ParseArray #21"
       "+278 ParseNullOrNan #22+326 clone #23+archiverutils:28 FromJson #24"
       "+archiverutils:26 FromJson #25+archiverutils:23 FromJson #26"
       "-#20-#21-#22"},
      {[&] { EndOf([&] { return it->writeDataByField("g", "t"), true; }); },
       "+null#27+scalar#28!#28-#27"},
      {[&] { it->format(); },
       "+objectarchiver:34 snapshot #29+arrayarchiver:33 snapshot #30"
       "+326 clone #31-#29-#30-#31"},
      {[&] { it.reset(); },
       "!jsonarchiver:167 ~JsonArchiver #1~#26~#25~#24-#23"}};
  for (const auto& [step, calls] : kSteps) {
    step();
    EXPECT_EQ(TakeSigns(), calls);
  }
}

}  // namespace
