#include "../adapters.h"

#include <rapidjson/document.h>
#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

namespace bench {

namespace {

class RapidJsonTree : public Tree {
 public:
  std::size_t WriteCompressed() const override {
    return Write<rapidjson::Writer<rapidjson::StringBuffer>>();
  }

  std::size_t WriteFormatted() const override {
    return Write<rapidjson::PrettyWriter<rapidjson::StringBuffer>>();
  }

  std::unique_ptr<Tree> Clone() const override {
    auto copy = std::make_unique<RapidJsonTree>();
    copy->document.CopyFrom(document, copy->document.GetAllocator());
    return copy;
  }

  bool Equals(const Tree& other) const override {
    return document == static_cast<const RapidJsonTree&>(other).document;
  }

  rapidjson::Document document;

 private:
  template <class Writer>
  std::size_t Write() const {
    rapidjson::StringBuffer buffer;
    Writer writer(buffer);
    Checked(document.Accept(writer));
    // The text counts as written when it stands there with its end.
    Checked(buffer.GetString());
    return buffer.GetSize();
  }
};

}  // namespace

std::unique_ptr<Tree> ParseRapidJson(const std::string& text) {
  auto tree = std::make_unique<RapidJsonTree>();
  tree->document.Parse(text.c_str());
  Checked(!tree->document.HasParseError());
  return tree;
}

}  // namespace bench
