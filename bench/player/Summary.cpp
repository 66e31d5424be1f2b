#include "Summary.h"

#include <algorithm>
#include <cmath>
#include <string>

namespace zp::bench {

Summary Summarise(std::vector<double> v) {
  Summary s;
  if (v.empty()) {
    return s;
  }
  std::sort(v.begin(), v.end());
  const auto rank = [&](double p) { return v[std::min(v.size() - 1, static_cast<size_t>(std::ceil(p * v.size())) - 1)]; };
  double sum = 0, squares = 0;
  for (double x : v) {
    sum += x;
  }
  s.mean = sum / v.size();
  for (double x : v) {
    squares += (x - s.mean) * (x - s.mean);
  }
  s.stddev = std::sqrt(squares / v.size());
  s.p50 = rank(0.50);
  s.p99 = rank(0.99);
  s.max = v.back();
  return s;
}

void Report(benchmark::State& state, const char* name, const Summary& s) {
  const std::string n(name);
  state.counters[n + "_mean"] = s.mean;
  state.counters[n + "_sd"] = s.stddev;
  state.counters[n + "_p50"] = s.p50;
  state.counters[n + "_p99"] = s.p99;
  state.counters[n + "_max"] = s.max;
}

}  // namespace zp::bench
