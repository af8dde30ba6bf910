#include "../adapters.h"

#include <foundation/generic/scopedpointer.h>
#include <foundation/json/json.h>

namespace bench {

namespace {

namespace json = vorn::foundation::json;
using json::JsonReader;

class VornTree : public Tree {
 public:
  explicit VornTree(json::JBase* root) : root_(root) {}

  std::size_t WriteCompressed() const override {
    return JsonReader::Compress(root_.get()).size();
  }

  std::size_t WriteFormatted() const override {
    return JsonReader::Format(root_.get()).size();
  }

  std::unique_ptr<Tree> Clone() const override {
    return std::make_unique<VornTree>(Checked(root_->clone()));
  }

  bool Equals(const Tree& other) const override {
    return JsonReader::IsEqual(root_.get(),
                               static_cast<const VornTree&>(other).root_.get());
  }

 private:
  vorn::foundation::generic::ScopedPointer<json::JBase> root_;
};

}  // namespace

std::unique_ptr<Tree> ParseVorn(const std::string& text) {
  JsonReader reader;
  Checked(reader.fromString(text.c_str()));
  return std::make_unique<VornTree>(reader.transfer());
}

}  // namespace bench
