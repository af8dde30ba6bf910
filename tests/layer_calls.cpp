// Calls of a program that compile, and calls that must not, each in a line and
// with types of its own. layer_calls.sh compiles both.

#include <foundation/json/build.h>
#include <foundation/json/fields.h>
#include <foundation/json/files.h>
#include <foundation/json/hint.h>

#include <string>
#include <utility>
#include <vector>

using namespace vorn::foundation;
using namespace vorn::foundation::json;

void Compiles(JObject& object, JArray& array, const View& view) {
  char text[] = "a";
  const char* const pointer = text;
  const std::string string(1, 'a');
  std::vector<bool> flags(1);
  auto named = MakeArray(Here(), text, pointer, string, SafeString("a"),
                         std::string_view("a"), 'a' == 'b', short{1}, 1u, 1L,
                         1ul, 1ll, 1ull, 1.0f, flags[0], nullptr, View(), view);
  generic::ScopedPointer<JBase> base(nullptr);
  Set(Here(), object, string, std::move(named));
  Set(Here(), object, text, MakeObject(Here(), SafeString("a"), view["a"]));
  Append(debug::Tag{"a", 1, "b"}, array, std::move(base));
  for (auto& [key, value] : {Member()}) (void)(key.empty() || value);
  for (const auto& [key, value] : view.members()) (void)(key.empty() || value);
  for (auto&& element : view[string][0][pointer]) (void)element.as<double>();
  (void)(view[0] || view[1u] || view.at("/a") || view.value(true));
  (void)view.value<std::uint8_t>(0);
  (void)view.value<float>(1);
  (void)(view.value(string) + view.value<std::string>("a"));
  (void)view.value(SafeString("a")).size();
  std::string_view lent = view.value("a");
  lent = view.value(text);
  JsonReader reader;
  FileFault fault;
  (void)(reader.fromString(string) || reader.fromString({"a", 1}));
  (void)(reader.fromString(nullptr, fault.text) || View(reader));
  (void)(reader.fromString("a", 1, fault.text) || View(&object));
  (void)reader.fromString({"a", 1}, fault.text);
  (void)ReadFile("a", 1, reader, fault);
  (void)SaveFile("a", object, fault);
  (void)Hint(fault.text, "a");
}

std::size_t Absent() {
  std::size_t size = 0;
  for (View element : View()) size += element.size();
  return size;
}

#ifdef NOT
void DoesNot(JObject& object, JArray& array, const View& view) {
  auto named = MakeArray(Here());
  JBase* raw = &array;
  Append(Here(), array, raw);
  Append(Here(), array, &object);
  Append(Here(), array, 'a');
  Append(Here(), array, L'a');
  Append(Here(), array, L"a");
  Append(Here(), array, static_cast<const unsigned char*>(nullptr));
  Append(Here(), array, static_cast<void*>(nullptr));
  Append(Here(), array, named);
  Append(Here(), array, object);
  Append(Here(), array, 1.0L);
  Set(Here(), object, "a", &array);
  Set(Here(), object, 1, "a");
  Set(Here(), object, nullptr, "a");
  Set(Here(), object, "a", 1, "b");
  Append(Here(), array, std::vector<char>());
  MakeObject(Here(), "ab");
  MakeArray(Here(), new JNull);
  auto copy = named;
  (void)view.as<char>();
  (void)view.as<long double>();
  (void)view.as<const char*>();
  (void)view.value(nullptr);
  const JBase* converted = view;
  bool flag = view;
  JBool pointer("a");
  pointer.setValue("a");
}
#endif
