#pragma once

#include <foundation/text/safestring.h>

#include <cstddef>
#include <cstring>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

// Different keys that share a hash or a bucket, and may stand in JSON text as
// they are.
namespace support {

using vorn::foundation::SafeString;
using Keys = std::vector<SafeString>;

// The hash of strings multiplies each word of the key, shifts it, multiplies it
// again, and combines it with the state, which it then multiplies. Returns the
// word that is combined as the given one.
inline std::size_t Unmix(std::size_t mixed) {
  constexpr auto kFactor = static_cast<std::size_t>(0xc6a4a7935bd1e995ULL);
  std::size_t inverse = kFactor;
  while (kFactor * inverse != 1) inverse *= 2 - kFactor * inverse;
  mixed *= inverse;
  return (mixed ^ (mixed >> (sizeof mixed == 8 ? 47 : 24))) * inverse;
}

// Keys with a long common beginning, which share a hash whatever its seed: the
// highest bit of the state survives a multiplication alone, so a second word
// takes back what the first one changes. They have that size, or the least.
inline Keys KeysOfOneHash(std::size_t count, std::size_t size = 0) {
  constexpr std::size_t kSize = sizeof(std::size_t);
  constexpr std::size_t kHighest = ~(~std::size_t{0} / 2);
  char words[2 * kSize + 1] = {};
  for (std::size_t mixed = 1; std::strcspn(words, "\"\\\n\r\t") < 2 * kSize;
       ++mixed) {
    const std::size_t both[] = {Unmix(mixed), Unmix(mixed ^ kHighest)};
    std::memcpy(words, both, sizeof both);
  }
  Keys keys(count);
  for (std::size_t number = 0; number < count; ++number) {
    SafeString& key = keys[number];
    for (std::size_t bit = 1; bit < count; bit *= 2) {
      const char* const word = words + ((number & bit) != 0 ? kSize : 0);
      key.append(word, kSize).append(word, kSize);
    }
    if (key.size() < size) key.insert(0, size - key.size(), 'x');
  }
  return keys;
}

// Keys of 9 digits that share a bucket where there are so many.
inline Keys KeysOfOneBucket(std::size_t count, std::size_t buckets) {
  Keys keys;
  for (int number = 100000000; keys.size() < count; ++number) {
    const std::string key = std::to_string(number);
    if (std::hash<std::string>()(key) % buckets != 0) continue;
    keys.emplace_back(key.c_str());
  }
  return keys;
}

}  // namespace support
