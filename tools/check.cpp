#include "check.h"

#include <foundation/generic/scopedpointer.h>
#include <foundation/json/json.h>
#include <foundation/text/stringutils.h>

#include "excerpt.h"
#include "failure.h"
#include "files.h"
#include "strict.h"

namespace vjson {

using vorn::foundation::generic::ScopedPointer;
using vorn::foundation::text::StringUtils;

namespace {

void TellFinding(const char* name, const SafeString& text,
                 const Finding& finding) {
  if (finding.kind != Finding::kRepeated) {
    return TellPlace(name, text, finding.at, "RFC 8259", finding.message);
  }
  const Position first = PositionOf(text, finding.first);
  const SafeString message = StringUtils::_InternalFormat(
      "%s, after %zu:%zu", finding.message, first.line, first.column);
  TellPlace(name, text, finding.at, "Keys", message.c_str());
}

}  // namespace

void Check(const char* name) { ScopedPointer<JBase>(Load(name)); }

void CheckStrictly(const char* name) {
  constexpr std::size_t kMost = 20;  // findings that are told in full
  const SafeString text = ReadText(name);
  std::size_t count = 0;
  bool standard = true;
  const bool whole = Scan(text, [&](const Finding& finding) {
    if (finding.kind == Finding::kExtension) standard = false;
    if (++count <= kMost) TellFinding(name, text, finding);
  });
  if (count > kMost) {
    Tell(name, StringUtils::_InternalFormat("%zu more", count - kMost).c_str());
  }
  try {
    ScopedPointer<JBase>(Parse(name, text));
  } catch (const Failed&) {
    if (whole && standard) Tell(name, "RFC 8259 takes this text");
    throw;
  }
  if (count != 0) throw Failed{kNo};
}

}  // namespace vjson
