#pragma once

#include <atomic>
#include <cstddef>
#include <functional>
#include <string_view>

namespace vjson {

// Where a text means something else to other readers of JSON.
struct Finding {
  enum Kind {
    kExtension,  // the dialect takes it, RFC 8259 does not
    kMeaning,    // both take it, as different characters
    kRepeated    // a key that the object has already; the last value counts
  };

  Kind kind;
  std::size_t at;
  const char* message;
  std::size_t first;  // where the key stands first
};

// Tells of every finding in the text as it comes to it: of a repeated key when
// it has passed it. Goes on to the end if the text is of the dialect, nested
// however deeply, and returns true then. Keeps in done, if there is one, how
// many bytes it has passed. REQUIRES: there is no NUL in the text.
bool Scan(std::string_view text,
          const std::function<void(const Finding&)>& tell,
          std::atomic<std::size_t>* done = nullptr);

}  // namespace vjson
