// Texts of numbers, beside the C library's conversions in the C locale.

#include "support/numbers.h"
#include "support.h"

using namespace support;
using fuzz::Require;
using vorn::foundation::json::JNumber;
using vorn::foundation::text::StringUtils;

namespace {

void Check(const SafeString& text) {
  const char* const wrong = WrongAbout(text);
  Require(*wrong == '\0', wrong);
}

}  // namespace

void fuzz::Run(Input& in) {
  const SafeString text(in.Text());
  const SafeString trimmed = StringUtils::Trim(text);
  const auto begin = text.find_first_not_of(" \t\n\v\f\r");
  const auto end = text.find_last_not_of(" \t\n\v\f\r") + 1;
  Require(trimmed == (end == 0 ? "" : text.substr(begin, end - begin)), "Trim");
  Check(trimmed);

  double value = 0;
  std::memcpy(&value, text.data(), std::min(text.size(), sizeof value));
  const SafeString written = JNumber(value).toString();
  Require(AreSame(StringUtils::StringToFloat(written), value), "it comes back");
  Check(written);
}
