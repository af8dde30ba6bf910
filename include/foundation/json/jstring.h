#pragma once

#include <string_view>

#include <foundation/json/jbase.h>
#include <foundation/text/safestring.h>

namespace vorn::foundation::json {

class Access;

/// A string of any bytes, also the byte 0. No encoding is checked.
///
/// Functions that copy a text throw std::bad_alloc when memory is exhausted; a
/// setter that fails leaves the former text.
class __attribute__((visibility("default"))) JString
    : public JTypeBase<JType::String> {
 public:
  /// The empty string.
  JString();

  /// A copy of the text.
  explicit JString(const SafeString& text);

  /// Moves the text into the string; a long text is not copied.
  explicit JString(SafeString&& text);
  ~JString() override;

  /// Returns a copy of the text.
  SafeString value() const;

  /// Returns the text. The string keeps ownership; valid until the string is
  /// changed or destroyed.
  std::string_view view() const;

  /// Replaces the text by a copy of text.
  void setValue(const SafeString& text);

  JBase* clone() const override;
  void toString(Context& context) const override;

 private:
  friend class Access;

  /// Storage for the text, whose class is internal.
  alignas(SafeString) unsigned char text_[sizeof(SafeString)];
};

}  // namespace vorn::foundation::json
