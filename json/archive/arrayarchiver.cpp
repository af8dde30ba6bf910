#include "arrayarchiver.h"

#include <utility>

#include <foundation/text/stringutils.h>

#include "../orbadalloc.h"
#include "../tags.h"
#include "archiverutils.h"

namespace vorn::foundation::json {

// Delegates, so that the destructor runs if making a child throws.
ArrayArchiver::ArrayArchiver(const JArray& source) : ArrayArchiver() {
  elements_.reserve(source.length());
  for (unsigned int i = 0; i < source.length(); ++i) {
    Child child(OrBadAlloc(ArchiverUtils::FromJson(source.at(i))));
    PlaceElement(i, child);
  }
}

ArrayArchiver::~ArrayArchiver() {
  for (ITypedArchiver* element : elements_) ArchiverUtils::Destroy(element);
}

ArchiverKind ArrayArchiver::kind() const { return ArchiverKind::Array; }

// Writing ---------------------------------------------------------------------

void ArrayArchiver::CheckIndex(unsigned int index) const {
  if (index <= size()) return;
  FailWrite(text::StringUtils::_InternalFormat(
                "try to write to error index <%u>", index)
                .c_str());
}

// Inserts the finished child at the index, destroys the former element and
// returns the child. Throws std::bad_alloc when memory is exhausted; then the
// guard still owns the child.
ITypedArchiver* ArrayArchiver::PlaceElement(unsigned int index, Child& child) {
  if (index < size()) {
    ITypedArchiver* placed = child.release();
    ArchiverUtils::Destroy(std::exchange(elements_[index], placed));
    return placed;
  }
  elements_.push_back(child.get());
  return child.release();
}

io::IArchiver* ArrayArchiver::writeArray() { return this; }

// Inserts a new child of the kind with the data or the text, and returns it.
ITypedArchiver* ArrayArchiver::Write(unsigned int index, ArchiverKind kind,
                                     const SafeString* data,
                                     const SafeString* text) {
  CheckIndex(index);
  Child child;
  MakeChild(child, kind, data, text);
  return PlaceElement(index, child);
}

void ArrayArchiver::writeDataByIndex(unsigned int index,
                                     const SafeString& data) {
  Write(index, ArchiverKind::Generic, &data);
}

void ArrayArchiver::writeStringByIndex(unsigned int index,
                                       const SafeString& text) {
  Write(index, ArchiverKind::Generic, nullptr, &text);
}

io::IArchiver* ArrayArchiver::writeArrayByIndex(unsigned int index) {
  return Write(index, ArchiverKind::Array);
}

io::IArchiver* ArrayArchiver::writeObjectByIndex(unsigned int index) {
  return Write(index, ArchiverKind::Object);
}

// Reading ---------------------------------------------------------------------

io::IArchiver* ArrayArchiver::readByIndex(unsigned int index) {
  return index < elements_.size() ? elements_[index] : nullptr;
}

bool ArrayArchiver::isArray() const { return true; }

unsigned int ArrayArchiver::size() const {
  return static_cast<unsigned int>(elements_.size());
}

JBase* ArrayArchiver::snapshot() const {
  generic::ScopedPointer<JArray> array(
      debug::Create<JArray>(tags::kSnapshotArray));
  for (const ITypedArchiver* element : elements_) {
    JArray* const target = array.operator->();
    generic::ScopedPointer<JBase> child(OrBadAlloc(element->snapshot()));
    target->append(child.get());
    child.release();
  }
  return array.release();
}

}  // namespace vorn::foundation::json
