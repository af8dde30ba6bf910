#pragma once

#include <cstddef>
#include <vector>

#include "output.h"
#include "report.h"

namespace vjson {

// The commands, a file each, and what each is given.

enum Option : unsigned int {
  kReport = 1,
  kStrict = 2,
  kLines = 4,
  kTree = 8,
  kComments = 16,
  kRaw = 32,
  kAsString = 64,
  kInPlace = 128,
  kAll = 256
};

struct Arguments {
  const char* command = nullptr;
  std::vector<const char*> operands;
  unsigned int options = 0;
  Color color = Color::kAuto;

  bool Has(Option option) const { return (options & option) != 0; }

  // The operand; standard input where there are too few.
  const char* FileAt(std::size_t index) const {
    return index < operands.size() ? operands[index] : "-";
  }
};

Status Check(const Arguments& arguments, Output& output);
Status Format(const Arguments& arguments, Output& output);
Status Compress(const Arguments& arguments, Output& output);
Status Equal(const Arguments& arguments, Output& output);
Status Get(const Arguments& arguments, Output& output);
Status Keys(const Arguments& arguments, Output& output);
Status Set(const Arguments& arguments, Output& output);
Status Remove(const Arguments& arguments, Output& output);
Status Cost(const Arguments& arguments, Output& output);

}  // namespace vjson
