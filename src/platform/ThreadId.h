#pragma once
#include <cstdint>

namespace zp::platform {

// The operating system's id of the calling thread, as 32 bits.
uint32_t CurrentThreadId();

}  // namespace zp::platform
