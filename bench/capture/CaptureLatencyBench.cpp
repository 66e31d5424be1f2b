// Capture-to-callback latency of capture-and-encode through the C API: each frame's head carries
// the tick (ms x 1000, 32 bits) at which its buffer was encoded on the sound thread; the callback
// compares it with its own tick. The microphone is SDL's disk driver at real-time pace.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "zephplay.h"

namespace {

uint32_t TickUs() {
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return static_cast<uint32_t>(std::chrono::duration_cast<std::chrono::milliseconds>(now).count()) * 1000u;
}

struct Latencies {
  std::mutex lock;
  std::vector<double> ms;
  static void ZEPHPLAY_CALL Take(const uint8_t* frame, uint32_t, uint64_t user) {
    uint32_t stamp = 0;
    std::memcpy(&stamp, frame + 4, 4);
    const uint32_t waited = TickUs() - stamp;  // both wrap alike
    auto* l = reinterpret_cast<Latencies*>(user);
    std::lock_guard<std::mutex> hold(l->lock);
    l->ms.push_back(waited / 1000.0);
  }
};

void BM_CaptureToCallback(benchmark::State& state) {
  const std::string mic = (std::filesystem::temp_directory_path() / ("zp-bench-mic-" + std::to_string(getpid()))).string();
  std::ofstream(mic, std::ios::binary).write(std::string(64000, '\x10').data(), 64000);
  setenv("SDL_AUDIODRIVER", "disk", 1);
  setenv("SDL_DISKAUDIOFILEIN", mic.c_str(), 1);
  unsetenv("SDL_DISKAUDIODELAY");  // the driver's own pace: one buffer's duration per buffer
  Latencies latencies;
  for (auto _ : state) {
    ZEPHPLAY_ACE* ace = nullptr;
    if (ZEPHPLAY_ACEOpen(&ace, static_cast<int32_t>(state.range(0)), reinterpret_cast<uint64_t>(&latencies),
                         &Latencies::Take) != 0) {
      state.SkipWithError("the disk microphone did not open");
      break;
    }
    std::this_thread::sleep_for(std::chrono::seconds(2));
    ZEPHPLAY_ACEClose(ace);
  }
  std::filesystem::remove(mic);
  std::vector<double>& ms = latencies.ms;
  if (ms.empty()) {
    state.SkipWithError("no frame was delivered");
    return;
  }
  std::sort(ms.begin(), ms.end());
  state.counters["frames"] = static_cast<double>(ms.size());
  state.counters["median_ms"] = ms[ms.size() / 2];
  state.counters["p95_ms"] = ms[ms.size() * 95 / 100];
  state.counters["max_ms"] = ms.back();
}
// 17: G.711 A-law in 320-byte buffers; 12: AAC at 8 kHz in 1024-byte buffers.
BENCHMARK(BM_CaptureToCallback)->Arg(17)->Arg(12)->Iterations(1)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
