#include "../adapters.h"

#include <cstdlib>
#include <cstring>

#include <jansson.h>

namespace bench {

namespace {

class JanssonTree : public Tree {
 public:
  explicit JanssonTree(json_t* root) : root_(root) {}
  ~JanssonTree() override { json_decref(root_); }

  std::size_t WriteCompressed() const override { return Write(JSON_COMPACT); }

  std::size_t WriteFormatted() const override { return Write(JSON_INDENT(4)); }

  std::unique_ptr<Tree> Clone() const override {
    return std::make_unique<JanssonTree>(Checked(json_deep_copy(root_)));
  }

  bool Equals(const Tree& other) const override {
    return json_equal(root_, static_cast<const JanssonTree&>(other).root_) != 0;
  }

 private:
  std::size_t Write(std::size_t flags) const {
    char* text = Checked(json_dumps(root_, flags | JSON_ENCODE_ANY));
    const std::size_t length = std::strlen(text);
    std::free(text);
    return length;
  }

  json_t* root_;
};

}  // namespace

std::unique_ptr<Tree> ParseJansson(const std::string& text) {
  // Its hash is seeded at random, unless this is done first.
  json_object_seed(1);
  return std::make_unique<JanssonTree>(
      Checked(json_loads(text.c_str(), JSON_DECODE_ANY, nullptr)));
}

}  // namespace bench
