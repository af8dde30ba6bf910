#pragma once

#include "keys.h"
#include "property.h"

#include <foundation/json/json.h>

#include <algorithm>
#include <memory>
#include <unordered_map>

// A tree of values or of archivers, in standard containers.
namespace support {

using namespace vorn::foundation;
using namespace vorn::foundation::json;

inline JBase* At(const JBase& array, unsigned int index) {
  return static_cast<const JArray&>(array).at(index);
}
inline JBase* At(const JBase& object, const SafeString& key) {
  return static_cast<const JObject&>(object).at(key);
}
inline auto Names(const JBase& object) {
  return static_cast<const JObject&>(object).keys();
}

inline io::IArchiver* At(io::IArchiver& array, unsigned int index) {
  return array.readByIndex(index);
}
inline io::IArchiver* At(io::IArchiver& object, const SafeString& field) {
  return object.readByField(field);
}
inline auto Names(const io::IArchiver& object) { return object.fields(); }

inline std::string Text(const JBase* value) {
  return std::string(JsonReader::Compress(value));
}

// What a value, or an archiver, should be.
template <class T>
struct Model {
  using Child = std::unique_ptr<Model>;

  // A model with the content of a tree.
  static Child Of(const JBase& source, T* it) {
    Child model(new Model(it, "ssss[{"[static_cast<int>(source.type())]));
    if (model->kind == 's') model->text = support::Text(&source);
    if (model->kind == '{') {
      for (const SafeString& key : Names(source)) {
        model->members.emplace(key, Of(*At(source, key), At(*it, key)));
      }
    }
    for (unsigned int i = 0; model->kind == '[' && At(source, i); ++i) {
      model->elements.push_back(Of(*At(source, i), At(*it, i)));
    }
    return model;
  }

  explicit Model(T* value, char its_kind = 0)
      : it(value), number(Monitor::Number(value)), kind(its_kind) {}

  template <class Visit>
  void ForEachChild(Visit visit) const {
    for (const Child& child : elements) visit(*child);
    for (const auto& member : members) visit(*member.second);
  }

  // Any of the tree.
  Model& Find(Input& in) {
    const std::size_t count = elements.size() + members.size();
    if (count == 0 || in.Below(3) == 0) return *this;
    const auto n = static_cast<int>(in.Below(count));
    return kind == '[' ? elements.begin()[n]->Find(in)
                       : std::next(members.begin(), n)->second->Find(in);
  }

  // On a single line. The members of a copy were set one after another, in the
  // order of what was copied.
  std::string Text(bool copied = false) const {
    if (kind != '[' && kind != '{') return text;
    std::string inside;
    std::unordered_map<std::string, std::string> copies;
    for (const Child& child : elements) inside += "," + child->Text(copied);
    for (const auto& [key, child] : members) {
      const std::string member = Quoted(key) + ":" + child->Text(copied);
      if (copied) copies.emplace(key, member);
      if (!copied) inside += "," + member;
    }
    for (const auto& copy : copies) inside += "," + copy.second;
    return kind + inside.erase(0, 1) + (kind == '[' ? ']' : '}');
  }

  // The calls of the monitor when the whole is disposed.
  std::string Disposal() const {
    std::string calls = "-#" + std::to_string(number);
    ForEachChild([&](const Model& child) { calls += child.Disposal(); });
    return calls;
  }

  // Whether the children are there, in their order, and no others.
  bool HasChildren() const {
    unsigned int index = 0;
    for (const Child& child : elements) {
      if (At(*it, index++) != child->it) return false;
    }
    if (kind != '{') return kind != '[' || At(*it, index) == nullptr;
    const auto names = Names(*it);
    return std::equal(names.begin(), names.end(), members.begin(),
                      members.end(), [&](const auto& name, const auto& member) {
                        return std::string_view(name) == member.first &&
                               At(*it, name) == member.second->it;
                      });
  }

  T* it;
  unsigned int number;  // that the monitor has given it
  char kind;            // '[', '{' or, of a scalar, 's'; 0 of an empty archiver
  std::string text{};   // of a scalar
  std::vector<Child> elements{};
  // In the order of an object, which is that of the standard map.
  std::unordered_map<std::string, Child> members{};
};

// Any keys: the empty one, short and long ones, and bytes of all values.
inline Keys AnyKeys(std::size_t count) {
  Keys keys{"", "%s%n"};
  for (std::size_t n = 2; n < count; ++n) {
    keys.push_back(SafeString(n % 20, static_cast<char>(n)) +
                   std::to_string(n).c_str());
  }
  return keys;
}

// Few that come again, many, and such that share a hash or a bucket.
inline const Keys kKeySets[] = {AnyKeys(4),
                                AnyKeys(100),
                                AnyKeys(3000),
                                KeysOfOneHash(20),
                                KeysOfOneBucket(60, 29),
                                KeysOfOneBucket(300, 257)};

}  // namespace support
