// A multi-play-back group of 15 channels (the most a group holds) of 720p25 H.264, headless,
// fed whole frames in real time by one thread as a recorder's channels arrive: every channel's
// frame n is pushed at t0 + n x 40 ms with the same stamp on every channel, each channel
// starting at a key frame of its own (cameras' groups of pictures are not in step). Counters:
// the share of pictures on time of the worst channel (shown within two frame intervals of the
// push, as for the stream players), the skew between channels (at every 10 ms of the last 15 s,
// the largest stamp shown on any channel minus the smallest), and CPU and resident memory per
// channel. BM_SeparatePlayers720p25 feeds the same frames to as many stream players of their own
// (mode 2, no group): the single-player figure in the same run.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "LiveStream.h"
#include "ProcessStats.h"
#include "Summary.h"
#include "zephplay.h"

namespace {

using zp::bench::LiveStream;
using zp::bench::ProcessCpuSeconds;
using zp::bench::WallSeconds;

constexpr uint32_t kTypeI = 0x63643030;
constexpr uint32_t kTypeP = 0x63643130;
constexpr uint32_t kAttrType = 1;
constexpr uint32_t kQueueBytes = 4u << 20;
constexpr uint64_t kFrames = 500;  // 20 s
constexpr double kFrameSeconds = 0.040;
constexpr double kOnTimeSeconds = 2 * kFrameSeconds;
constexpr double kSkewFromSeconds = 5;  // the skew is sampled after the start-up
constexpr double kSkewStepSeconds = 0.010;
constexpr double kMiB = 1024.0 * 1024.0;

int Channels() {
  const char* v = std::getenv("ZP_GROUP_CHANNELS");
  return v != nullptr && std::atoi(v) > 0 ? std::atoi(v) : 15;
}

LiveStream& Live() {
  static LiveStream hd(1280, 720);
  return hd;
}

// When channel c of `count` sends its first frame: the starts are spread over one group.
uint64_t Start(int c, int count) { return static_cast<uint64_t>(c * LiveStream::kGopFrames / count); }

// Each channel's display callbacks: when and with which stamp (memory reserved beforehand).
struct Shown {
  std::mutex m;
  std::vector<std::pair<double, uint64_t>> at;
  static void ZEPHPLAY_CALL On(uint64_t, uint32_t, uint32_t, uint64_t stamp, uint32_t, uint32_t, uint64_t user) {
    auto* self = reinterpret_cast<Shown*>(user);
    const double now = WallSeconds();
    std::lock_guard<std::mutex> lock(self->m);
    self->at.emplace_back(now, stamp);
  }
};

// Where the frames go: a group, or separate stream players.
struct Sink {
  ZEPHPLAY_MPBHANDLE group = 0;
  std::vector<ZEPHPLAY_PLAYHANDLE*> players;

  int32_t Push(int c, const uint8_t* data, uint32_t length, uint32_t type, uint64_t stamp) {
    if (group != 0) {
      return ZEPHPLAY_MPBInputFrameData(group, static_cast<uint32_t>(c), data, length, type, stamp);
    }
    return ZEPHPLAY_InputFrameData(players[c], data, length, type, stamp);
  }
  void Close() {
    if (group != 0) {
      ZEPHPLAY_MPBClosePlayHandle(group);
    }
    for (ZEPHPLAY_PLAYHANDLE* h : players) {
      ZEPHPLAY_ClosePlayHandle(h);
    }
  }
};

bool OpenSink(Sink* sink, bool grouped, std::vector<Shown>* shown) {
  const int count = static_cast<int>(shown->size());
  if (grouped) {
    std::vector<uint32_t> channels(count);
    for (int c = 0; c < count; ++c) {
      channels[c] = static_cast<uint32_t>(c);
    }
    if (ZEPHPLAY_MPBOpenPlayHandle(&sink->group, count) != 0 ||
        ZEPHPLAY_MPBOpenStream(sink->group, channels.data(), nullptr, 0, kQueueBytes, 0) != 0) {
      return false;
    }
    for (int c = 0; c < count; ++c) {
      ZEPHPLAY_MPBSetDisplayCallBack(sink->group, c, reinterpret_cast<uint64_t>(&(*shown)[c]), &Shown::On);
    }
    return true;
  }
  for (int c = 0; c < count; ++c) {
    ZEPHPLAY_PLAYHANDLE* h = nullptr;
    if (ZEPHPLAY_OpenPlayHandle(&h) != 0 || ZEPHPLAY_OpenStream(h, nullptr, 0, kQueueBytes, 0) != 0) {
      return false;
    }
    sink->players.push_back(h);
    ZEPHPLAY_SetDisplayCallBack(h, reinterpret_cast<uint64_t>(&(*shown)[c]), &Shown::On);
  }
  return true;
}

// The stream attribute a recorder sends first: H.264, the 720p picture class (which also sizes
// the decoder and the queue).
void SendAttribute(Sink* sink, int count) {
  std::vector<uint8_t> attr(ZEPHPLAY_STREAM_ATTR_SIZE, 0);
  const uint32_t magic = ZEPHPLAY_STREAM_ATTR_MAGIC;
  std::memcpy(attr.data(), &magic, sizeof magic);
  attr[100] = 5;
  for (int c = 0; c < (sink->group != 0 ? 1 : count); ++c) {  // a group hands it to every player
    sink->Push(c, attr.data(), static_cast<uint32_t>(attr.size()), kAttrType, 0);
  }
}

struct Run {
  double worstOnTime = 1;
  double skewMaxMs = 0;
  double skewP99Ms = 0;
  double cpuPerChannel = 0;
  double rssMiBPerChannel = 0;
};

// The largest minus the smallest stamp shown at every 10 ms of the run's later part.
void MeasureSkew(std::vector<Shown>& shown, double from, double to, Run* run) {
  std::vector<double> skews;
  for (double t = from; t < to; t += kSkewStepSeconds) {
    uint64_t low = UINT64_MAX;
    uint64_t high = 0;
    for (Shown& s : shown) {
      auto it = std::upper_bound(s.at.begin(), s.at.end(), std::make_pair(t, UINT64_MAX));
      if (it == s.at.begin()) {
        return;  // a channel that showed nothing yet: no skew to speak of
      }
      low = std::min(low, std::prev(it)->second);
      high = std::max(high, std::prev(it)->second);
    }
    skews.push_back((high - low) / 1e3);
  }
  const zp::bench::Summary summary = zp::bench::Summarise(skews);
  run->skewMaxMs = summary.max;
  run->skewP99Ms = summary.p99;
}

Run Play(bool grouped, int count) {
  LiveStream& live = Live();
  Run run;
  std::vector<Shown> shown(count);
  for (Shown& s : shown) {
    s.at.reserve(kFrames * 2);
  }
  zp::bench::RestartResidentPeak();
  const uint64_t rss0 = zp::bench::ResidentBytes();
  Sink sink;
  if (!OpenSink(&sink, grouped, &shown)) {
    sink.Close();
    run.worstOnTime = 0;
    return run;
  }
  SendAttribute(&sink, count);
  std::vector<std::vector<double>> pushedAt(count, std::vector<double>(kFrames, 1e300));
  const double cpu0 = ProcessCpuSeconds();
  const double t0 = WallSeconds() + 0.1;
  for (uint64_t n = 0; n < kFrames; ++n) {
    std::this_thread::sleep_until(std::chrono::steady_clock::now() +
                                  std::chrono::duration<double>(t0 + n * kFrameSeconds - WallSeconds()));
    for (int c = 0; c < count && Start(c, count) <= n; ++c) {
      const auto& f = live.Encoded(n - Start(c, count));
      if (sink.Push(c, f.data.data(), static_cast<uint32_t>(f.data.size()), f.key ? kTypeI : kTypeP,
                    LiveStream::StampUs(n)) == 0) {
        pushedAt[c][n] = WallSeconds();
      }
    }
  }
  std::this_thread::sleep_for(std::chrono::duration<double>(kOnTimeSeconds));
  const double wall = WallSeconds() - t0;
  run.cpuPerChannel = (ProcessCpuSeconds() - cpu0) / wall / count;
  run.rssMiBPerChannel = (static_cast<double>(zp::bench::ResidentBytes()) - static_cast<double>(rss0)) / kMiB / count;
  sink.Close();
  for (int c = 0; c < count; ++c) {
    std::vector<bool> onTime(kFrames, false);
    for (const auto& [seconds, stamp] : shown[c].at) {
      const int64_t n = LiveStream::FrameOf(stamp);
      if (n >= 0 && n < static_cast<int64_t>(kFrames)) {
        onTime[n] = onTime[n] || seconds - pushedAt[c][n] <= kOnTimeSeconds;
      }
    }
    const auto pushed = static_cast<double>(kFrames - Start(c, count));
    run.worstOnTime = std::min(run.worstOnTime, std::count(onTime.begin(), onTime.end(), true) / pushed);
  }
  MeasureSkew(shown, t0 + kSkewFromSeconds, t0 + kFrames * kFrameSeconds, &run);
  return run;
}

void Report(benchmark::State& state, bool grouped) {
  Live();
  const int count = Channels();
  for (auto _ : state) {
    const double t0 = WallSeconds();
    const Run run = Play(grouped, count);
    state.SetIterationTime(WallSeconds() - t0);
    state.counters["channels"] = count;
    state.counters["on_time_pct_worst"] = run.worstOnTime * 100;
    state.counters["skew_ms_max"] = run.skewMaxMs;
    state.counters["skew_ms_p99"] = run.skewP99Ms;
    state.counters["cpu_pct_per_channel"] = run.cpuPerChannel * 100;
    state.counters["rss_mib_per_channel"] = run.rssMiBPerChannel;
  }
}

void BM_Group720p25(benchmark::State& state) { Report(state, true); }
void BM_SeparatePlayers720p25(benchmark::State& state) { Report(state, false); }

}  // namespace

BENCHMARK(BM_Group720p25)->Iterations(1)->UseManualTime()->Unit(benchmark::kSecond);
BENCHMARK(BM_SeparatePlayers720p25)->Iterations(1)->UseManualTime()->Unit(benchmark::kSecond);
