#include "platform/ThreadId.h"

#include <sys/syscall.h>
#include <unistd.h>

namespace zp::platform {

uint32_t CurrentThreadId() { return static_cast<uint32_t>(syscall(SYS_gettid)); }

}  // namespace zp::platform
