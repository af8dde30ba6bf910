#include "failure.h"

#include <cstdio>

namespace vjson {

void Tell(const char* subject, const char* message) {
  std::fprintf(stderr, "vjson: %s: %s\n", subject, message);
}

void Fail(const char* subject, const char* message) {
  Tell(subject, message);
  throw Failed{kTrouble};
}

}  // namespace vjson
