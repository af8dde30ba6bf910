#pragma once

#include <algorithm>
#include <vector>

#include "io.h"

namespace vjson {

struct Arguments {
  std::vector<const char*> operands;  // the file first
  std::vector<std::string_view> options;
  std::string_view colors = "auto";  // see UsesColors()

  bool Has(std::string_view option) const {
    return std::count(options.begin(), options.end(), option) != 0;
  }
};

// The commands, a file each.
using Command = void(const Arguments& arguments, Output& output);
Command Check, Format, Compress, Equal, Get, Keys, Set, Remove, Cost;

}  // namespace vjson
