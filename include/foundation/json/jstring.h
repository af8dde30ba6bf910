#pragma once

#include <string_view>

#include <foundation/json/jbase.h>
#include <foundation/text/safestring.h>

namespace vorn::foundation::json {

class Access;

// A string of any bytes, the byte 0 included; no encoding is checked.
//
// What copies a text throws std::bad_alloc when there is no memory for it; a
// setter that fails leaves the former text.
class __attribute__((visibility("default"))) JString
    : public JTypeBase<JType::String> {
 public:
  // The empty string.
  JString();

  // A copy of the text.
  explicit JString(const SafeString& text);

  // Takes the text over without a copy.
  explicit JString(SafeString&& text);
  ~JString() override;

  // A copy of the text.
  SafeString value() const;

  // The text itself. The string keeps ownership; valid until setValue() or
  // until the string is destroyed.
  std::string_view view() const;

  // Replaces the text by a copy of the given one.
  void setValue(const SafeString& text);

  JBase* clone() const override;
  void toString(Context& context) const override;

 private:
  friend class Access;

  // The text, built in place: its class is the library's own.
  alignas(SafeString) unsigned char text_[sizeof(SafeString)];
};

}  // namespace vorn::foundation::json
