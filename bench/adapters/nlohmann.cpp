#include "../adapters.h"

#include <utility>

#include <nlohmann/json.hpp>

namespace bench {

namespace {

class NlohmannTree : public Tree {
 public:
  explicit NlohmannTree(nlohmann::json root) : root_(std::move(root)) {}

  std::size_t WriteCompressed() const override { return root_.dump().size(); }

  std::size_t WriteFormatted() const override { return root_.dump(4).size(); }

  std::unique_ptr<Tree> Clone() const override {
    return std::make_unique<NlohmannTree>(root_);
  }

  bool Equals(const Tree& other) const override {
    return root_ == static_cast<const NlohmannTree&>(other).root_;
  }

 private:
  nlohmann::json root_;
};

}  // namespace

std::unique_ptr<Tree> ParseNlohmann(const std::string& text) {
  return std::make_unique<NlohmannTree>(nlohmann::json::parse(text));
}

}  // namespace bench
