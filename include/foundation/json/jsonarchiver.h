#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include <foundation/io/archiver.h>
#include <foundation/json/jsonreader.h>
#include <foundation/json/jtype.h>
#include <foundation/lang/exception.h>
#include <foundation/text/safestring.h>

namespace vorn::foundation::json {

class JsonArchiverPrivate;

/// The exception of the archivers. where() is always
/// "vorn.foundation.json.JsonArchiver", what() one of
/// - `the type of write archiver is mismatched`: a write of another kind than
///   the archiver's own;
/// - `unexpected write operation at`: the same on a child archiver;
/// - `try to write to error index <%u>`: an index past the end;
/// - `field <%s> is already existing`: a field that was written before;
/// - `try to write error format data`: data that is no JSON text.
class __attribute__((visibility("default"))) JsonException
    : public lang::Exception {
 public:
  using lang::Exception::Exception;
};

/// An archiver over a JSON structure. Objects write their state into it and
/// read it back, at once or from JSON text.
///
/// - An archiver is empty at first. The first write, or a loaded text, makes it
///   a scalar, an array or an object; only fromString() changes that.
/// - A write at the index one past the last element appends an element; a write
///   at a lower index replaces one. A field can be written only once.
/// - Data is JSON text in the dialect of JsonReader. It counts as one scalar,
///   even if it is an array or object. A string is kept as it is.
/// - Fields are enumerated in the order of a hash map, as members of JObject
///   are.
///
/// The archiver owns the archivers that its operations return. They are valid
/// until their index, or that of a container around them, is written again,
/// until fromString(), or until the archiver is destroyed.
///
/// Writes throw JsonException as listed above. A failed write changes nothing,
/// with one exception: the first write fixes the kind of the archiver even if
/// it fails. Reads of another kind find nothing and do not throw.
///
/// When memory is exhausted:
/// - data that cannot be parsed counts as malformed;
/// - fromString() fails as described there;
/// - every other operation throws std::bad_alloc, or, while the object monitor
///   traces, lang::Exception ("access null").
///
/// Written content may have more levels than a text may have, and strings with
/// NUL bytes. Such content is rendered, but its text cannot be loaded again.
class __attribute__((visibility("default"))) JsonArchiver
    : public io::IArchiver {
 public:
  /// The empty archiver.
  JsonArchiver();
  JsonArchiver(const JsonArchiver&) = delete;
  JsonArchiver& operator=(const JsonArchiver&) = delete;
  ~JsonArchiver() override;

  /// Drops the content, then loads the text. An array or object becomes an
  /// archiver of that kind, with an archiver for each value in it; any other
  /// value becomes a scalar. Returns true on success. Returns false if the text
  /// is null or malformed, or when memory is exhausted while the text is read.
  /// Throws std::bad_alloc when memory is exhausted afterwards. After a failure
  /// the archiver is empty.
  bool fromString(const char* text);

  /// The same with the text of a string, up to its first NUL byte.
  bool fromString(const SafeString& text);
  template <class Traits, class A>
  bool fromString(const std::basic_string<char, Traits, A>& text) {
    return fromString(text.c_str());
  }

  /// The same, and sets the fault as JsonReader does. If the call throws, the
  /// kind is NoMemory.
  bool fromString(const char* text, JsonFault& fault);
  bool fromString(const SafeString& text, JsonFault& fault) {
    return fromString(text.c_str(), fault);
  }
  template <class Traits, class A>
  bool fromString(const std::basic_string<char, Traits, A>& text,
                  JsonFault& fault) {
    return fromString(text.c_str(), fault);
  }
  bool fromString(const char* text, std::size_t size, JsonFault& fault) {
    return ReadSized(*this, text, size, fault);
  }

  /// Whether the archiver is not empty.
  bool isValid() const;

  /// Return the content as JSON text. format() writes indented lines,
  /// compress() a single line. An empty archiver gives an empty text.
  SafeString format() const;
  SafeString compress() const;

  void writeData(const SafeString& data) override;
  void writeString(const SafeString& text) override;
  io::IArchiver* writeArray() override;
  io::IArchiver* writeObject() override;
  void writeDataByIndex(unsigned int index, const SafeString& data) override;
  void writeStringByIndex(unsigned int index, const SafeString& text) override;
  io::IArchiver* writeArrayByIndex(unsigned int index) override;
  io::IArchiver* writeObjectByIndex(unsigned int index) override;
  void writeDataByField(const SafeString& field,
                        const SafeString& data) override;
  void writeStringByField(const SafeString& field,
                          const SafeString& text) override;
  io::IArchiver* writeArrayByField(const SafeString& field) override;
  io::IArchiver* writeObjectByField(const SafeString& field) override;

  /// If this is a scalar, sets out and returns true: to the characters of a
  /// string, without quotes or escapes, or to the compressed JSON text of
  /// another scalar. Else returns false.
  bool read(SafeString& out) override;
  io::IArchiver* readByIndex(unsigned int index) override;
  io::IArchiver* readByField(const SafeString& field) override;
  bool isArray() const override;
  unsigned int size() const override;
  bool isObject() const override;
  std::vector<SafeString, debug::Allocator<SafeString>> fields() const override;

 private:
  /// Replaces the content by a copy of the value. Null empties the archiver.
  void load(const JBase* value);

  JsonArchiverPrivate* private_;
};

inline bool JsonArchiver::fromString(const char* text, JsonFault& fault) {
  fault = JsonFault();
  fault.kind = JsonFault::Kind::NoMemory;
  load(nullptr);
  JsonReader reader;
  if (!reader.fromString(text, fault)) return false;
  fault.kind = JsonFault::Kind::NoMemory;
  load(reader.getJson());
  fault.kind = JsonFault::Kind::None;
  return true;
}

}  // namespace vorn::foundation::json
