#include "ProcessStats.h"

#include <malloc.h>
#include <time.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>

namespace zp::bench {

namespace {

double ClockSeconds(clockid_t clock) {
  timespec ts{};
  clock_gettime(clock, &ts);
  return static_cast<double>(ts.tv_sec) + static_cast<double>(ts.tv_nsec) * 1e-9;
}

// A "Name:   1234 kB" line of /proc/self/status.
uint64_t StatusKiB(const char* name) {
  std::ifstream status("/proc/self/status");
  std::string line;
  const size_t length = std::strlen(name);
  while (std::getline(status, line)) {
    if (line.compare(0, length, name) == 0 && line.size() > length && line[length] == ':') {
      return std::stoull(line.substr(length + 1));
    }
  }
  return 0;
}

}  // namespace

double ProcessCpuSeconds() { return ClockSeconds(CLOCK_PROCESS_CPUTIME_ID); }

double WallSeconds() { return ClockSeconds(CLOCK_MONOTONIC); }

uint64_t ResidentBytes() { return StatusKiB("VmRSS") * 1024; }

uint64_t PeakResidentBytes() { return StatusKiB("VmHWM") * 1024; }

void RestartResidentPeak() {
  malloc_trim(0);
  // 5 resets the peak resident size (Linux 4.0 and later).
  if (std::FILE* f = std::fopen("/proc/self/clear_refs", "w")) {
    std::fputs("5", f);
    std::fclose(f);
  }
}

}  // namespace zp::bench
