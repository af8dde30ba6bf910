#pragma once

#include <foundation/json/jbase.h>
#include <foundation/text/safestring.h>

namespace vorn::foundation::json {

class Access;

// A number, kept as its text: what was parsed comes out byte for byte as it
// went in, and two numbers are equal when their texts are. The conversions read
// the text afresh on every call; they change nothing and report no error.
//
// The constructors and setters throw std::bad_alloc when there is no memory for
// the text; a setter that fails leaves the former text.
class __attribute__((visibility("default"))) JNumber
    : public JTypeBase<JType::Number> {
 public:
  // The number "0".
  JNumber();

  // The number with the shortest text that reads back as the value. A double
  // always gets a fraction or an exponent ("5.0"), or is "nan", "inf", "-inf".
  explicit JNumber(int value);
  explicit JNumber(long long value);
  explicit JNumber(double value);
  ~JNumber() override;

  // Replace the text by that of the value, as the constructors do.
  void setValue(int value);
  void setValue(long long value);
  void setValue(double value);

  // Takes the text, without the blanks at both ends, if it is a number, and
  // returns true. Otherwise the number keeps its text and the result is false.
  // Besides JSON numbers it takes nan, inf, -inf and hexadecimal integers (0x
  // and up to 16 digits).
  bool fromString(const SafeString& text);

  // A copy of the text.
  SafeString toString() const;

  // The value, toward zero where the type has no fraction. Out of range, toInt
  // and toLong give the nearest limit, and 0 for not-a-number; of a hexadecimal
  // text they give the low 32 and the 64 bits.
  int toInt() const;
  long long toLong() const;

  // The value as the nearest double. A text with a fraction or an exponent
  // gives an infinity, or a zero, of its sign where it is out of range; an
  // integer is read as toLong() does first, and so loses what 64 bits cannot
  // hold.
  double toFloat() const;

  JBase* clone() const override;
  void toString(Context& context) const override;

 private:
  friend class Access;

  SafeString text_;
};

}  // namespace vorn::foundation::json
