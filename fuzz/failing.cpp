// Exhausted memory: an operation on any text, with some request failing. It
// ends as it would have, or in the way that it names; nothing else changes, and
// another try passes.

#include "support.h"

#include <foundation/json/json.h>
#include <foundation/lang/exception.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <string>

using namespace vorn::foundation;
using namespace vorn::foundation::json;
using fuzz::Failing;
using fuzz::Require;
using fuzz::Source;

namespace {

enum Operation { kRead, kLoad, kClone, kFormat, kRender, kOperations };

// Ends of an operation: the text of its result, or
constexpr char kNothing[] = "";  // false, or a null result
constexpr char kExhausted[] = "std::bad_alloc";
constexpr char kAccessNull[] = "access null";

constexpr auto kNever = static_cast<std::size_t>(-1);

// What the operations work on: the text, and what was read from it.
struct Subject {
  std::string text;
  JsonReader reader{};  // the tree may be null
  JsonArchiver loaded{};
};

// How the operation ends when this request fails.
std::string Operate(Operation operation, const Subject& it, Source source,
                    std::size_t number, bool forever) {
  JsonReader reader;
  JsonArchiver archiver;
  const JBase* const tree = it.reader.getJson();
  JBase* copy = nullptr;
  SafeString text;
  try {
    const Failing failing(source, number, forever);
    if (operation == kRead) reader.fromString(it.text.c_str());
    if (operation == kLoad) archiver.fromString(it.text.c_str());
    if (operation == kClone && tree != nullptr) copy = tree->clone();
    if (operation == kFormat) text = JsonReader::Format(tree);
    if (operation == kRender) text = it.loaded.compress();
  } catch (const std::bad_alloc&) {
    Require(!archiver.isValid(), "nothing is loaded");
    return kExhausted;
  } catch (const lang::Exception& e) {
    return std::string(e.what());
  }
  if (operation == kRead) text = reader.compress();
  if (operation == kLoad) text = archiver.compress();
  if (copy != nullptr) {
    text = JsonReader::Compress(copy);
    copy->dispose();
  }
  return std::string(text);
}

// The number of values in a text without repeated keys: of objects that a
// reader asks for.
std::size_t CountValues(const std::string& text) {
  JsonReader reader;
  const Failing counting(Source::ObjectMonitor, kNever, false);
  reader.fromString(text.c_str());
  return Failing::Requests();
}

// Whether the text is read without one value, or without some.
bool IsReadInPart(std::string part, std::string all, bool one) {
  const std::size_t values = CountValues(all), rest = CountValues(part);
  std::sort(part.begin(), part.end());
  std::sort(all.begin(), all.end());
  return (one ? rest + 1 == values : rest < values) &&
         std::includes(all.begin(), all.end(), part.begin(), part.end());
}

// Whether the operation, which would have ended as expected, may end so because
// a request for an object failed, or one for other memory.
bool MayEnd(const std::string& end, const std::string& expected,
            Operation operation, bool object, std::size_t number,
            bool forever) {
  if (operation == kRead || operation == kLoad) {
    return end == kNothing || (end == kExhausted && operation == kLoad) ||
           (object && IsReadInPart(end, expected, !forever));
  }
  // The first object is the copy of the root, which is then looked for.
  if (operation == kClone && object && number == 0) {
    const bool reaches = std::strchr("[{", expected[0]) && expected != "{}";
    return end == (reaches ? kAccessNull : kNothing);
  }
  return end == kExhausted || (object && end == kAccessNull);
}

}  // namespace

void fuzz::Run(Input& in) {
  const std::size_t any = in.Below(65536);
  const bool forever = in.Below(2) != 0;
  const auto source = static_cast<Source>(in.Below(4));
  const auto operation = static_cast<Operation>(in.Below(kOperations));
  const bool object = source == Source::ObjectMonitor;
  Subject it{std::string(in.Text())};
  it.reader.fromString(it.text.c_str());
  it.loaded.fromString(it.text.c_str());
  // Where an object is missing, a repeated key may leave the former member.
  if (object && it.reader.valid()) it.text = it.reader.compress();
  const SafeString formatted = it.reader.format();
  const SafeString loaded = it.loaded.compress();
  const std::string expected = Operate(operation, it, source, kNever, false);
  const std::size_t requests = Failing::Requests();

  const std::size_t number = requests != 0 ? any % requests : 0;
  const std::size_t alive = Alive();
  const std::string end = Operate(operation, it, source, number, forever);
  Require((Failing::Requests() > number) == (requests != 0), "it has failed");
  Require(end == expected ||
              (requests != 0 && it.reader.valid() &&
               MayEnd(end, expected, operation, object, number, forever)),
          "the failure is told");
  Require(Alive() == alive, "the failure leaves nothing behind");
  Require(it.reader.format() == formatted, "the tree is as before");
  Require(it.loaded.compress() == loaded, "the archiver is as before");
  Require(Operate(operation, it, source, kNever, false) == expected,
          "another try passes");
}
