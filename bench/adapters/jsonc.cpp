#include "../adapters.h"

#include <json-c/json.h>

namespace bench {

namespace {

class JsonCTree : public Tree {
 public:
  explicit JsonCTree(json_object* root) : root_(root) {}
  ~JsonCTree() override { json_object_put(root_); }

  std::size_t WriteCompressed() const override {
    return Write(JSON_C_TO_STRING_PLAIN);
  }

  std::size_t WriteFormatted() const override {
    return Write(JSON_C_TO_STRING_PRETTY);
  }

  std::unique_ptr<Tree> Clone() const override {
    json_object* copy = nullptr;
    Checked(json_object_deep_copy(root_, &copy, nullptr) == 0);
    return std::make_unique<JsonCTree>(copy);
  }

  bool Equals(const Tree& other) const override {
    return json_object_equal(root_,
                             static_cast<const JsonCTree&>(other).root_) != 0;
  }

 private:
  // The tree keeps the text, and reuses its memory for the next one.
  std::size_t Write(int flags) const {
    std::size_t length = 0;
    Checked(json_object_to_json_string_length(root_, flags, &length));
    return length;
  }

  json_object* root_;
};

}  // namespace

std::unique_ptr<Tree> ParseJsonC(const std::string& text) {
  return std::make_unique<JsonCTree>(Checked(json_tokener_parse(text.c_str())));
}

}  // namespace bench
