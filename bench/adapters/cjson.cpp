#include "../adapters.h"

#include <cstring>

#include <cjson/cJSON.h>

namespace bench {

namespace {

class CJsonTree : public Tree {
 public:
  explicit CJsonTree(cJSON* root) : root_(root) {}
  ~CJsonTree() override { cJSON_Delete(root_); }

  std::size_t WriteCompressed() const override {
    return Released(cJSON_PrintUnformatted(root_));
  }

  std::size_t WriteFormatted() const override {
    return Released(cJSON_Print(root_));
  }

  std::unique_ptr<Tree> Clone() const override {
    return std::make_unique<CJsonTree>(Checked(cJSON_Duplicate(root_, true)));
  }

  bool Equals(const Tree& other) const override {
    return cJSON_Compare(root_, static_cast<const CJsonTree&>(other).root_,
                         true);
  }

 private:
  static std::size_t Released(char* text) {
    const std::size_t length = std::strlen(Checked(text));
    cJSON_free(text);
    return length;
  }

  cJSON* root_;
};

}  // namespace

std::unique_ptr<Tree> ParseCJson(const std::string& text) {
  return std::make_unique<CJsonTree>(Checked(cJSON_Parse(text.c_str())));
}

}  // namespace bench
