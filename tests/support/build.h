#pragma once

// How this test program was built.
namespace support {

#ifndef __has_feature
#define __has_feature(feature) 0
#endif

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || \
    __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
inline constexpr bool kSanitized = true;
#else
inline constexpr bool kSanitized = false;
#endif

// Whether time and stack are what they are to the library's users.
#ifdef __OPTIMIZE__
inline constexpr bool kOptimized = !kSanitized;
#else
inline constexpr bool kOptimized = false;
#endif

}  // namespace support
