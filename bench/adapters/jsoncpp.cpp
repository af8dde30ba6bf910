#include "../adapters.h"

#include <utility>

#include <json/json.h>

namespace bench {

namespace {

Json::StreamWriterBuilder WriterFor(const char* indentation) {
  Json::StreamWriterBuilder builder;
  builder["commentStyle"] = "None";
  builder["indentation"] = indentation;
  return builder;
}

class JsonCppTree : public Tree {
 public:
  explicit JsonCppTree(Json::Value root) : root_(std::move(root)) {}

  std::size_t WriteCompressed() const override {
    static const Json::StreamWriterBuilder builder = WriterFor("");
    return Json::writeString(builder, root_).size();
  }

  std::size_t WriteFormatted() const override {
    static const Json::StreamWriterBuilder builder = WriterFor("    ");
    return Json::writeString(builder, root_).size();
  }

  std::unique_ptr<Tree> Clone() const override {
    return std::make_unique<JsonCppTree>(root_);
  }

  bool Equals(const Tree& other) const override {
    return root_ == static_cast<const JsonCppTree&>(other).root_;
  }

 private:
  Json::Value root_;
};

}  // namespace

std::unique_ptr<Tree> ParseJsonCpp(const std::string& text) {
  static const std::unique_ptr<Json::CharReader> reader(
      Json::CharReaderBuilder().newCharReader());
  Json::Value root;
  Checked(
      reader->parse(text.data(), text.data() + text.size(), &root, nullptr));
  return std::make_unique<JsonCppTree>(std::move(root));
}

}  // namespace bench
