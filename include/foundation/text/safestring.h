#pragma once

#include <string>

#include <foundation/debug/allocator.h>

namespace vorn::foundation {

namespace text {

/// The standard string with the allocator of the memory monitor. It holds bytes
/// of any value and assumes no encoding.
template <class C, class Traits = std::char_traits<C>,
          class A = debug::Allocator<C>>
using SafeString = std::basic_string<C, Traits, A>;

}  // namespace text

using SafeString = text::SafeString<char>;

}  // namespace vorn::foundation
