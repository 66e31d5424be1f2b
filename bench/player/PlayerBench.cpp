// The file player through the public C API, headless (no window, sound off), against bare
// libavcodec decoding of the same frames in the same run: pacing at rate 0, decode-bound
// throughput, the decoder-to-display hop, seeking, CPU and memory. Each benchmark plays once
// per iteration (one iteration; repeat with --benchmark_repetitions) and reports its figures
// as counters; the iteration time is the figure named in its comment.
//
// The file player has no unpaced switch: rates 1 to 4 divide the interval between pictures
// (25 fps content plays at 100 fps at most) and 5 and above play key frames only. Throughput
// is therefore measured on a recording of the same frames with stamps 0.4 ms apart, whose
// interval the player rounds to 0 ms, so that only decoding holds it back; the real 25 fps
// recording at rate 4 is measured beside it.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <thread>
#include <vector>

#include "PlayerProbe.h"
#include "ProcessStats.h"
#include "Recordings.h"
#include "Summary.h"

namespace {

using zp::bench::PlayerProbe;
using zp::bench::ProcessCpuSeconds;
using zp::bench::Report;
using zp::bench::Summarise;
using zp::bench::Summary;
using zp::bench::WallSeconds;

constexpr double kDeadlineSeconds = 60;
constexpr size_t kNoteCapacity = 4096;
constexpr int kThroughputRepeat = 2;  // 100 frames of 1080p
constexpr int kSeekRepeat = 10;       // 20 s of 1080p
constexpr int kSeeks = 10;
constexpr double kIdleSeconds = 3;
constexpr double kMiB = 1024.0 * 1024.0;

// Milliseconds from each picture's decode callback to its display callback. The decode callback
// comes once per picture, in output (stamp) order, but carries the stamp of the frame just
// decoded, which with B-frames is another picture's: so the k-th decode callback is matched to
// the picture with the k-th smallest stamp of the recording (`stamps`, sorted). The last two
// pictures leave the decoder when the input ends, stamped anew, and are left out.
std::vector<double> HopsMs(const std::vector<uint64_t>& stamps, const std::vector<PlayerProbe::Event>& decoded,
                           const std::vector<PlayerProbe::Event>& shown) {
  std::vector<double> hops;
  const size_t matched = std::min(stamps.size(), decoded.size()) - std::min<size_t>(2, decoded.size());
  for (const auto& s : shown) {
    const auto it = std::lower_bound(stamps.begin(), stamps.end(), s.stampUs);
    const auto k = static_cast<size_t>(it - stamps.begin());
    if (it != stamps.end() && *it == s.stampUs && k < matched) {
      hops.push_back((s.seconds - decoded[k].seconds) * 1e3);
    }
  }
  return hops;
}

// How well a playback kept time: the span from the first picture shown to the last against the
// span of their stamps (drift_pct), and from ZEPHPLAY_Play to the last picture against that span
// plus one frame (drift_play_pct: the player waits one interval, 40 ms, before its first
// picture). A late start that the pacing's carry makes up for shows in the first only.
void ReportDrift(benchmark::State& state, const std::vector<PlayerProbe::Event>& shown, double playAt) {
  const double span = shown.back().seconds - shown.front().seconds;
  const double content = static_cast<double>(shown.back().stampUs - shown.front().stampUs) * 1e-6;
  const double fromPlay = shown.back().seconds - playAt;
  state.counters["drift_pct"] = (span - content) / content * 100;
  state.counters["drift_play_pct"] = (fromPlay - content - 0.040) / (content + 0.040) * 100;
}

void Sleep(double seconds) { std::this_thread::sleep_for(std::chrono::duration<double>(seconds)); }

// Iteration time: from the first picture shown to the last. Counters: the drift, the intervals
// between display callbacks in ms, the pictures that gave no display callback.
void BM_Pacing25fps(benchmark::State& state) {
  const auto& recording = zp::bench::Small25fps();
  for (auto _ : state) {
    PlayerProbe probe(kNoteCapacity);
    double endAt = 0;
    const bool opened = probe.Open(recording.path);
    const double playAt = WallSeconds();
    if (!opened || ZEPHPLAY_Play(probe.Handle()) != 0 || !probe.WaitEnd(kDeadlineSeconds, &endAt)) {
      state.SkipWithError("playback did not end");
      break;
    }
    const auto shown = probe.Displayed();
    if (shown.size() < 2) {
      state.SkipWithError("no pictures shown");
      break;
    }
    std::vector<double> intervals;
    for (size_t i = 1; i < shown.size(); ++i) {
      intervals.push_back((shown[i].seconds - shown[i - 1].seconds) * 1e3);
    }
    state.SetIterationTime(shown.back().seconds - shown.front().seconds);
    ReportDrift(state, shown, playAt);
    state.counters["missed"] = static_cast<double>(recording.frames - shown.size());
    Report(state, "interval_ms", Summarise(intervals));
  }
}
BENCHMARK(BM_Pacing25fps)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);

// The process's CPU and minor page faults from its making on.
struct CostMeter {
  uint64_t faults0 = zp::bench::MinorFaults();
  double cpu0 = ProcessCpuSeconds();

  // Sets minor_faults and, given the CPU when the first group's pictures had come out of the
  // decoder, after_first_group_cpu_ms. Returns the CPU seconds since the making.
  double Report(benchmark::State& state, double cpuAtMark = 0) const {
    const double cpu = ProcessCpuSeconds();
    state.counters["minor_faults"] = static_cast<double>(zp::bench::MinorFaults() - faults0);
    if (cpuAtMark > 0) {
      state.counters["after_first_group_cpu_ms"] = (cpu - cpuAtMark) * 1e3;
    }
    return cpu - cpu0;
  }
};

// Iteration time: from ZEPHPLAY_Play to the end callback. Counters: pictures per wall and per
// process-CPU second, the decode-to-display hop in ms, and the minor page faults.
void BM_PlayerDecode1080p(benchmark::State& state, int stampDivisor, int32_t rate) {
  const std::string& path = zp::bench::Recording1080p(kThroughputRepeat, stampDivisor);
  const int frames = zp::bench::kGopFrames * kThroughputRepeat;
  for (auto _ : state) {
    PlayerProbe probe(kNoteCapacity);
    double endAt = 0;
    if (!probe.Open(path)) {
      state.SkipWithError("open failed");
      break;
    }
    const CostMeter meter;
    const double wall0 = WallSeconds();
    const bool played = ZEPHPLAY_Play(probe.Handle()) == 0 && ZEPHPLAY_SetPlayRate(probe.Handle(), rate) == 0 &&
                        probe.WaitEnd(kDeadlineSeconds, &endAt);
    const double cpu = meter.Report(state);
    const auto decoded = probe.Decoded();
    if (!played || decoded.size() != static_cast<size_t>(frames)) {
      state.SkipWithError("playback did not end with every picture decoded");
      break;
    }
    const double wall = endAt - wall0;
    state.SetIterationTime(wall);
    state.counters["fps_wall"] = frames / wall;
    state.counters["fps_cpu"] = frames / cpu;
    const auto shown = probe.Displayed();
    state.counters["shown"] = static_cast<double>(shown.size());
    Report(state, "hop_ms", Summarise(HopsMs(zp::bench::Stamps1080p(kThroughputRepeat, stampDivisor), decoded, shown)));
  }
}
BENCHMARK_CAPTURE(BM_PlayerDecode1080p, stamps_0_4ms_rate0, 100, 0)
    ->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_PlayerDecode1080p, stamps_40ms_rate4, 1, 4)
    ->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);

// Splits the run time of the threads between two snapshots into the busiest thread's (the
// decode thread's, in a playback) and the rest's.
void ReportBusiestThread(benchmark::State& state, const std::map<int, uint64_t>& before,
                         const std::map<int, uint64_t>& after) {
  uint64_t busiest = 0;
  uint64_t total = 0;
  for (const auto& [tid, ns] : after) {
    const auto it = before.find(tid);
    const uint64_t ran = ns - (it == before.end() ? 0 : it->second);
    busiest = std::max(busiest, ran);
    total += ran;
  }
  state.counters["busiest_thread_ms"] = static_cast<double>(busiest) * 1e-6;
  state.counters["other_threads_ms"] = static_cast<double>(total - busiest) * 1e-6;
}

// The baseline of the two above and of the playback's CPU: the same frames, bare (argument:
// groups of 2 s). Iteration time: wall-clock; counters as above, the minor page faults, and the
// CPU after the first group's pictures came out of the decoder (after_first_group_cpu_ms:
// without the opening's one-off costs, the decoder's buffers made and faulted in).
void BM_BareDecode1080p(benchmark::State& state) {
  const auto& gop = zp::bench::Gop1080p();
  const int groups = static_cast<int>(state.range(0));
  const int frames = zp::bench::kGopFrames * groups;
  for (auto _ : state) {
    const CostMeter meter;
    const double wall0 = WallSeconds();
    double cpuAfterFirst = 0;
    const int pictures = zp::bench::BareDecode(gop, groups, 0, zp::bench::kGopFrames, &cpuAfterFirst);
    const double wall = WallSeconds() - wall0;
    const double cpu = meter.Report(state, cpuAfterFirst);
    if (pictures != frames) {
      state.SkipWithError("bare decode lost pictures");
      break;
    }
    state.SetIterationTime(wall);
    state.counters["fps_wall"] = frames / wall;
    state.counters["fps_cpu"] = frames / cpu;
    state.counters["cpu_ms"] = cpu * 1e3;
  }
}
BENCHMARK(BM_BareDecode1080p)->Arg(kThroughputRepeat)->Arg(kSeekRepeat)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);

// The same bare loop sending a packet every 40 ms, as the playback below decodes: what pacing
// alone costs the decoder. Counters: process CPU (cpu_ms), and after the first group and minor
// page faults as in BM_BareDecode1080p.
void BM_BarePaced1080p25(benchmark::State& state) {
  const auto& gop = zp::bench::Gop1080p();
  for (auto _ : state) {
    const CostMeter meter;
    const double wall0 = WallSeconds();
    double cpuAfterFirst = 0;
    const int pictures = zp::bench::BareDecode(gop, kThroughputRepeat, 40000, zp::bench::kGopFrames, &cpuAfterFirst);
    state.SetIterationTime(WallSeconds() - wall0);
    state.counters["cpu_ms"] = meter.Report(state, cpuAfterFirst) * 1e3;
    if (pictures != zp::bench::kGopFrames * kThroughputRepeat) {
      state.SkipWithError("bare decode lost pictures");
    }
  }
}
BENCHMARK(BM_BarePaced1080p25)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);

// Opens path, plays it until the first picture is shown, and pauses.
bool OpenPaused(PlayerProbe* probe, const std::string& path) {
  return probe->Open(path) && ZEPHPLAY_Play(probe->Handle()) == 0 && probe->WaitDisplayed(1, kDeadlineSeconds) &&
         ZEPHPLAY_Pause(probe->Handle(), 1) == 0;
}

// A paused player on 20 s of 1080p with a key frame every 2 s, moved ten times with
// ZEPHPLAY_SetPlayTime to places inside groups. Iteration time: the median, over the ten, of
// the time from the call to the display callback of the picture it shows. Counters: that time
// (seek_ms), the call's own duration (call_ms).
void BM_Seek1080p(benchmark::State& state) {
  const std::string& path = zp::bench::Recording1080p(kSeekRepeat, 1);
  for (auto _ : state) {
    PlayerProbe probe(kNoteCapacity);
    if (!OpenPaused(&probe, path)) {
      state.SkipWithError("playback did not start");
      break;
    }
    std::vector<double> seekMs;
    std::vector<double> callMs;
    for (int k = 0; k < kSeeks; ++k) {
      Sleep(0.15);  // the paused player settles: ring full, threads waiting
      const uint32_t target = 1300 + static_cast<uint32_t>(k) * 1730;
      const size_t before = probe.Displayed().size();
      const double t0 = WallSeconds();
      const int rc = ZEPHPLAY_SetPlayTime(probe.Handle(), target);
      const double t1 = WallSeconds();
      const auto shown = probe.Displayed();
      // The picture shown is a key frame within one group of the target (the reader's index search
      // takes the first entry it meets within a second of it, on either side).
      const uint64_t targetUs = uint64_t{target} * 1000;
      const bool right = shown.size() > before && shown[before].stampUs % zp::bench::kGopUs == 0 &&
                         shown[before].stampUs + zp::bench::kGopUs > targetUs &&
                         shown[before].stampUs < targetUs + zp::bench::kGopUs;
      if (rc != 0 || !right) {
        state.SkipWithError("a seek showed no picture, or the wrong one");
        break;
      }
      seekMs.push_back((shown[before].seconds - t0) * 1e3);
      callMs.push_back((t1 - t0) * 1e3);
    }
    if (seekMs.size() != kSeeks) {
      break;
    }
    const Summary seek = Summarise(seekMs);
    state.SetIterationTime(seek.p50 * 1e-3);
    state.counters["seek_ms_p50"] = seek.p50;
    state.counters["seek_ms_max"] = seek.max;
    state.counters["call_ms_p50"] = Summarise(callMs).p50;
  }
}
BENCHMARK(BM_Seek1080p)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);

// The seek's baseline: one group (50 frames of 1080p) decoded bare, the decoder opened and
// flushed as a seek restarts it. Iteration time: wall-clock.
void BM_BareGop1080p(benchmark::State& state) {
  const auto& gop = zp::bench::Gop1080p();
  for (auto _ : state) {
    const double cpu0 = ProcessCpuSeconds();
    const double wall0 = WallSeconds();
    const int pictures = zp::bench::BareDecode(gop, 1);
    state.SetIterationTime(WallSeconds() - wall0);
    state.counters["cpu_ms"] = (ProcessCpuSeconds() - cpu0) * 1e3;
    if (pictures != zp::bench::kGopFrames) {
      state.SkipWithError("bare decode lost pictures");
      break;
    }
  }
}
BENCHMARK(BM_BareGop1080p)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);

// 1080p at 25 fps played at rate 0, headless (argument: groups of 2 s). Iteration time: from
// ZEPHPLAY_Play to the end callback. Counters: process CPU over that time (cpu_ms; the baseline
// is BM_BareDecode1080p's cpu_ms with the same argument), split into the busiest thread's (the
// decode thread) and the other threads' run time; the CPU after the first group's pictures
// reached the decode callback (after_first_group_cpu_ms, against the bare loop's); the minor
// page faults; the growth of the resident size over an opened and playing player
// (rss_peak_mib: peak over the run; rss_end_mib: at the end); drift_pct and hop_ms as above
// (here a picture waits in the ring for its time to be shown).
void BM_Playback1080p25(benchmark::State& state) {
  const int groups = static_cast<int>(state.range(0));
  const std::string& path = zp::bench::Recording1080p(groups, 1);
  const int frames = zp::bench::kGopFrames * groups;
  for (auto _ : state) {
    zp::bench::RestartResidentPeak();
    const uint64_t rss0 = zp::bench::ResidentBytes();
    PlayerProbe probe(kNoteCapacity);
    double endAt = 0;
    if (!probe.Open(path)) {
      state.SkipWithError("open failed");
      break;
    }
    probe.MarkCpuAtDecoded(zp::bench::kGopFrames);
    const auto runs0 = zp::bench::ThreadRunNanoseconds();
    const CostMeter meter;
    const double wall0 = WallSeconds();
    const bool played = ZEPHPLAY_Play(probe.Handle()) == 0 && probe.WaitEnd(kDeadlineSeconds, &endAt);
    const double cpu = meter.Report(state, probe.CpuAtMark());
    ReportBusiestThread(state, runs0, zp::bench::ThreadRunNanoseconds());
    const auto shown = probe.Displayed();
    if (!played || probe.Decoded().size() != static_cast<size_t>(frames) || shown.size() < 2) {
      state.SkipWithError("playback did not end with every picture decoded");
      break;
    }
    state.SetIterationTime(endAt - wall0);
    state.counters["cpu_ms"] = cpu * 1e3;
    state.counters["shown"] = static_cast<double>(shown.size());
    ReportDrift(state, shown, wall0);
    Report(state, "hop_ms", Summarise(HopsMs(zp::bench::Stamps1080p(groups, 1), probe.Decoded(), shown)));
    state.counters["rss_peak_mib"] = static_cast<double>(zp::bench::PeakResidentBytes() - rss0) / kMiB;
    state.counters["rss_end_mib"] = (static_cast<double>(zp::bench::ResidentBytes()) - static_cast<double>(rss0)) / kMiB;
  }
}
BENCHMARK(BM_Playback1080p25)->Arg(kThroughputRepeat)->Arg(kSeekRepeat)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);

// A 1080p player paused after its first picture, left alone for 3 s. Iteration time: those 3 s.
// Counters: process CPU over them as a percentage of one core, and the threads' wake-ups
// (voluntary context switches of the whole process) per second.
void BM_IdlePaused1080p(benchmark::State& state) {
  const std::string& path = zp::bench::Recording1080p(kThroughputRepeat, 1);
  for (auto _ : state) {
    PlayerProbe probe(kNoteCapacity);
    if (!OpenPaused(&probe, path)) {
      state.SkipWithError("playback did not start");
      break;
    }
    Sleep(0.5);  // the decoder fills the picture ring, then waits
    const uint64_t switches0 = zp::bench::VoluntarySwitches();
    const double cpu0 = ProcessCpuSeconds();
    const double wall0 = WallSeconds();
    Sleep(kIdleSeconds);
    const double wall = WallSeconds() - wall0;
    state.SetIterationTime(wall);
    state.counters["cpu_pct"] = (ProcessCpuSeconds() - cpu0) / wall * 100;
    state.counters["wakeups_per_s"] = static_cast<double>(zp::bench::VoluntarySwitches() - switches0) / wall;
  }
}
BENCHMARK(BM_IdlePaused1080p)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace
