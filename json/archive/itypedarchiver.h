#pragma once

#include <foundation/io/archiver.h>
#include <foundation/json/jbase.h>

namespace vorn::foundation::json {

// The kinds of archiver.
enum class ArchiverKind { Generic = 0, Array = 1, Object = 2 };

// A node of an archiver tree. Each class implements the operations of its own
// kind; this base implements all others: writes throw, reads find nothing. A
// node owns the nodes below it. ArchiverUtils makes and destroys nodes.
class ITypedArchiver : public io::IArchiver {
 public:
  ITypedArchiver() = default;
  ITypedArchiver(const ITypedArchiver&) = delete;
  ITypedArchiver& operator=(const ITypedArchiver&) = delete;

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
  bool read(SafeString& out) override;
  io::IArchiver* readByIndex(unsigned int index) override;
  io::IArchiver* readByField(const SafeString& field) override;
  bool isArray() const override;
  unsigned int size() const override;
  bool isObject() const override;
  std::vector<SafeString, debug::Allocator<SafeString>> fields() const override;

  // Returns the kind of this archiver.
  virtual ArchiverKind kind() const = 0;

  // Returns a tree of values with a copy of the whole content. The caller owns
  // the result and releases it with dispose(). Throws std::bad_alloc when
  // memory is exhausted. If the object monitor traces and has no memory for the
  // value itself, a scalar or an empty container returns null instead; any
  // other container throws lang::Exception ("access null").
  virtual JBase* snapshot() const = 0;
};

// Throws the JsonException with that message.
[[noreturn]] void FailWrite(const char* message);

}  // namespace vorn::foundation::json
