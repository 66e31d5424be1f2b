#pragma once
#include <chrono>
#include <cstdint>

namespace zp::platform {

// Milliseconds from a monotonic clock, truncated to 32 bits: it wraps after about 49.7 days,
// and every caller compares ticks by unsigned difference so the wrap is harmless.
uint32_t TickCountMs();

// The moment TickCountMs() reaches its current value plus `ms`. A wait that ends there wakes
// on that tick; a wait of `ms` from now could end up to a millisecond later, and pacing counts
// that millisecond as lateness.
std::chrono::steady_clock::time_point TickDeadline(uint32_t ms);

// Sleeps the calling thread; 0 yields the rest of its time slice.
void SleepMs(uint32_t ms);

}  // namespace zp::platform
