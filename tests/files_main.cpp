// Usage: files_main PATH|null [MOST]
// Saves an array in the file, or reads at most that many bytes of it. Prints
// what came of it.

#include <foundation/json/build.h>
#include <foundation/json/files.h>

#include <cstdio>
#include <cstdlib>
#include <string_view>

using namespace vorn::foundation::json;

int main(int count, char** arguments) {
  JsonReader reader;
  FileFault fault;
  const char* const path =
      arguments[1] != std::string_view("null") ? arguments[1] : nullptr;
  const bool done =
      count > 2 ? ReadFile(path, std::strtoul(arguments[2], nullptr, 10),
                           reader, fault)
                : SaveFile(path, *MakeArray(Here(), 1).get(), fault);
  if (done != (fault.error == 0 && fault.text.kind == JsonFault::Kind::None)) {
    return 1;
  }
  std::printf("%s%s %d at %zu\n", reader.compress().c_str(), fault.step,
              fault.error, fault.text.offset);
}
