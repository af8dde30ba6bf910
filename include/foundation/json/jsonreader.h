#pragma once

#include <cxxabi.h>
#include <cstddef>
#include <cstring>
#include <string>

#include <foundation/json/jbase.h>
#include <foundation/json/jsonfault.h>
#include <foundation/text/safestring.h>

namespace vorn::foundation::json {

/// Lets the reader or archiver read a text of size bytes. Copies a text without
/// a NUL, since the parser needs one at the end. A NUL inside the text is a
/// fault, even if the parser can read a value in front of it.
template <class Reader>
__attribute__((no_sanitize("null"))) bool ReadSized(Reader& reader,
                                                    const char* text,
                                                    std::size_t size,
                                                    JsonFault& fault) {
  constexpr const char* kNothing = nullptr;
  const void* const nul =
      text != nullptr ? std::memchr(text, '\0', size) : nullptr;
  SafeString copy;
  if (text != nullptr && nul == nullptr) {
    try {
      text = copy.assign(text, size).c_str();
    } catch (abi::__forced_unwind&) {
      throw;  // the thread is cancelled
    } catch (...) {
      reader.fromString(kNothing, fault);
      fault.kind = JsonFault::Kind::NoMemory;
      return false;
    }
  }
  if (!reader.fromString(text, fault)) return false;
  if (nul == nullptr) return true;
  reader.fromString(kNothing);
  fault = {JsonFault::Kind::Malformed, 0, 0, 0, "Parse",
           "extra data characters"};
  SetPlace(fault, text,
           static_cast<std::size_t>(static_cast<const char*>(nul) - text));
  return false;
}

/// Reads JSON text into a tree of values and owns the tree; also writes and
/// compares trees. A reader is empty, or holds the whole tree of one text.
///
/// The dialect differs from JSON:
/// - a line comment, from "//" to the end of the line, is a blank; blanks are
///   those of isspace() in the C locale;
/// - nan, inf and -inf are numbers;
/// - `\\ \" \r \n \t` are the only escapes, read and written; any other
///   backslash is kept as it is. Strings may contain unescaped control
///   characters;
/// - a literal ends with its last letter: `nullx` is malformed at the x;
/// - numbers keep their text;
/// - the last of several members with one key counts;
/// - more than 1024 levels of containers are malformed;
/// - the text ends at its first NUL.
class __attribute__((visibility("default"))) JsonReader {
 public:
  /// The empty reader.
  JsonReader();
  JsonReader(const JsonReader&) = delete;
  JsonReader& operator=(const JsonReader&) = delete;

  /// Disposes the tree.
  ~JsonReader();

  /// Disposes the former tree, then reads the text, one JSON value of any kind.
  /// Returns true if the reader then holds the tree of the text. Returns false,
  /// and leaves the reader empty, if the text is null or malformed, or when
  /// memory is exhausted. Throws only what a monitor throws while the former
  /// tree is disposed. Nothing is left behind, also when the thread is
  /// cancelled while a monitor creates or records an object or supplies memory.
  ///
  /// If the object monitor traces and has no memory for a value in an array or
  /// object, leaves out the value and continues.
  bool fromString(const char* text);

  /// The same with the text of a string, up to its first NUL byte.
  bool fromString(const SafeString& text);
  template <class Traits, class A>
  bool fromString(const std::basic_string<char, Traits, A>& text) {
    return fromString(text.c_str());
  }

  /// The same, and sets the fault: to the reason and the place of a failure, or
  /// to Kind::None on success, also if a value was left out. If a monitor
  /// throws, sets it to Kind::NoMemory.
  bool fromString(const char* text, JsonFault& fault) {
    fault = JsonFault();
    fault.kind = JsonFault::Kind::NoMemory;
    reset();
    if (text == nullptr) fault.kind = JsonFault::Kind::NoText;
    if (text == nullptr || !read(text, &fault)) return false;
    fault.kind = JsonFault::Kind::None;
    return true;
  }
  bool fromString(const SafeString& text, JsonFault& fault) {
    return fromString(text.c_str(), fault);
  }
  template <class Traits, class A>
  bool fromString(const std::basic_string<char, Traits, A>& text,
                  JsonFault& fault) {
    return fromString(text.c_str(), fault);
  }

  /// The same with a text of size bytes. The text needs no NUL at its end, and
  /// may be copied. A NUL inside it is a fault.
  bool fromString(const char* text, std::size_t size, JsonFault& fault) {
    return ReadSized(*this, text, size, fault);
  }

  /// Returns the tree, or null if there is none. The reader keeps ownership;
  /// valid until fromString() or reset(), or until the reader is destroyed.
  JBase* getJson() const;

  /// Returns the tree, or null if there is none, and leaves the reader empty.
  /// The caller owns the result and releases it with dispose().
  JBase* transfer();

  /// Whether the reader holds a tree.
  bool valid() const;

  /// Disposes the tree, if there is one.
  void reset();

  /// Return the text of the tree. format() puts each value on its own line,
  /// indented by four blanks for each level; compress() writes a single line
  /// without blanks. An empty reader gives an empty text. Throw std::bad_alloc
  /// when memory is exhausted.
  SafeString format() const;
  SafeString compress() const;

  /// The same for any value; null gives an empty text.
  static SafeString Format(const JBase* value);
  static SafeString Compress(const JBase* value);

  /// Whether two trees are equal: the same kinds and contents, elements in the
  /// same order, members in any order, numbers by their text ("1" is not
  /// "1.0"). A null pointer equals only a null pointer. A value of a kind
  /// beyond the six equals nothing, not even itself.
  static bool IsEqual(const JBase* first, const JBase* second);

 private:
  /// Reads into an empty reader. Sets the fault if the parser refuses the text.
  bool read(const char* text, JsonFault* fault);

  JBase* tree_;
};

}  // namespace vorn::foundation::json
