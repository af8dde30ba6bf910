#pragma once

#include <vector>

#include "output.h"
#include "report.h"

namespace vjson {

// The commands, a file each, and what each is given.

// 1 is what getopt_long() calls an operand.
enum Option : unsigned int {
  kReport = 2,
  kStrict = 4,
  kLines = 8,
  kTree = 16,
  kComments = 32,
  kRaw = 64,
  kAsString = 128,
  kInPlace = 256,
  kAll = 512
};

struct Arguments {
  std::vector<const char*> operands;  // the file first
  unsigned int options = 0;

  bool Has(Option option) const { return (options & option) != 0; }
};

using Command = Status(const Arguments& arguments, Output& output);
Command Check, Format, Compress, Equal, Get, Keys, Set, Remove, Cost;

}  // namespace vjson
