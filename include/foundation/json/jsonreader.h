#pragma once

#include <cxxabi.h>
#include <cstddef>
#include <cstring>
#include <string>

#include <foundation/json/jbase.h>
#include <foundation/json/jsonfault.h>
#include <foundation/text/safestring.h>

namespace vorn::foundation::json {

// Has the reader, or archiver, read a text of size bytes. A NUL ends the text
// for the parser, so only a text without one is copied. Where the parser is
// content there, the NUL is what follows the value.
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

// Reads JSON text into a value tree and holds the tree; also writes and
// compares trees. A reader is empty, or holds the whole tree of one text.
//
// The dialect, where it differs from JSON:
// - a line comment, from "//" to the end of the line, may stand wherever blanks
//   may; blanks are what isspace() names in the C locale;
// - nan, inf and -inf are numbers;
// - \\ \" \r \n \t are the only escapes, read and written; any other backslash
//   is kept as it is. Control characters may stand in strings unescaped;
// - a literal ends with its last letter: what follows is not looked at;
// - numbers keep their text;
// - of members with the same key the last one counts;
// - a text with more than 1024 containers inside one another is refused;
// - the text ends at its first NUL.
class __attribute__((visibility("default"))) JsonReader {
 public:
  // The empty reader.
  JsonReader();
  JsonReader(const JsonReader&) = delete;
  JsonReader& operator=(const JsonReader&) = delete;

  // Disposes the tree.
  ~JsonReader();

  // Disposes the tree held so far, then reads the text, which must be one JSON
  // value of any kind. Returns whether the reader holds its tree now: false for
  // null, for malformed text and when memory is exhausted, with nothing left
  // behind. Nothing is thrown, unless a monitor throws while the former tree is
  // disposed. A thread that is cancelled while a monitor makes or records an
  // object, or supplies memory, ends with nothing left behind.
  //
  // While the object monitor traces and has no memory for a single value, that
  // value is left out of its array or object, and the reading goes on.
  bool fromString(const char* text);

  // The same with the text of a string, up to its first NUL byte.
  bool fromString(const SafeString& text);
  template <class Traits, class A>
  bool fromString(const std::basic_string<char, Traits, A>& text) {
    return fromString(text.c_str());
  }

  // The same; the fault says why and where a text was not read. It is reset on
  // success, also where a value was left out. When a monitor throws, the fault
  // is NoMemory.
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

  // The same with a text of size bytes, which needs no NUL behind it and may be
  // copied. A NUL in it is a fault.
  bool fromString(const char* text, std::size_t size, JsonFault& fault) {
    return ReadSized(*this, text, size, fault);
  }

  // The tree, or null. The reader keeps ownership; valid until the next
  // fromString() or reset(), or until the reader is destroyed.
  JBase* getJson() const;

  // Gives the tree up; null when there is none. The caller owns the result and
  // releases it with dispose().
  JBase* transfer();

  // Whether the reader holds a tree.
  bool valid() const;

  // Disposes the tree, if there is one.
  void reset();

  // The text of the tree: on lines of their own with an indentation of four
  // blanks a level, or on a single line without blanks. Empty when there is no
  // tree. Throw std::bad_alloc when memory is exhausted.
  SafeString format() const;
  SafeString compress() const;

  // The same for any value, which is not changed; empty for null.
  static SafeString Format(const JBase* value);
  static SafeString Compress(const JBase* value);

  // Whether two trees are equal: the same kinds and contents, elements in the
  // same order, members in any order, numbers by their text ("1" is not "1.0").
  // Null equals null alone. A value of a kind beyond the six equals nothing,
  // not even itself. Neither tree is changed.
  static bool IsEqual(const JBase* first, const JBase* second);

 private:
  // Reads into an empty reader, and says in the fault what the parser refuses.
  bool read(const char* text, JsonFault* fault);

  JBase* tree_;
};

}  // namespace vorn::foundation::json
