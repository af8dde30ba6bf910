#include "check.h"

#include <atomic>
#include <vector>

#include <foundation/generic/scopedpointer.h>
#include <foundation/json/json.h>
#include <foundation/text/stringutils.h>

#include "excerpt.h"
#include "failure.h"
#include "files.h"
#include "progress.h"
#include "strict.h"

namespace vjson {

using vorn::foundation::generic::ScopedPointer;
using vorn::foundation::text::StringUtils;

namespace {

struct Findings {
  std::vector<Finding> first;  // those that are told in full
  std::size_t more = 0;
  bool standard = true;  // there are no extensions
  bool whole = false;    // all of the text is of the dialect
};

Findings FindingsIn(const char* name, const SafeString& text) {
  constexpr std::size_t kMost = 20;
  Findings findings;
  std::atomic<std::size_t> done{0};
  const Progress progress("scanning", name, text.size(), &done);
  const auto keep = [&](const Finding& finding) {
    if (finding.kind == Finding::kExtension) findings.standard = false;
    if (findings.first.size() < kMost) {
      findings.first.push_back(finding);
    } else {
      ++findings.more;
    }
  };
  findings.whole = Scan(text, keep, &done);
  return findings;
}

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
  const SafeString text = ReadText(name);
  const Findings findings = FindingsIn(name, text);
  for (const Finding& finding : findings.first) {
    TellFinding(name, text, finding);
  }
  if (findings.more != 0) {
    Tell(name, StringUtils::_InternalFormat("%zu more", findings.more).c_str());
  }
  try {
    ScopedPointer<JBase>(Parse(name, text));
  } catch (const Failed&) {
    if (findings.whole && findings.standard) {
      Tell(name, "RFC 8259 takes this text");
    }
    throw;
  }
  if (!findings.first.empty()) throw Failed{kNo};
}

}  // namespace vjson
