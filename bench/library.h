#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace bench {

// A document as a library holds it. The destructor releases the library's
// memory. Failures throw std::runtime_error.
class Tree {
 public:
  Tree() = default;
  Tree(const Tree&) = delete;
  Tree& operator=(const Tree&) = delete;
  virtual ~Tree() = default;

  // Write the document with the library's own writer, compressed or formatted,
  // release the text and return its length.
  virtual std::size_t WriteCompressed() const = 0;
  virtual std::size_t WriteFormatted() const = 0;

  // A deep copy.
  virtual std::unique_ptr<Tree> Clone() const = 0;

  // Whether both documents are equal. REQUIRES: both are of one library.
  virtual bool Equals(const Tree& other) const = 0;
};

struct Library {
  const char* name;  // on the command line
  std::unique_ptr<Tree> (*parse)(const std::string& text);
};

// The libraries that this build compares. The first is this project's.
const std::vector<Library>& Libraries();

// Returns the library of that name. Throws std::runtime_error if there is none.
const Library& FindLibrary(std::string_view name);

}  // namespace bench
