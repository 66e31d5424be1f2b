#pragma once
#include <cstdint>

namespace zp::platform {

// Milliseconds from a monotonic clock, truncated to 32 bits: it wraps after about 49.7 days,
// and every caller compares ticks by unsigned difference so the wrap is harmless.
uint32_t TickCountMs();

// Sleeps the calling thread; 0 yields the rest of its time slice.
void SleepMs(uint32_t ms);

}  // namespace zp::platform
