// The stream player through the public C API, headless (no window, sound off), fed live H.264
// streams made by the sample maker, each figure next to a baseline measured in the same run:
// the latency of mode 2 against bare libavcodec decoding of the same frames, the delay control of
// mode 0 against its own [min, max] pair, the number of real-time channels the machine carries,
// and the raw input path against the stream parser alone. Every benchmark runs once per
// iteration and reports counters; the iteration time is the figure named in its comment.
//
// Times are the monotonic clock; a frame is fed whole by one ZEPHPLAY_InputStreamData call
// (header and payload), and "pushed" means the moment that call returned. Frames are matched to
// the display callback by their stamps; headless, the display callback comes for every picture
// shown (nothing throttles it without a window).
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <numeric>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "LiveStream.h"
#include "PlayerProbe.h"
#include "ProcessStats.h"
#include "Summary.h"
#include "media/CParseData.h"

namespace {

using zp::bench::LiveStream;
using zp::bench::PlayerProbe;
using zp::bench::ProcessCpuSeconds;
using zp::bench::Summarise;
using zp::bench::Summary;
using zp::bench::WallSeconds;

constexpr uint32_t kQueueBytes = 4u << 20;
constexpr uint32_t kTryAgain = static_cast<uint32_t>(-3);
constexpr double kFrameSeconds = 0.040;
constexpr double kMiB = 1024.0 * 1024.0;

// The stream of that height (1080, 720 or 288 lines).
LiveStream& Live(int height) {
  // Each encoded on first use only: a filtered run does not wait for the others.
  if (height == 1080) {
    static LiveStream fullHd(1920, 1080);
    return fullHd;
  }
  if (height == 720) {
    static LiveStream hd(1280, 720);
    return hd;
  }
  static LiveStream cif(352, 288);
  return cif;
}

void SleepUntil(double seconds) {
  const double left = seconds - WallSeconds();
  if (left > 0) {
    std::this_thread::sleep_for(std::chrono::duration<double>(left));
  }
}

// Pushes one frame, again and again while the player says "try again later" (as a network
// thread would), at most until `deadline`. False when it was never taken.
bool Push(ZEPHPLAY_PLAYHANDLE* h, const std::vector<uint8_t>& frame, double deadline) {
  for (;;) {
    const int32_t rc = ZEPHPLAY_InputStreamData(h, frame.data(), static_cast<uint32_t>(frame.size()));
    if (rc == 0) {
      return true;
    }
    if (static_cast<uint32_t>(rc) != kTryAgain || WallSeconds() > deadline) {
      return false;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

// A stream player on the probe for the stream of that height, with the stream attribute a
// recorder sends first (H.264, the picture class of the size: a new decoder takes 352x288 at
// most). The attribute also sizes the video queue for the class (12 MiB for 720p, 24 MiB for
// 1080p) over `queueBytes`.
bool OpenLive(PlayerProbe* probe, int height, uint32_t queueBytes, uint32_t unpaced) {
  std::vector<uint8_t> attr(ZEPHPLAY_STREAM_ATTR_SIZE, 0);
  const uint32_t magic = ZEPHPLAY_STREAM_ATTR_MAGIC;
  std::memcpy(attr.data(), &magic, sizeof magic);
  attr[100] = height == 1080 ? 6 : height == 720 ? 5 : 2;
  return probe->OpenStream(queueBytes, unpaced) &&
         ZEPHPLAY_SetStreamAttr(probe->Handle(), attr.data(), static_cast<uint32_t>(attr.size())) == 0;
}

double LoadAverage() {
  std::ifstream in("/proc/loadavg");
  double one = 0;
  in >> one;
  return one;
}

int EnvInt(const char* name, int fallback) {
  const char* v = std::getenv(name);
  return v != nullptr && std::atoi(v) > 0 ? std::atoi(v) : fallback;
}

// ---- latency, mode 2 ----------------------------------------------------------------------------

constexpr uint64_t kLatencyFrames = 250;  // 10 s

// 10 s of the stream fed in real time to a player in mode 2 (its mode when opened). Iteration
// time: the median latency from the push to the display callback. Counters: that latency
// (latency_ms_*), the bare decode time of the same frames back to back (decode_ms_*), their
// difference frame by frame (excess_ms_*, the figure the targets judge: p50 <= 2, p99 <= 5), the
// pictures shown. Also the bare decode with the frames 40 ms apart as they arrive live
// (paced_decode_ms_*), which costs more than back to back, and the difference from it
// (excess_paced_ms_*): what the player adds to a decode that idles between frames as its own does.
void BM_ImmediateLatency(benchmark::State& state, int height) {
  LiveStream& live = Live(height);
  std::vector<uint8_t> frame;
  for (auto _ : state) {
    const std::vector<double> bare = live.BareDecodeMs(3);
    const std::vector<double> paced = live.BareDecodeMs(2, kFrameSeconds);
    PlayerProbe probe(kLatencyFrames + 16);
    if (!OpenLive(&probe, height, kQueueBytes, 0)) {
      state.SkipWithError("opening the stream failed");
      break;
    }
    std::vector<double> pushedAt(kLatencyFrames, 0);
    const double t0 = WallSeconds() + 0.1;
    for (uint64_t n = 0; n < kLatencyFrames; ++n) {
      live.Frame(n, &frame);
      SleepUntil(t0 + n * kFrameSeconds);
      Push(probe.Handle(), frame, t0 + (n + 1) * kFrameSeconds);
      pushedAt[n] = WallSeconds();
    }
    probe.WaitDisplayed(kLatencyFrames, 2.0);
    std::vector<double> latency, decode, excess, pacedDecode, pacedExcess;
    for (const auto& shown : probe.Displayed()) {
      const int64_t n = LiveStream::FrameOf(shown.stampUs);
      if (n < 0 || n >= static_cast<int64_t>(kLatencyFrames)) {
        continue;
      }
      const double ms = (shown.seconds - pushedAt[n]) * 1e3;
      latency.push_back(ms);
      decode.push_back(bare[n % LiveStream::kGopFrames]);
      excess.push_back(ms - decode.back());
      pacedDecode.push_back(paced[n % LiveStream::kGopFrames]);
      pacedExcess.push_back(ms - pacedDecode.back());
    }
    const Summary l = Summarise(latency);
    state.SetIterationTime(l.p50 * 1e-3);
    zp::bench::Report(state, "latency_ms", l);
    zp::bench::Report(state, "decode_ms", Summarise(decode));
    zp::bench::Report(state, "excess_ms", Summarise(excess));
    zp::bench::Report(state, "paced_decode_ms", Summarise(pacedDecode));
    zp::bench::Report(state, "excess_paced_ms", Summarise(pacedExcess));
    state.counters["shown"] = static_cast<double>(latency.size());
  }
}
BENCHMARK_CAPTURE(BM_ImmediateLatency, 720p25, 720)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_ImmediateLatency, 1080p25, 1080)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);

// ---- delay control, mode 0 ----------------------------------------------------------------------

constexpr uint32_t kMinDelayMs = 2000;
constexpr uint32_t kMaxDelayMs = 6000;
constexpr double kBurstEverySeconds = 10;
constexpr double kBurstSeconds = 0.300;
constexpr double kLoss = 0.01;
constexpr double kSampleSeconds = 0.010;

// When frame n reaches the player: its time, except that every 10 s (from 5 s on) the frames due
// within 300 ms are held back and arrive together at the end of the 300 ms, as after a network
// stall.
double ReleaseAt(uint64_t n) {
  const double due = n * kFrameSeconds;
  const double intoCycle = std::fmod(due + kBurstEverySeconds / 2, kBurstEverySeconds);
  return intoCycle < kBurstSeconds ? due - intoCycle + kBurstSeconds : due;
}

// 352x288 at 25 fps fed in real time (the player's clock is the system's, so no faster) for
// ZEPHPLAY_BENCH_DELAY_SECONDS (default 120) to an unpaced player in mode 0 with the delay pair
// 2000:6000 ms, with a 300 ms stall every 10 s and 1 % of frames lost (a fixed seed). Every
// 10 ms the latency is sampled: the newest stamp pushed minus the stamp shown
// (ZEPHPLAY_GetPlayStamp), from the first picture shown on. Iteration time: the run. Counters:
// the share of samples outside [2000, 6000] (outside_pct) and the seconds that make
// (outside_s), the latency's extremes, its mean over the first and the last quarter of the run.
void BM_DelayControl(benchmark::State& state) {
  LiveStream& live = Live(288);
  const int seconds = EnvInt("ZEPHPLAY_BENCH_DELAY_SECONDS", 120);
  const auto frames = static_cast<uint64_t>(seconds * 25);
  std::vector<uint8_t> frame;
  for (auto _ : state) {
    PlayerProbe probe(frames + 16);
    if (!OpenLive(&probe, 288, kQueueBytes, 1) || ZEPHPLAY_SetStreamMode(probe.Handle(), ZEPHPLAY_STREAM_DELAY) != 0 ||
        ZEPHPLAY_SetDelayTime(probe.Handle(), kMinDelayMs, kMaxDelayMs) != 0) {
      state.SkipWithError("opening the stream failed");
      break;
    }
    std::mt19937 rng(7);
    std::uniform_real_distribution<double> uniform(0, 1);
    std::vector<double> latency;
    latency.reserve(static_cast<size_t>(seconds / kSampleSeconds) + 16);
    uint64_t next = 0, newest = 0, lost = 0;
    const double t0 = WallSeconds();
    for (double tick = t0; next < frames; tick += kSampleSeconds) {
      SleepUntil(tick);
      for (; next < frames && t0 + ReleaseAt(next) <= WallSeconds(); ++next) {
        if (next > 0 && uniform(rng) < kLoss) {
          ++lost;
          continue;
        }
        live.Frame(next, &frame);
        Push(probe.Handle(), frame, WallSeconds() + kFrameSeconds);
        newest = LiveStream::StampUs(next);
      }
      uint64_t shown = 0;
      ZEPHPLAY_GetPlayStamp(probe.Handle(), &shown);
      if (shown != 0) {
        latency.push_back(static_cast<double>(static_cast<int64_t>(newest - shown)) * 1e-3);
      }
    }
    state.SetIterationTime(WallSeconds() - t0);
    if (latency.size() < 8) {
      state.SkipWithError("no picture shown");
      break;
    }
    const auto outside = std::count_if(latency.begin(), latency.end(),
                                       [](double ms) { return ms < kMinDelayMs || ms > kMaxDelayMs; });
    const size_t quarter = latency.size() / 4;
    const auto mean = [](auto first, auto last) { return std::accumulate(first, last, 0.0) / std::distance(first, last); };
    state.counters["outside_pct"] = 100.0 * outside / latency.size();
    state.counters["outside_s"] = outside * kSampleSeconds;
    state.counters["latency_min_ms"] = *std::min_element(latency.begin(), latency.end());
    state.counters["latency_max_ms"] = *std::max_element(latency.begin(), latency.end());
    state.counters["first_quarter_ms"] = mean(latency.begin(), latency.begin() + quarter);
    state.counters["last_quarter_ms"] = mean(latency.end() - quarter, latency.end());
    state.counters["lost"] = static_cast<double>(lost);
    state.counters["shown"] = static_cast<double>(probe.Displayed().size());
  }
}
BENCHMARK(BM_DelayControl)->Iterations(1)->UseManualTime()->Unit(benchmark::kSecond);

// ---- channels -----------------------------------------------------------------------------------

constexpr uint64_t kChannelFrames = 500;  // 20 s: 99 % on time allows 5 late pictures a player
constexpr double kOnTimeSeconds = 2 * kFrameSeconds;
constexpr double kOnTimeShare = 0.99;

struct ChannelRun {
  int players = 0;
  double worstOnTime = 0;  // the share of pictures on time of the worst player
  double cpuPerChannel = 0;  // share of one core
  double rssMiBPerChannel = 0;
  double load = 0;
  int late = 0;            // pictures late or never shown, all players together
  int pushed = 0;           // pictures pushed, all players together
  double latencyP99Ms = 0;  // push to display, all players' pictures together
};

// When player p of `players` gets the stream's first frame (a key frame): the starts are spread
// over one group, so that the channels' key frames do not all come at the same moment (cameras
// are not in step either).
uint64_t Offset(int p, int players) { return static_cast<uint64_t>(p * LiveStream::kGopFrames / players); }

// `players` stream players in mode 2, each fed the 720p25 stream from its own start in real time
// by one feeding thread (this one). A picture is on time when its display callback comes within two frame
// intervals (80 ms) of its push; a picture never shown is late.
ChannelRun RunChannels(int players) {
  LiveStream& live = Live(720);
  ChannelRun run{players};
  zp::bench::RestartResidentPeak();
  const uint64_t rss0 = zp::bench::ResidentBytes();
  std::vector<std::unique_ptr<PlayerProbe>> probes;
  for (int p = 0; p < players; ++p) {
    probes.push_back(std::make_unique<PlayerProbe>(kChannelFrames + 16));
    if (!OpenLive(probes.back().get(), 720, kQueueBytes, 0)) {
      return run;
    }
  }
  std::vector<std::vector<double>> pushedAt(players, std::vector<double>(kChannelFrames, 1e300));
  std::vector<uint8_t> frame;
  const double cpu0 = ProcessCpuSeconds();
  const double t0 = WallSeconds() + 0.1;
  for (uint64_t n = 0; n < kChannelFrames; ++n) {
    SleepUntil(t0 + n * kFrameSeconds);
    for (int p = 0; p < players && Offset(p, players) <= n; ++p) {
      live.Frame(n - Offset(p, players), &frame);
      if (Push(probes[p]->Handle(), frame, t0 + (n + 1) * kFrameSeconds)) {
        pushedAt[p][n] = WallSeconds();
      }
    }
  }
  SleepUntil(WallSeconds() + kOnTimeSeconds);
  const double wall = WallSeconds() - t0;
  run.cpuPerChannel = (ProcessCpuSeconds() - cpu0) / wall / players;
  run.rssMiBPerChannel = (static_cast<double>(zp::bench::ResidentBytes()) - static_cast<double>(rss0)) / kMiB / players;
  run.load = LoadAverage();
  run.worstOnTime = 1;
  std::vector<double> latencies;
  for (int p = 0; p < players; ++p) {
    std::vector<bool> onTime(kChannelFrames, false);
    for (const auto& shown : probes[p]->Displayed()) {
      const int64_t n = LiveStream::FrameOf(shown.stampUs) + static_cast<int64_t>(Offset(p, players));
      if (n < 0 || n >= static_cast<int64_t>(kChannelFrames)) {
        continue;
      }
      latencies.push_back((shown.seconds - pushedAt[p][n]) * 1e3);
      onTime[n] = shown.seconds - pushedAt[p][n] <= kOnTimeSeconds;
    }
    const auto count = std::count(onTime.begin(), onTime.end(), true);
    const uint64_t pushed = kChannelFrames - Offset(p, players);
    run.late += static_cast<int>(pushed - count);
    run.pushed += static_cast<int>(pushed);
    run.worstOnTime = std::min(run.worstOnTime, static_cast<double>(count) / pushed);
  }
  run.latencyP99Ms = Summarise(latencies).p99;
  std::fprintf(stderr,
               "channels %2d: worst on time %.1f %%, %d late of %d, latency p99 %.1f ms, CPU %.1f %% of a core and "
               "%.1f MiB a channel, load %.2f\n",
               players, run.worstOnTime * 100, run.late, run.pushed, run.latencyP99Ms,
               run.cpuPerChannel * 100, run.rssMiBPerChannel, run.load);
  return run;
}

// Doubling from 1 up to 32 players until a count fails, then two halving steps between the
// last count that passed and the first that failed. Iteration time: the search. Counters: the
// largest count that passed (channels), and at that count the worst player's share on time, the
// CPU (share of one core) and resident memory per channel, the load average (one minute) at
// its end and at the search's start.
void BM_Channels720p25(benchmark::State& state) {
  Live(720);
  for (auto _ : state) {
    const double load0 = LoadAverage();
    const double t0 = WallSeconds();
    ChannelRun best;
    int fail = 0;
    for (int n = 1; n <= 32; n *= 2) {
      const ChannelRun run = RunChannels(n);
      if (run.worstOnTime < kOnTimeShare) {
        fail = n;
        break;
      }
      best = run;
    }
    for (int step = 0; step < 2 && fail != 0 && fail - best.players > 1; ++step) {
      const ChannelRun run = RunChannels((best.players + fail) / 2);
      if (run.worstOnTime < kOnTimeShare) {
        fail = run.players;
      } else {
        best = run;
      }
    }
    state.SetIterationTime(WallSeconds() - t0);
    state.counters["channels"] = best.players;
    state.counters["first_failing"] = fail;
    state.counters["on_time_pct"] = best.worstOnTime * 100;
    state.counters["cpu_pct_per_channel"] = best.cpuPerChannel * 100;
    state.counters["rss_mib_per_channel"] = best.rssMiBPerChannel;
    state.counters["load_start"] = load0;
    state.counters["load_end"] = best.load;
  }
}
BENCHMARK(BM_Channels720p25)->Iterations(1)->UseManualTime()->Unit(benchmark::kSecond);

// ---- input path -----------------------------------------------------------------------------------

constexpr size_t kPiece = 4096;
constexpr uint32_t kParseBuffer = 307200;  // the stream player's parser size
constexpr uint64_t kInputFrames = 900;

// The first 900 frames of the stream of that height: fewer than the video queue's 1000 slots, so
// that the queue never refuses (a refusal would leave the rest in the parser's buffer and log a
// line for every call). 288 lines make frames of about 1.4 KiB, 720 lines of about 8 KiB.
const std::vector<uint8_t>& InputBytes(int height) {
  static const std::vector<uint8_t> cif = Live(288).Bytes(kInputFrames);
  if (height == 288) {
    return cif;
  }
  static const std::vector<uint8_t> hd = Live(720).Bytes(kInputFrames);
  return hd;
}

// ZEPHPLAY_InputStreamData on those frames cut into 4 KiB pieces, into a paused player in mode 2
// (for 720p its attribute makes the queue 12 MiB). Paused, the player decodes only until its
// two-picture ring is full, so decoding stays out of the way and the frames stay queued; each
// iteration feeds the 900 frames once, and the ZEPHPLAY_ResetStream that empties the queue
// again runs outside the timing. Timed is the calling thread's work: the lock, the parser's copy
// and cutting, the queue's copy, the wake-ups. Rates per CPU second of that thread.
void BM_InputStreamData4K(benchmark::State& state, int height) {
  const auto& bytes = InputBytes(height);
  PlayerProbe probe(16);
  if (!OpenLive(&probe, height, kQueueBytes, 0) || ZEPHPLAY_Pause(probe.Handle(), 1) != 0) {
    state.SkipWithError("opening the stream failed");
    return;
  }
  for (auto _ : state) {
    for (size_t at = 0; at < bytes.size(); at += kPiece) {
      const auto length = static_cast<uint32_t>(std::min(kPiece, bytes.size() - at));
      if (ZEPHPLAY_InputStreamData(probe.Handle(), bytes.data() + at, length) != 0) {
        state.SkipWithError("the player refused a piece");
        return;
      }
    }
    state.PauseTiming();
    ZEPHPLAY_ResetStream(probe.Handle());
    state.ResumeTiming();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes.size()));
  state.counters["mib"] = static_cast<double>(bytes.size()) / kMiB;
}

// The baseline: the same pieces into a CParseData of the player's size, every frame taken and
// released, as the player's input does short of the queue.
void BM_ParserAlone4K(benchmark::State& state, int height) {
  const auto& bytes = InputBytes(height);
  zp::CParseData parser;
  parser.SetBufferSize(kParseBuffer);
  for (auto _ : state) {
    parser.Reset();
    for (size_t at = 0; at < bytes.size(); at += kPiece) {
      parser.InputData(bytes.data() + at, static_cast<uint32_t>(std::min(kPiece, bytes.size() - at)));
      while (zp::StreamFrame* f = parser.GetFrame()) {
        benchmark::DoNotOptimize(f->pData);
        parser.ReleaseFrame(f);
      }
      parser.Compact();
    }
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes.size()));
}

BENCHMARK_CAPTURE(BM_InputStreamData4K, 288p, 288)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_InputStreamData4K, 720p, 720)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_ParserAlone4K, 288p, 288)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_ParserAlone4K, 720p, 720)->Unit(benchmark::kMillisecond);

}  // namespace
