#pragma once
// Sample statistics as the player benchmarks report them, and their counters.
#include <vector>

#include <benchmark/benchmark.h>

namespace zp::bench {

struct Summary {
  double mean = 0, stddev = 0, p50 = 0, p99 = 0, max = 0;
};

// Nearest-rank percentiles, population standard deviation; all zero for no samples.
Summary Summarise(std::vector<double> v);

// Counters `name`_mean, _sd, _p50, _p99 and _max.
void Report(benchmark::State& state, const char* name, const Summary& s);

}  // namespace zp::bench
