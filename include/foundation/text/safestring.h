#pragma once

#include <string>

#include <foundation/debug/allocator.h>

namespace vorn::foundation {

namespace text {

// The standard string over the tracked allocator. It holds bytes of any value;
// no encoding is assumed.
template <class C, class Traits = std::char_traits<C>,
          class A = debug::Allocator<C>>
using SafeString = std::basic_string<C, Traits, A>;

}  // namespace text

using SafeString = text::SafeString<char>;

}  // namespace vorn::foundation
