// Edits of a tree, beside a model of standard containers.

#include "support.h"
#include "support/keys.h"

#include <foundation/json/json.h>

#include <string>
#include <utility>

using namespace vorn::foundation;
using namespace vorn::foundation::json;
using fuzz::Input;
using fuzz::Require;

namespace {

JArray& Array(JBase* it) { return static_cast<JArray&>(*it); }
JObject& Object(JBase* it) { return static_cast<JObject&>(*it); }

// What a value should be.
struct Model {
  JBase* it;
  SafeString text;  // of a scalar, else "[]" or "{}"
  fuzz::Elements<Model> elements{};
  fuzz::Members<Model> members{};

  SafeString Text() const {
    SafeString inside;
    for (const auto& child : elements) inside += "," + child->Text();
    for (const auto& [key, child] : members) {
      inside += ",\"" + key + "\":" + child->Text();
    }
    return inside.empty() ? text : text[0] + inside.substr(1) + text[1];
  }
};
using Child = std::unique_ptr<Model>;

// The model of a copy.
Child Copy(const Model& model, JBase* it) {
  Child copy(new Model{it, model.text});
  auto& elements = copy->elements;
  for (const auto& child : model.elements) {
    const auto index = static_cast<unsigned int>(elements.size());
    elements.push_back(Copy(*child, Array(it).at(index)));
  }
  for (const auto& [key, child] : model.members) {
    copy->members.emplace(key, Copy(*child, Object(it).at(key)));
  }
  return copy;
}

Child Make(const SafeString& text) {
  JsonReader reader;
  reader.fromString(text);
  return Child(new Model{reader.transfer(), text});
}

// A new value, or a copy of one in the tree.
Child Make(Input& in, Model& root) {
  constexpr const char* kTexts[] = {"[]",  "{}",    "[]",   "{}",
                                    "nan", "false", "-1.5", R"("\\\n")"};
  const unsigned int n = in.Below(10);
  if (n < 8) return Make(kTexts[n]);
  const Model& source = Find(in, root);
  return Copy(source, source.it->clone());
}

// Takes all children out.
template <class Container>
void Empty(Container& container, Model& model, bool detach) {
  detach ? container.detach() : container.clear();
  if (detach) {
    for (const auto& child : model.elements) child->it->dispose();
    for (const auto& member : model.members) member.second->it->dispose();
  }
  model.elements.clear();
  model.members.clear();
  Require(container.empty(), "it is empty");
}

void EditArray(Input& in, JArray& array, Model& model, Model& root) {
  auto& elements = model.elements;
  const unsigned int index = in.Below(elements.size() + 2);
  const unsigned int action = in.Below(16);
  if (action < 2) {
    Empty(array, model, action == 0);
  } else if (Child child = Make(in, root); action < 8) {
    const bool found = index < elements.size();
    Require(array.setValue(index, child->it) == found, "it is replaced");
    if (found) elements[index] = std::move(child);
  } else {
    array.append(child->it);
    elements.push_back(std::move(child));
  }
  for (unsigned int i = 0; i <= elements.size(); ++i) {
    const bool past = i == elements.size();
    Require(array.at(i) == (past ? nullptr : elements[i]->it), "an element");
  }
}

// Of the keys, the first share one hash, and the next a bucket where there are
// 29.
SafeString KeyOf(unsigned int n) {
  static const auto colliding = [] {
    std::vector<std::string> all;
    for (const unsigned int step : {0u, 29u}) {
      for (const SafeString& key : support::CollidingKeys(24, step)) {
        all.emplace_back(key);
      }
    }
    return all;
  }();
  if (n < colliding.size()) return SafeString(colliding[n]);
  return SafeString(n % 16, 'a');
}

void Set(JObject& object, Model& model, const SafeString& key, Child child) {
  object.setValue(key, child->it);
  model.members.erase(key);
  model.members.emplace(key, std::move(child));
}

void EditObject(Input& in, JObject& object, Model& model, Model& root) {
  auto& members = model.members;
  const unsigned int n = in.Below(64);
  const unsigned int action = in.Below(16);
  if (action < 2) {
    Empty(object, model, action == 0);
  } else if (action < 8) {
    const bool found = members.erase(KeyOf(n)) != 0;
    Require(object.remove(KeyOf(n)) == found, "it is removed");
  } else if (action < 14) {
    Set(object, model, KeyOf(n), Make(in, root));
  } else {
    for (unsigned int i = in.Below(64); i > n; --i) {
      Set(object, model, KeyOf(i), Make("null"));
    }
  }
  const auto keys = object.keys();
  Require(keys.size() == members.size(), "the number of keys");
  auto member = members.begin();
  for (const SafeString& key : keys) {
    Require(key == member->first, "a key");
    Require(object.at(key) == (member++)->second->it, "a member");
  }
}

}  // namespace

void fuzz::Run(Input& in) {
  const Child root = Make(in.Below(2) != 0 ? "{}" : "[]");
  SafeString text;
  for (int step = 0; step < 100 && !in.empty() && text.size() < 2000; ++step) {
    Model& model = Find(in, *root);
    if (model.text == "[]") EditArray(in, Array(model.it), model, *root);
    if (model.text == "{}") EditObject(in, Object(model.it), model, *root);
    text = root->Text();
    Require(JsonReader::Compress(root->it) == text, "the text");
  }
  root->it->dispose();
}
