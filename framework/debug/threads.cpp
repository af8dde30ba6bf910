#include "threads.h"

namespace vorn::foundation::debug::internal {

Mutexes mutexes;

}  // namespace vorn::foundation::debug::internal
