#include "work.h"

#include <fstream>
#include <sstream>
#include <stdexcept>

namespace bench {

Operation FindOperation(std::string_view name) {
  for (const OperationName& entry : kOperations) {
    if (name == entry.name) return entry.operation;
  }
  throw std::runtime_error("no such operation: " + std::string(name));
}

Work::Work(const Library& library, Operation operation, const std::string& text)
    : library_(library), operation_(operation), text_(text) {
  if (operation != Operation::Parse) first_ = library.parse(text);
  if (operation == Operation::Compare) second_ = library.parse(text);
}

Outcome Work::Run() const {
  switch (operation_) {
    case Operation::Parse:
      return {library_.parse(text_), text_.size()};
    case Operation::WriteCompressed:
      return {nullptr, first_->WriteCompressed()};
    case Operation::WriteFormatted:
      return {nullptr, first_->WriteFormatted()};
    case Operation::Clone:
      return {first_->Clone(), text_.size()};
    case Operation::Compare:
      if (first_->Equals(*second_)) return {nullptr, text_.size()};
      break;
  }
  throw std::runtime_error("two trees of the same text are not equal");
}

std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  if (!(text << file.rdbuf())) throw std::runtime_error("cannot read " + path);
  return text.str();
}

}  // namespace bench
