#pragma once

#include <foundation/text/safestring.h>

#include <cstddef>
#include <cstdio>
#include <cstring>
#include <limits>
#include <vector>

// Different keys that share a hash or a bucket, and may stand in JSON text as
// they are.
//
// The hash of strings multiplies and shifts, one word of the machine after
// another, and each of these steps can be taken back.
namespace support {

using vorn::foundation::SafeString;
using Keys = std::vector<SafeString>;

using Word = std::size_t;
constexpr bool kWide = sizeof(Word) == 8;  // the hash of 64 bits, or of 32
constexpr auto kFactor = static_cast<Word>(0xc6a4a7935bd1e995ULL);

constexpr Word Inverse(Word inverse = kFactor) {
  while (kFactor * inverse != 1) inverse *= 2 - kFactor * inverse;
  return inverse;
}

// Takes word ^= word >> by back.
inline Word Unshift(Word mixed, int by) {
  Word word = mixed;
  for (int i = by; i < std::numeric_limits<Word>::digits; i += by) {
    word = mixed ^ (word >> by);
  }
  return word;
}

// What the hash makes of a word of the key, and back.
inline Word Mix(Word word) {
  word *= kFactor;
  return (word ^ (word >> (kWide ? 47 : 24))) * kFactor;
}
inline Word Unmix(Word mixed) {
  return Unshift(mixed * Inverse(), kWide ? 47 : 24) * Inverse();
}

inline bool IsPlain(const char* text, std::size_t size) {
  return std::strcspn(text, "\"\\\n\r\t") == size;
}

// Keys of 16 bytes. The n-th has the hash 1 + n * step: with a step of 0 all
// share one hash, else they share a bucket where there are step buckets. Their
// last word follows from the hash and the words before it.
inline Keys CollidingKeys(std::size_t count, std::size_t step) {
  constexpr std::size_t kSize = 16;
  Keys keys;
  for (unsigned int number = 0; keys.size() < count; ++number) {
    char text[kSize + 1];
    std::snprintf(text, sizeof text, "%08x....", number);
    Word state = 0xc70f6907U ^ (kWide ? kSize * kFactor : kSize);
    char* at = text;
    for (Word word; at != text + kSize - sizeof word; at += sizeof word) {
      std::memcpy(&word, at, sizeof word);
      state =
          kWide ? (state ^ Mix(word)) * kFactor : state * kFactor ^ Mix(word);
    }
    const Word hash = 1 + keys.size() * step;
    const Word end =
        Unshift(Unshift(hash, kWide ? 47 : 15) * Inverse(), kWide ? 47 : 13);
    const Word last =
        Unmix(kWide ? end * Inverse() ^ state : end ^ state * kFactor);
    std::memcpy(at, &last, sizeof last);
    text[kSize] = '\0';
    if (IsPlain(text, kSize)) keys.emplace_back(text);
  }
  return keys;
}

// Keys of that size with a long common beginning, which share a hash whatever
// its seed: the highest bit of the state survives a multiplication alone, so a
// second word takes back what the first one changes.
inline Keys LongCollidingKeys(std::size_t count, std::size_t size) {
  constexpr std::size_t kSize = sizeof(Word);
  char words[2][kSize + 1] = {};
  Word mixed = 0;
  do {
    ++mixed;
    for (char* word : words) {
      mixed ^= ~(~Word{0} >> 1);
      const Word unmixed = Unmix(mixed);
      std::memcpy(word, &unmixed, sizeof unmixed);
    }
  } while (!IsPlain(words[0], kSize) || !IsPlain(words[1], kSize));
  Keys keys(count);
  for (std::size_t number = 0; number < count; ++number) {
    for (std::size_t bit = 1; bit < count; bit *= 2) {
      const char* const word = words[(number & bit) != 0];
      keys[number].append(word).append(word);
    }
    keys[number].insert(0, size - keys[number].size(), 'x');
  }
  return keys;
}

}  // namespace support
