#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace bench {

// A document as a library holds it. Destroying the tree gives the library's
// memory back. What fails throws std::runtime_error.
class Tree {
 public:
  Tree() = default;
  Tree(const Tree&) = delete;
  Tree& operator=(const Tree&) = delete;
  virtual ~Tree() = default;

  // Write the document as the library does it, release the text and return its
  // length: without blanks, and on lines of their own.
  virtual std::size_t WriteCompressed() const = 0;
  virtual std::size_t WriteFormatted() const = 0;

  // A deep copy.
  virtual std::unique_ptr<Tree> Clone() const = 0;

  // Whether both hold the same. The other tree must be of the same library.
  virtual bool Equals(const Tree& other) const = 0;
};

struct Library {
  const char* name;  // on the command line
  std::unique_ptr<Tree> (*parse)(const std::string& text);
};

// The libraries that this build compares, this project's first.
const std::vector<Library>& Libraries();

// The library of that name. Throws std::runtime_error when there is none.
const Library& FindLibrary(std::string_view name);

}  // namespace bench
