// Exhausted memory: an operation on any text, with some request failing. It
// ends as it would have, or says so; nothing else changes, and another try
// passes.

#include "support.h"

#include "compile.h"

#include <foundation/json/json.h>
#include <foundation/lang/exception.h>

#include <new>
#include <string>

using namespace vorn::foundation;
using namespace vorn::foundation::json;
using fuzz::Failing;
using fuzz::Require;
using fuzz::Source;

namespace {

// What an operation gives: a tree, which the caller owns, or a text.
struct Result {
  JBase* tree;
  SafeString text{};
};

// An operation on the text, or on the tree of it, which may be null. The first
// two read the text.
constexpr unsigned int kOperations = 4;
Result Operate(unsigned int operation, const char* text, const JBase* tree) {
  if (operation == 0) return {Compile(text)};
  if (operation == 1) {
    JsonArchiver archiver;
    if (!archiver.fromString(text)) return {nullptr, "!"};
    return {nullptr, archiver.format()};
  }
  if (operation == 2) return {tree != nullptr ? tree->clone() : nullptr};
  return {nullptr, JsonReader::Format(tree)};
}

constexpr auto kNever = static_cast<std::size_t>(-1);

// How it ends: "" without a result, "!" in front of a failure.
template <class Operation>
std::string Outcome(const Operation& operate, Source source, std::size_t number,
                    bool forever) {
  Result result{nullptr};
  try {
    const Failing failing(source, number, forever);
    result = operate();
  } catch (const std::bad_alloc&) {
    return "!";
  } catch (const lang::Exception& e) {
    const std::string what = e.what();
    return "!" + (what == "access null" ? what : e.where() + what);
  }
  if (result.tree == nullptr) return std::string(result.text);
  const SafeString text = JsonReader::Compress(result.tree);
  result.tree->dispose();
  return std::string(text);
}

// Whether it may end so where it ends as expected with all memory. Where the
// monitor has no memory for objects, less of a text is read.
bool MayEnd(const std::string& outcome, const std::string& expected,
            unsigned int operation, bool objects) {
  if (outcome == "!") return true;
  if (outcome.empty()) return objects && operation != 1;
  if (outcome == "!access null") return objects;
  const bool well_formed = !expected.empty() && expected[0] != '!';
  return objects && operation < 2 && well_formed && outcome[0] != '!';
}

}  // namespace

void fuzz::Run(Input& in) {
  const std::size_t any = in.Below(65536);
  const bool forever = in.Below(2) != 0;
  const auto source = static_cast<Source>(in.Below(4));
  const unsigned int operation = in.Below(kOperations);
  const std::string text(in.Text());
  JsonReader reader, before;
  reader.fromString(text.c_str());
  before.fromString(text.c_str());
  const auto operate = [&] {
    return Operate(operation, text.c_str(), reader.getJson());
  };
  const std::string expected = Outcome(operate, source, kNever, false);
  const std::size_t requests = Failing::Requests();

  const std::size_t number = requests != 0 ? any % requests : 0;
  const std::size_t alive = Alive();
  const std::string outcome = Outcome(operate, source, number, forever);
  const bool objects = source == Source::ObjectMonitor;
  Require((Failing::Requests() > number) == (requests != 0), "it has failed");
  Require(Alive() == alive, "the failure leaves nothing behind");
  Require(outcome == expected ||
              (requests != 0 && MayEnd(outcome, expected, operation, objects)),
          "the failure is told");
  Require(JsonReader::IsEqual(reader.getJson(), before.getJson()),
          "the tree is as before");
  Require(Outcome(operate, source, kNever, false) == expected,
          "another try passes");
}
