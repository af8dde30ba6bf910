#include "report.h"

#include <unistd.h>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>

#include "text.h"

namespace vjson {

namespace {

bool colors = false;
enum class Progress { kNone, kShown, kEnded } progress = Progress::kNone;

// What starts and ends a colour.
const char* Bold() { return colors ? "\033[1m" : ""; }
const char* Red() { return colors ? "\033[1;31m" : ""; }
const char* Plain() { return colors ? "\033[0m" : ""; }

}  // namespace

bool UsesColors(std::string_view when, int file) {
  if (when == "always" || when == "never") return when == "always";
  if (when != "auto") Fail("--color", "always, never or auto");
  const char* const none = std::getenv("NO_COLOR");
  return isatty(file) != 0 && (none == nullptr || *none == '\0');
}

void SetErrorColors(bool use) { colors = use; }

void PrintError(std::string_view subject, const char* message) {
  ClearProgress();
  std::fprintf(stderr, "%svjson: %s:%s %s\n", Bold(), Mask(subject).c_str(),
               Plain(), message);
}

void Fail(std::string_view subject, const char* message) {
  PrintError(subject, message);
  throw Failure{kTrouble};
}

void PrintErrorAt(const Place& place, const char* rule, const char* message,
                  const char* hint) {
  constexpr std::size_t kWidth = 70;  // 76 columns with the marks of both cuts
  const Shown excerpt = Excerpt(place.text, place.at, kWidth);
  ClearProgress();
  std::fprintf(stderr, "%s%s:%" PRIu64 ":%" PRIu64 ":%s %s: %s\n%s\n%s%s^%s\n",
               Bold(), Mask(place.file).c_str(), place.position.line,
               place.position.column, Plain(), rule, message,
               excerpt.text.c_str(), excerpt.blanks.c_str(), Red(), Plain());
  if (*hint != '\0') std::fprintf(stderr, "hint: %s\n", hint);
}

void ShowProgress(const char* file, std::uint64_t done, std::uint64_t all) {
  constexpr std::size_t kWidth = 40;  // all fits on a line of 80 columns
  constexpr std::uint64_t kMega = 1'000'000;
  const std::string_view name = file;
  if (progress == Progress::kEnded) return;
  std::fprintf(stderr, "\r%s: %" PRIu64 " of %" PRIu64 " MB\033[K",
               Excerpt(name, name.size(), kWidth).text.c_str(), done / kMega,
               all / kMega);
  progress = Progress::kShown;
}

void ClearProgress() {
  if (progress != Progress::kShown) return;
  std::fputs("\r\033[K", stderr);
  progress = Progress::kNone;
}

void EndProgress() {
  ClearProgress();
  progress = Progress::kEnded;
}

}  // namespace vjson
