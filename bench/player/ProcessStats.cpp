#include "ProcessStats.h"

#include <malloc.h>
#include <sys/resource.h>
#include <time.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

namespace zp::bench {

namespace {

double ClockSeconds(clockid_t clock) {
  timespec ts{};
  clock_gettime(clock, &ts);
  return static_cast<double>(ts.tv_sec) + static_cast<double>(ts.tv_nsec) * 1e-9;
}

// The number on a "Name:   1234 kB" line of a /proc status file.
uint64_t StatusValue(const std::string& file, const char* name) {
  std::ifstream status(file);
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

uint64_t ResidentBytes() { return StatusValue("/proc/self/status", "VmRSS") * 1024; }

uint64_t PeakResidentBytes() { return StatusValue("/proc/self/status", "VmHWM") * 1024; }

uint64_t VoluntarySwitches() {
  uint64_t total = 0;
  std::error_code error;
  for (const auto& task : std::filesystem::directory_iterator("/proc/self/task", error)) {
    total += StatusValue(task.path().string() + "/status", "voluntary_ctxt_switches");
  }
  return total;
}

uint64_t MinorFaults() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<uint64_t>(usage.ru_minflt);
}

std::map<int, uint64_t> ThreadRunNanoseconds() {
  std::map<int, uint64_t> runs;
  std::error_code error;
  for (const auto& task : std::filesystem::directory_iterator("/proc/self/task", error)) {
    std::ifstream schedstat(task.path().string() + "/schedstat");
    uint64_t ns = 0;
    if (schedstat >> ns) {
      runs[std::stoi(task.path().filename().string())] = ns;
    }
  }
  return runs;
}

void RestartResidentPeak() {
  malloc_trim(0);
  // 5 resets the peak resident size (Linux 4.0 and later).
  if (std::FILE* f = std::fopen("/proc/self/clear_refs", "w")) {
    std::fputs("5", f);
    std::fclose(f);
  }
}

}  // namespace zp::bench
