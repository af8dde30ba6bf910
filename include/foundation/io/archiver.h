#pragma once

#ifdef _GLIBCXX_DEBUG
#error "_GLIBCXX_DEBUG changes std::vector, which the framework hands over"
#endif

#include <vector>

#include <foundation/debug/allocator.h>
#include <foundation/lang/interface.h>
#include <foundation/text/safestring.h>

namespace vorn::foundation::io {

// What an object writes its state into and reads it back from: a scalar, an
// array addressed by index or an object addressed by field name, nested to any
// depth. The first write decides which of the three an archiver is; writes of
// another kind fail from then on, while reads of another kind find nothing.
//
// Archivers that an operation returns belong to the archiver they came from,
// which also says how long they stay valid.
class __attribute__((visibility("default"))) IArchiver
    : public lang::Interface {
 public:
  // Writes the scalar: data is text in the archiver's own notation, which is
  // parsed; text is a plain string, which is kept as it is.
  virtual void writeData(const SafeString& data) = 0;
  virtual void writeString(const SafeString& text) = 0;

  // Make this an array or an object, and return the archiver of its content.
  virtual IArchiver* writeArray() = 0;
  virtual IArchiver* writeObject() = 0;

  // Write the element at the index, which may be one past the last.
  virtual void writeDataByIndex(unsigned int index, const SafeString& data) = 0;
  virtual void writeStringByIndex(unsigned int index,
                                  const SafeString& text) = 0;
  virtual IArchiver* writeArrayByIndex(unsigned int index) = 0;
  virtual IArchiver* writeObjectByIndex(unsigned int index) = 0;

  // Write the field of that name.
  virtual void writeDataByField(const SafeString& field,
                                const SafeString& data) = 0;
  virtual void writeStringByField(const SafeString& field,
                                  const SafeString& text) = 0;
  virtual IArchiver* writeArrayByField(const SafeString& field) = 0;
  virtual IArchiver* writeObjectByField(const SafeString& field) = 0;

  // Replaces out by the scalar's text and returns true; false, with out
  // untouched, where this is no scalar.
  virtual bool read(SafeString& out) = 0;

  // The element at the index, or the field of that name; null when absent.
  virtual IArchiver* readByIndex(unsigned int index) = 0;
  virtual IArchiver* readByField(const SafeString& field) = 0;

  // Whether this is an array, and the number of its elements (else 0).
  virtual bool isArray() const = 0;
  virtual unsigned int size() const = 0;

  // Whether this is an object, and the names of its fields (else none).
  virtual bool isObject() const = 0;
  virtual std::vector<SafeString, debug::Allocator<SafeString>> fields()
      const = 0;
};

}  // namespace vorn::foundation::io
