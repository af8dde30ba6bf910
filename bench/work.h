#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "library.h"

namespace bench {

enum class Operation { Parse, WriteCompressed, WriteFormatted, Clone, Compare };

struct OperationName {
  Operation operation;
  const char* name;  // on the command line
};

constexpr OperationName kOperations[] = {
    {Operation::Parse, "parse"},
    {Operation::WriteCompressed, "write-compressed"},
    {Operation::WriteFormatted, "write-formatted"},
    {Operation::Clone, "clone"},
    {Operation::Compare, "compare"}};

// Returns the operation of that name. Throws std::runtime_error if there is
// none.
Operation FindOperation(std::string_view name);

// The result of an operation.
struct Outcome {
  std::unique_ptr<Tree> tree;  // of a parse and of a clone
  std::size_t length;          // of the text that was read or written
};

// One operation of one library on one document. Its operands are parsed
// beforehand: none for a parse, two trees to compare, else one. The text must
// outlive the work. Failures throw std::runtime_error.
class Work {
 public:
  Work(const Library& library, Operation operation, const std::string& text);

  // Runs it once. The destructor of the outcome releases the tree.
  Outcome Run() const;

 private:
  const Library& library_;
  Operation operation_;
  const std::string& text_;
  std::unique_ptr<Tree> first_;
  std::unique_ptr<Tree> second_;
};

// Returns the bytes of a file. Throws std::runtime_error if it cannot be read.
std::string ReadFile(const std::string& path);

}  // namespace bench
