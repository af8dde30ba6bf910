#pragma once

#include <foundation/text/safestring.h>

#include <cstddef>
#include <functional>
#include <iterator>
#include <memory>
#include <string_view>
#include <unordered_map>
#include <vector>

// What the fuzz targets share: the reading of their input, models of trees, and
// monitors in place of the framework's, with operator new, that keep account of
// what is out and let requests fail. Blocks have their exact size, so that the
// address sanitizer sees what goes past their end.
namespace fuzz {

// An input, from which a target takes numbers at the end and text at the front:
// so a file of JSON text is of use to every target.
class Input {
 public:
  explicit Input(std::string_view bytes) : bytes_(bytes) {}

  bool empty() const { return bytes_.empty(); }

  // A number below the bound; 0 when the input is used up.
  unsigned int Below(std::size_t bound) {
    unsigned int number = 0;
    for (std::size_t range = 1; range < bound && !empty(); range *= 256) {
      number = number * 256 + static_cast<unsigned char>(bytes_.back());
      bytes_.remove_suffix(1);
    }
    return number % static_cast<unsigned int>(bound);
  }

  // The next bytes, as many as there are up to the limit.
  std::string_view Text(std::size_t limit = std::string_view::npos) {
    const std::string_view text = bytes_.substr(0, limit);
    bytes_.remove_prefix(text.size());
    return text;
  }

 private:
  std::string_view bytes_;
};

// What a target does with one input. Tracing is on or off, as the input says.
// All objects and blocks must be gone when it returns.
void Run(Input& in);

// Ends the process when this does not hold.
void Require(bool holds, const char* what);

// The addresses and sizes of all objects and blocks that are out, added up; 0
// when there are none.
std::size_t Alive();

// Where a request can fail: for memory, or for an entry in the monitor's list.
enum class Source { OperatorNew, ObjectMonitor, MemoryMonitor, List };

// While it is alive, the request to the source with this number, counted from
// 0, fails; with forever, all that follow it too.
class Failing {
 public:
  Failing(Source source, std::size_t number, bool forever);
  Failing(const Failing&) = delete;
  Failing& operator=(const Failing&) = delete;
  ~Failing();

  // How many requests to the source there were while the last one was alive.
  static std::size_t Requests();
};

// The children of a model: those of an array, or those of an object in their
// order, which is that of the standard map.
struct Hash {
  std::size_t operator()(std::string_view key) const {
    return std::hash<std::string_view>()(key);
  }
};
template <class Model>
using Elements = std::vector<std::unique_ptr<Model>>;
template <class Model>
using Members = std::unordered_map<vorn::foundation::SafeString,
                                   std::unique_ptr<Model>, Hash>;

// Some model in the tree of this one.
template <class Model>
Model& Find(Input& in, Model& model) {
  const std::size_t count = model.elements.size() + model.members.size();
  if (count == 0 || in.Below(3) == 0) return model;
  const unsigned int n = in.Below(count);
  if (!model.elements.empty()) return Find(in, *model.elements[n]);
  return Find(in, *std::next(model.members.begin(), n)->second);
}

}  // namespace fuzz
