// Usage: files_main PATH|null [MOST]
// Saves an array in the file, or reads at most that many bytes of it. Prints
// what came of it.

#include <foundation/json/build.h>
#include <foundation/json/files.h>

#include <cstdio>
#include <cstdlib>

using namespace vorn::foundation::json;

int main(int count, char** arguments) {
  JsonReader reader;
  FileFault fault;
  const char* const path =
      arguments[1] == std::string_view("null") ? nullptr : arguments[1];
  const bool done =
      count > 2 ? ReadFile(path, std::strtoul(arguments[2], nullptr, 10),
                           reader, fault)
                : SaveFile(path, *MakeArray(Here(), 1).get(), fault);
  std::printf("%d %s%s %d at %zu\n", done, reader.compress().c_str(),
              fault.step, fault.error, fault.text.offset);
}
