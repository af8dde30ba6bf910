#include "library.h"

#include <stdexcept>
#include <string>

#include "adapters.h"

namespace bench {

const std::vector<Library>& Libraries() {
  static const std::vector<Library> libraries = {
      {"vorn", ParseVorn},
#ifdef BENCH_COMPARISONS
      {"rapidjson", ParseRapidJson}, {"cjson", ParseCJson},
      {"json-c", ParseJsonC},        {"jansson", ParseJansson},
      {"nlohmann", ParseNlohmann},   {"jsoncpp", ParseJsonCpp},
#endif
  };
  return libraries;
}

const Library& FindLibrary(std::string_view name) {
  for (const Library& library : Libraries()) {
    if (name == library.name) return library;
  }
  throw std::runtime_error("no such library: " + std::string(name));
}

}  // namespace bench
