#pragma once

#ifdef _GLIBCXX_DEBUG
#error "_GLIBCXX_DEBUG changes std::vector, which the framework hands over"
#endif

#include <vector>

#include <foundation/debug/allocator.h>
#include <foundation/lang/interface.h>
#include <foundation/text/safestring.h>

namespace vorn::foundation::io {

/// Objects write their state into an archiver and read it back. An archiver is
/// a scalar, an array addressed by index, or an object addressed by field name,
/// nested to any depth. The first write fixes the kind. From then on, writes of
/// another kind fail, and reads of another kind find nothing.
///
/// The archiver on which an operation is called keeps ownership of the archiver
/// that the operation returns. The derived class says how long the result is
/// valid.
class __attribute__((visibility("default"))) IArchiver
    : public lang::Interface {
 public:
  /// Write the scalar. data is in the notation of the archiver, which parses
  /// it; text is a plain string, which is kept as it is.
  virtual void writeData(const SafeString& data) = 0;
  virtual void writeString(const SafeString& text) = 0;

  /// Make this an array or an object, and return the archiver for its elements
  /// or fields.
  virtual IArchiver* writeArray() = 0;
  virtual IArchiver* writeObject() = 0;

  /// Write the element at the index; one past the last appends.
  virtual void writeDataByIndex(unsigned int index, const SafeString& data) = 0;
  virtual void writeStringByIndex(unsigned int index,
                                  const SafeString& text) = 0;
  virtual IArchiver* writeArrayByIndex(unsigned int index) = 0;
  virtual IArchiver* writeObjectByIndex(unsigned int index) = 0;

  /// Write the field of that name.
  virtual void writeDataByField(const SafeString& field,
                                const SafeString& data) = 0;
  virtual void writeStringByField(const SafeString& field,
                                  const SafeString& text) = 0;
  virtual IArchiver* writeArrayByField(const SafeString& field) = 0;
  virtual IArchiver* writeObjectByField(const SafeString& field) = 0;

  /// Replaces out by the text of the scalar and returns true. If this is no
  /// scalar, returns false and does not change out.
  virtual bool read(SafeString& out) = 0;

  /// Return the element at the index, or the field of that name, or null if it
  /// is absent.
  virtual IArchiver* readByIndex(unsigned int index) = 0;
  virtual IArchiver* readByField(const SafeString& field) = 0;

  /// Whether this is an array, and the number of its elements, else 0.
  virtual bool isArray() const = 0;
  virtual unsigned int size() const = 0;

  /// Whether this is an object, and the names of its fields, else none.
  virtual bool isObject() const = 0;
  virtual std::vector<SafeString, debug::Allocator<SafeString>> fields()
      const = 0;
};

}  // namespace vorn::foundation::io
