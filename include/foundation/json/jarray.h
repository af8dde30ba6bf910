#pragma once

#include <foundation/json/jbase.h>

namespace vorn::foundation::json {

class Access;

/// A sequence of values. The array owns its elements. It disposes an element
/// that is replaced, and all elements when the array is cleared or destroyed.
/// No element is null.
///
/// REQUIRES: a value that the array takes is in no other container, and not in
/// this array already. The caller must not dispose it afterwards.
class __attribute__((visibility("default"))) JArray
    : public JTypeBase<JType::Array> {
 public:
  /// The empty array. It needs no memory.
  JArray();
  ~JArray() override;

  /// Adds value behind the last element. Takes ownership of value; null is
  /// ignored. Throws std::bad_alloc when memory is exhausted; then nothing
  /// changes and the caller still owns value. The first two elements need no
  /// memory.
  void append(JBase* value);

  /// Return the element at the index, or null if the index is past the last.
  /// The array keeps ownership; valid until the element is replaced or the
  /// array is cleared or destroyed.
  JBase* at(unsigned int index);
  JBase* at(unsigned int index) const;

  /// Puts value in the place of the element at the index, disposes that element
  /// and returns true. Takes ownership of value: if the index is past the last
  /// element, disposes value and returns false. Null is ignored and returns
  /// false.
  bool setValue(unsigned int index, JBase* value);

  unsigned int length() const;
  bool empty() const;

  /// Disposes every element, first to last, and releases the storage.
  void clear();

  /// Removes every element without disposing it, and releases the storage. The
  /// caller owns the elements: take their pointers with at() before.
  void detach();

  JBase* clone() const override;
  void toString(Context& context) const override;

 private:
  friend class Access;

  /// Storage for the elements, whose class is internal.
  alignas(void*) unsigned char elements_[3 * sizeof(void*)];
};

}  // namespace vorn::foundation::json
