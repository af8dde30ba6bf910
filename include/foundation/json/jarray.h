#pragma once

#include <foundation/json/jbase.h>

namespace vorn::foundation::json {

class Access;

// A sequence of values. The array owns its elements and disposes them when they
// are replaced, when it is cleared and when it is destroyed. No element is
// null.
//
// A value handed over must not be disposed by the caller, nor handed to another
// container, nor be one that the array already holds.
class __attribute__((visibility("default"))) JArray
    : public JTypeBase<JType::Array> {
 public:
  // The empty array; it holds no memory.
  JArray();
  ~JArray() override;

  // Adds value as the last element. Takes ownership of value; null is ignored.
  // Throws std::bad_alloc when memory is exhausted; the array is then unchanged
  // and value still the caller's. The first two elements need no memory.
  void append(JBase* value);

  // The element at the index, or null when the index is past the last. The
  // array keeps ownership; valid until the element is replaced or the array is
  // cleared or destroyed.
  JBase* at(unsigned int index);
  JBase* at(unsigned int index) const;

  // Replaces the element at the index, which is disposed, and returns true.
  // Takes ownership of value in every case: when the index is past the last,
  // value is disposed, the array is unchanged and the result is false. Null is
  // ignored, and the result is false.
  bool setValue(unsigned int index, JBase* value);

  unsigned int length() const;
  bool empty() const;

  // Disposes every element, first to last, and gives the storage back.
  void clear();

  // Forgets every element without disposing it, and gives the storage back. The
  // elements belong to the caller, who took their pointers with at() before.
  void detach();

  JBase* clone() const override;
  void toString(Context& context) const override;

 private:
  friend class Access;

  // The elements, built in place: their class is the library's own.
  alignas(void*) unsigned char elements_[3 * sizeof(void*)];
};

}  // namespace vorn::foundation::json
