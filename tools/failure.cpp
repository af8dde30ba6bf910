#include "failure.h"

#include <cstdio>

#include "excerpt.h"

namespace vjson {

void Tell(const char* subject, const char* message) {
  std::fprintf(stderr, "vjson: ");
  PrintShown(stderr, subject);
  std::fprintf(stderr, ": %s\n", message);
}

void Fail(const char* subject, const char* message) {
  Tell(subject, message);
  throw Failed{kTrouble};
}

}  // namespace vjson
