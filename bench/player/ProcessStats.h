#pragma once
// What a benchmark reads about its own process: CPU time of every thread, resident memory.
#include <cstdint>
#include <map>

namespace zp::bench {

// CPU seconds used so far by every thread of the process.
double ProcessCpuSeconds();
// Seconds of a monotonic clock.
double WallSeconds();
// VmRSS and VmHWM of the process in bytes; 0 when /proc cannot be read.
uint64_t ResidentBytes();
uint64_t PeakResidentBytes();
// Nanoseconds each thread of the process has run so far, by thread id (the scheduler's count).
std::map<int, uint64_t> ThreadRunNanoseconds();
// Minor page faults of every thread of the process so far.
uint64_t MinorFaults();
// Voluntary context switches of every thread of the process so far: how often its threads slept.
uint64_t VoluntarySwitches();
// Hands freed heap memory back to the system and restarts the peak (VmHWM) at the current
// resident size, so that what follows shows as growth.
void RestartResidentPeak();

}  // namespace zp::bench
