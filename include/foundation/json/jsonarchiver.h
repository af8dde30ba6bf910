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

// What the archivers throw: the location is always
// "vorn.foundation.json.JsonArchiver", the message one of
//   the type of write archiver is mismatched   a write of another kind than the
//                                              archiver's own
//   unexpected write operation at              the same on a child archiver
//   try to write to error index <%u>           an index past the end
//   field <%s> is already existing             a field that was written before
//   try to write error format data             data that is no JSON text
class __attribute__((visibility("default"))) JsonException
    : public lang::Exception {
 public:
  using lang::Exception::Exception;
};

// An archiver over a JSON structure: objects write their state into it and read
// it back, at once or from the JSON text that it renders and loads.
//
// An archiver is empty until the first write, or the text that is loaded, makes
// it a scalar, an array or an object; only fromString() changes that. Elements
// are appended one past the last or replaced, a field is written once. Data is
// JSON text in the dialect of JsonReader, kept as one scalar even where it is
// an array or object; a string is kept as it is. Fields are enumerated in the
// order of a hash map, as those of JObject are.
//
// The archivers that its operations return belong to the archiver. They stay
// valid until their index, or that of a container around them, is written
// again, fromString() is called or the archiver is destroyed.
//
// Writes throw JsonException as listed above; data that cannot be parsed for
// want of memory counts as malformed. With exhausted memory every other
// operation but fromString() throws std::bad_alloc, or lang::Exception ("access
// null") while the object monitor traces. A write that throws changes nothing,
// but an empty archiver mostly is of its kind then. Reads of another kind find
// nothing and throw nothing.
//
// What is written by hand may be nested deeper than a text may be, and strings
// may hold NUL bytes, which a text cannot: such content is rendered, but not
// loaded again.
class __attribute__((visibility("default"))) JsonArchiver
    : public io::IArchiver {
 public:
  // The empty archiver.
  JsonArchiver();
  JsonArchiver(const JsonArchiver&) = delete;
  JsonArchiver& operator=(const JsonArchiver&) = delete;
  ~JsonArchiver() override;

  // Drops the content, then loads the text: an object or array becomes an
  // archiver of that kind, with an archiver for each value in it, anything else
  // a scalar. False for null, for malformed text and where the reader found no
  // memory; the archiver is then empty. Throws std::bad_alloc when memory is
  // exhausted behind the reader; the archiver is empty then, too.
  bool fromString(const char* text);

  // The same with the text of a string, up to its first NUL byte.
  bool fromString(const SafeString& text);
  template <class Traits, class A>
  bool fromString(const std::basic_string<char, Traits, A>& text) {
    return fromString(text.c_str());
  }

  // The same; the fault says why and where a text was not read, as that of
  // JsonReader does. It is NoMemory where these throw.
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

  // Whether the archiver is not empty.
  bool isValid() const;

  // The content as JSON text, on indented lines or on a single one; empty when
  // the archiver is.
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

  // A string's characters, without quotes or escapes, and any other scalar as
  // compressed JSON text.
  bool read(SafeString& out) override;
  io::IArchiver* readByIndex(unsigned int index) override;
  io::IArchiver* readByField(const SafeString& field) override;
  bool isArray() const override;
  unsigned int size() const override;
  bool isObject() const override;
  std::vector<SafeString, debug::Allocator<SafeString>> fields() const override;

 private:
  // Replaces the content by that of the value; null makes the archiver empty.
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
