#pragma once

#include <cstddef>
#include <cstring>
#include <new>
#include <string_view>
#include <utility>

#include <foundation/text/safestring.h>

#include "sametext.h"

namespace vorn::foundation::json {

// The text of a number or a string, of the size of one SafeString. A short text
// is stored inside and needs no memory; a long text is stored in a SafeString.
//
// The first byte of a short text is odd, and holds the size. A SafeString
// begins with the address of its characters, which is even if they are in a
// block.
class StoredText {
 public:
  // The longest text that needs no memory, in bytes.
  static constexpr std::size_t kLongestShort = sizeof(SafeString) - 1;

  // The empty text.
  StoredText() {
    room_[0] = 1;
    Shorten(0);
  }
  StoredText(const StoredText&) = delete;
  StoredText& operator=(const StoredText&) = delete;
  ~StoredText() { Shorten(0); }

  std::string_view view() const {
    if (const SafeString* const text = string()) return *text;
    return {reinterpret_cast<const char*>(room_) + 1, room_[0] / 2U};
  }

  // Returns the SafeString of a long text, or null if the text is short. Valid
  // until the text is set.
  const SafeString* string() const {
    const void* const room = room_;
    if (IsShort()) return nullptr;
    return std::launder(static_cast<const SafeString*>(room));
  }

  // Replaces the text by a copy. Throws std::bad_alloc when memory is
  // exhausted, and then keeps the former text.
  void Set(std::string_view text) {
    if (text.size() > kLongestShort) return Take(SafeString(text));
    text.copy(Shorten(text.size()), text.size());
  }

  // The same for another StoredText. Copies a short text as a whole.
  void Set(const StoredText& other) {
    if (const SafeString* const text = other.string()) return Set(*text);
    Shorten(0);
    std::memcpy(room_, other.room_, sizeof room_);
  }

  // Like Set(), but moves a long text, without a copy.
  void Take(SafeString&& text) {
    if (text.size() <= kLongestShort) return Set(text);
    Shorten(0);
    ::new (static_cast<void*>(room_)) SafeString(std::move(text));
  }

  // Replaces the text by a short text of that size. Returns the place of its
  // bytes, which are not set.
  char* Shorten(std::size_t size) {
    if (const SafeString* const text = string()) text->~SafeString();
    const Word end = 0;
    std::memcpy(room_ + size / sizeof end * sizeof end, &end, sizeof end);
    room_[0] = static_cast<unsigned char>(2 * size + 1);
    return reinterpret_cast<char*>(room_) + 1;
  }

  // Whether both texts have the same bytes. Compares short texts word by word:
  // in the last word, the bytes behind the text are 0.
  friend bool operator==(const StoredText& first, const StoredText& second) {
    const Word begin = first.WordAt(0);
    if (begin % 2 == 0) {
      return !second.IsShort() && SameText(*first.string(), *second.string());
    }
    if (begin != second.WordAt(0)) return false;
    const std::size_t size = first.room_[0] / 2U;
    for (std::size_t at = sizeof(Word); at <= size; at += sizeof(Word)) {
      if (first.WordAt(at) != second.WordAt(at)) return false;
    }
    return true;
  }

 private:
  using Word = std::size_t;

  static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__);

  bool IsShort() const { return room_[0] % 2 != 0; }

  Word WordAt(std::size_t at) const {
    Word word;
    std::memcpy(&word, room_ + at, sizeof word);
    return word;
  }

  alignas(SafeString) unsigned char room_[sizeof(SafeString)];
};

}  // namespace vorn::foundation::json
