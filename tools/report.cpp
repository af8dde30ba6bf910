#include "report.h"

#include <unistd.h>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>

#include "text.h"

using namespace vjson;

namespace {

bool progress_shown = false;
bool progress_ended = false;

const char* Color(const char* code) { return error_colors ? code : ""; }

}  // namespace

bool vjson::UsesColors(std::string_view when, int file) {
  if (when == "always" || when == "never") return when == "always";
  if (when != "auto") Fail("--color", "always, never or auto");
  const char* const none = std::getenv("NO_COLOR");
  return isatty(file) != 0 && (none == nullptr || *none == '\0');
}

void vjson::PrintError(std::string_view subject, const SafeString& message) {
  ClearProgress();
  std::fprintf(stderr, "%svjson: %s:%s %s\n", Color("\033[1m"),
               Mask(subject).c_str(), Color("\033[0m"), message.c_str());
}

void vjson::Fail(std::string_view subject, const SafeString& message) {
  PrintError(subject, message);
  throw Failure{kTrouble};
}

void vjson::PrintErrorAt(const Place& place, const char* rule,
                         const SafeString& message, const SafeString& hint) {
  constexpr std::size_t kWidth = 70;  // 76 columns with the marks of both cuts
  const Shown excerpt = Excerpt(place.text, place.at, kWidth);
  ClearProgress();
  std::fprintf(stderr, "%s%s:%" PRIu64 ":%" PRIu64 ":%s %s: %s\n%s\n%s%s^%s\n",
               Color("\033[1m"), Mask(place.file).c_str(), place.position.line,
               place.position.column, Color("\033[0m"), rule, message.c_str(),
               excerpt.text.c_str(), excerpt.blanks.c_str(),
               Color("\033[1;31m"), Color("\033[0m"));
  if (!hint.empty()) std::fprintf(stderr, "hint: %s\n", hint.c_str());
}

void vjson::ShowProgress(std::uint64_t done, std::uint64_t all) {
  constexpr std::uint64_t kMega = 1'000'000;
  if (progress_ended || isatty(STDERR_FILENO) == 0) return;
  std::fprintf(stderr, "\r%" PRIu64 " of %" PRIu64 " MB\033[K", done / kMega,
               all / kMega);
  progress_shown = true;
}

void vjson::ClearProgress(bool for_good) {
  if (progress_shown) std::fputs("\r\033[K", stderr);
  progress_shown = false;
  progress_ended = progress_ended || for_good;
}
