#pragma once

#include <foundation/text/safestring.h>

#include <cstddef>
#include <cstdio>
#include <cstring>
#include <limits>
#include <vector>

namespace support {

using vorn::foundation::SafeString;
using Keys = std::vector<SafeString>;

// Different keys of 16 bytes that may stand in JSON text as they are. The n-th
// has the hash 1 + n * step: with a step of 0 all share one hash, else they
// share a bucket where there are step buckets.
//
// The hash of strings multiplies and shifts, one word of the machine after
// another, and each of these steps can be taken back: the last word of a key
// follows from the hash and the words before it.
inline Keys CollidingKeys(std::size_t count, std::size_t step) {
  using Word = std::size_t;
  constexpr bool kWide = sizeof(Word) == 8;  // the hash of 64 bits, or of 32
  constexpr auto kFactor = static_cast<Word>(0xc6a4a7935bd1e995ULL);
  constexpr std::size_t kSize = 16;
  Word inverse = kFactor;
  while (kFactor * inverse != 1) inverse *= 2 - kFactor * inverse;

  // Takes word ^= word >> by back.
  const auto unshift = [](Word mixed, int by) {
    Word word = mixed;
    for (int i = by; i < std::numeric_limits<Word>::digits; i += by) {
      word = mixed ^ (word >> by);
    }
    return word;
  };
  const auto mix = [=](Word word) {
    word *= kFactor;
    return (word ^ (word >> (kWide ? 47 : 24))) * kFactor;
  };
  Keys keys;
  for (unsigned int number = 0; keys.size() < count; ++number) {
    char text[kSize + 1];
    std::snprintf(text, sizeof text, "%08x....", number);
    Word state = 0xc70f6907U ^ (kWide ? kSize * kFactor : kSize);
    char* at = text;
    for (Word word; at != text + kSize - sizeof word; at += sizeof word) {
      std::memcpy(&word, at, sizeof word);
      state =
          kWide ? (state ^ mix(word)) * kFactor : state * kFactor ^ mix(word);
    }
    const Word hash = 1 + keys.size() * step;
    const Word end =
        unshift(unshift(hash, kWide ? 47 : 15) * inverse, kWide ? 47 : 13);
    const Word mixed = kWide ? end * inverse ^ state : end ^ state * kFactor;
    const Word last = unshift(mixed * inverse, kWide ? 47 : 24) * inverse;
    std::memcpy(at, &last, sizeof last);
    text[kSize] = '\0';
    if (std::strcspn(text, "\"\\\n\r\t") == kSize) keys.emplace_back(text);
  }
  return keys;
}

// Any keys: the empty one, short and long ones, NUL bytes and high bytes.
inline Keys AnyKeys(std::size_t count) {
  Keys keys{"", "%s%n"};
  for (std::size_t n = 2; n < count; ++n) {
    const SafeString middle(n % 7 == 0 ? 20 : n % 3, '\0');
    keys.push_back(static_cast<char>(128 + n % 100) + middle +
                   static_cast<char>(128 + n / 100));
  }
  return keys;
}

// Few that come again, many, and such that share a hash or a bucket.
inline const Keys kKeySets[] = {AnyKeys(4),
                                AnyKeys(20),
                                AnyKeys(100),
                                AnyKeys(600),
                                AnyKeys(3000),
                                CollidingKeys(20, 0),
                                CollidingKeys(20, 29),
                                CollidingKeys(60, 29),
                                CollidingKeys(300, 0),
                                CollidingKeys(300, 257)};

}  // namespace support
