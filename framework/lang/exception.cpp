#include <foundation/lang/exception.h>

namespace vorn::foundation::lang {

Exception::Exception(const char* where, const char* what)
    : where_(where == nullptr ? "" : where),
      what_(what == nullptr ? "" : what) {}

}  // namespace vorn::foundation::lang
