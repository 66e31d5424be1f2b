// zephplay live SOURCE [options]: plays a live stream as a recorder sends it, from a TCP
// connection, a file (read as if it arrived) or standard input, in a window of its own or
// headless, and optionally records it. In the cached mode the keys of play step and seek within
// what has arrived.
#include <X11/keysym.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "AudioCoderAttr.h"
#include "Commands.h"
#include "LiveFeeder.h"
#include "ProgressLine.h"
#include "StreamSource.h"
#include "ToolSession.h"
#include "ToolWindow.h"
#include "zephplay.h"

namespace {

constexpr uint32_t kVideoQueueBytes = 2u << 20;  // grows by itself when frames do not fit
constexpr uint32_t kDefaultMinDelayMs = 2000;    // what every mode change restores
constexpr uint32_t kSeekStepMs = 10000;
constexpr uint32_t kRateWindowMs = 1000;
// After the input ends: the player has shown what it has once it shows the last frame that
// arrived, or once no picture came for this long (plus the minimum delay in mode 0, which may
// hold a short tail back for good), and in any case after kDrainMaxMs.
constexpr uint32_t kDrainIdleMs = 2000;
constexpr uint32_t kDrainMaxMs = 60000;
constexpr uint32_t kNarrowPath = 1;  // StartPlayRecord: the path is a UTF-8 string

struct Options {
  const char* source = nullptr;
  uint32_t mode = ZEPHPLAY_STREAM_IMMEDIATE;
  uint32_t minDelayMs = 0;  // 0: the player's own pair
  uint32_t maxDelayMs = 0;
  const char* record = nullptr;
  long audioCoder = -1;  // -1: the stream's own attribute, if it sends one
  bool headless = false;
  bool mute = false;
};

// What the library's callbacks report, read by the main loop.
struct Counters {
  std::atomic<uint32_t> decoded{0};
  std::atomic<uint32_t> shown{0};
  std::atomic<uint64_t> decodedUs{0};
  std::atomic<uint64_t> shownUs{0};
};

void OnDecode(uint64_t user, const uint8_t*, const uint8_t*, const uint8_t*, int32_t, int32_t, int32_t, int32_t,
              int32_t, uint64_t stamp) {
  auto* counters = reinterpret_cast<Counters*>(user);
  counters->decodedUs.store(stamp, std::memory_order_relaxed);
  counters->decoded.fetch_add(1, std::memory_order_relaxed);
}

// A stream player draws its last picture again now and then (repaints): only a new stamp counts.
void OnDisplay(uint64_t, uint32_t, uint32_t, uint64_t stamp, uint32_t, uint32_t, uint64_t user) {
  auto* counters = reinterpret_cast<Counters*>(user);
  // The first picture counts whatever its stamp: streams may start at stamp 0.
  if (counters->shownUs.exchange(stamp, std::memory_order_relaxed) != stamp || counters->shown.load() == 0) {
    counters->shown.fetch_add(1, std::memory_order_relaxed);
  }
}

int Usage() {
  std::fprintf(stderr,
               "usage: zephplay live SOURCE [--mode 0|1|2] [--delay MIN:MAX] [--record PATH] [--audio-coder N]\n"
               "                     [--headless] [--mute]\n"
               "  SOURCE: tcp://HOST:PORT, a file (read as if it arrived) or - (standard input)\n"
               "  --mode 0 delay-controlled, 1 cached (seek and step), 2 immediate (default)\n"
               "  --delay the least and most buffered video in ms for mode 0 (default 2000:6000)\n"
               "  --audio-coder the sound's coder type when the stream names none (17 G.711 A-law,\n"
               "                18 mu-law, 20 PCM, 12 AAC; default: the library's DefaultAudioCoder)\n"
               "keys (mode 1): space pause, . step, , ; previous/next key frame, left/right 10 s; q quit\n");
  return 2;
}

bool ParseUnsigned(const char* text, unsigned long* out) {
  char* end = nullptr;
  *out = std::strtoul(text, &end, 10);
  return end != text && *end == '\0' && text[0] != '-';
}

bool ParseDelay(const std::string& text, Options* o) {
  const size_t colon = text.find(':');
  unsigned long low = 0;
  unsigned long high = 0;
  if (colon == std::string::npos || !ParseUnsigned(text.substr(0, colon).c_str(), &low) ||
      !ParseUnsigned(text.c_str() + colon + 1, &high) || low < 100 || high > 60000 || high <= low) {
    return false;
  }
  o->minDelayMs = static_cast<uint32_t>(low);
  o->maxDelayMs = static_cast<uint32_t>(high);
  return true;
}

bool ParseOptions(int argc, char** argv, Options* o) {
  for (int i = 0; i < argc; ++i) {
    const std::string arg = argv[i];
    const char* value = i + 1 < argc ? argv[i + 1] : nullptr;
    unsigned long number = 0;
    if (arg == "--headless" || arg == "--mute") {
      (arg == "--headless" ? o->headless : o->mute) = true;
      continue;
    }
    if (arg == "-" || arg[0] != '-') {
      if (o->source != nullptr) {
        return false;
      }
      o->source = argv[i];
      continue;
    }
    if (value == nullptr) {
      return false;
    }
    if (arg == "--mode" && ParseUnsigned(value, &number) && number <= ZEPHPLAY_STREAM_IMMEDIATE) {
      o->mode = static_cast<uint32_t>(number);
    } else if (arg == "--delay") {
      if (!ParseDelay(value, o)) {
        return false;
      }
    } else if (arg == "--record") {
      o->record = value;
    } else if (arg == "--audio-coder" && ParseAudioCoder(value, &o->audioCoder)) {
    } else {
      return false;
    }
    ++i;
  }
  return o->source != nullptr;
}

// One live stream: the handle, its input thread, the keys, the progress line and the summary.
class LiveSession : public ToolSession {
 public:
  // The player caches (mode 1) and records only frames handed to it whole.
  LiveSession(const Options& o, StreamSource* source)
      : m_o(o), m_feeder(source, o.mode == ZEPHPLAY_STREAM_CACHED || o.record != nullptr) {}
  ~LiveSession() override { Close(); }

  // False with the reason in *why when the player cannot be set up.
  bool Start(void* window, std::string* why) {
    if (ZEPHPLAY_OpenPlayHandle(&m_handle) != 0 ||
        ZEPHPLAY_OpenStream(m_handle, nullptr, 0, kVideoQueueBytes, m_o.mode == ZEPHPLAY_STREAM_DELAY ? 1 : 0) != 0) {
      *why = "the library cannot make a stream player";
      return false;
    }
    const uint64_t self = reinterpret_cast<uint64_t>(&m_counters);
    ZEPHPLAY_SetPlayWnd(m_handle, window);
    ZEPHPLAY_SetDecCallBack(m_handle, self, OnDecode);
    ZEPHPLAY_SetDisplayCallBack(m_handle, self, OnDisplay);
    ZEPHPLAY_SetStreamMode(m_handle, m_o.mode);
    if (m_o.audioCoder >= 0) {
      const std::vector<uint8_t> attr = AudioCoderAttr(static_cast<uint32_t>(m_o.audioCoder));
      ZEPHPLAY_SetStreamAttr(m_handle, attr.data(), static_cast<uint32_t>(attr.size()));
    }
    if (m_o.minDelayMs != 0) {
      ZEPHPLAY_SetDelayTime(m_handle, m_o.minDelayMs, m_o.maxDelayMs);
    }
    if (m_o.record != nullptr && ZEPHPLAY_StartPlayRecord(m_handle, m_o.record, kNarrowPath) != 0) {
      *why = std::string("cannot record into ") + m_o.record;
      return false;
    }
    if (!m_o.mute) {
      ZEPHPLAY_PlaySound(m_handle);
    }
    m_feeder.Start(m_handle);
    m_startMs = m_rateMs = ToolNowMs();
    return true;
  }

  bool Tick(uint32_t nowMs) override {
    const uint32_t shown = m_counters.shown.load();
    if (shown != m_lastShown) {
      m_lastShown = shown;
      m_lastShownMs = nowMs;
    }
    NoteResets();
    MeasureRate(nowMs);
    PrintProgress(false);
    if (ToolInterrupted()) {
      m_end = "interrupted";
      return false;
    }
    if (!m_feeder.Done()) {
      return true;
    }
    if (m_drainStartMs == 0) {
      m_drainStartMs = nowMs;
    }
    m_end = m_feeder.EndReason();
    return !Drained(nowMs);
  }

  bool Key(unsigned long key) override {
    if (key == XK_q) {
      m_end = "quit";
      return false;
    }
    if (m_o.mode == ZEPHPLAY_STREAM_CACHED) {
      CacheKey(key);
    }
    return true;
  }

  void WindowResized() override { ZEPHPLAY_AdjustedWndRect(m_handle); }

  int Finish() override {
    m_feeder.Stop();
    PrintProgress(true);
    if (m_o.record != nullptr) {
      ZEPHPLAY_StopPlayRecord(m_handle);
    }
    const uint32_t shown = m_counters.shown.load();
    const uint32_t decoded = m_counters.decoded.load();
    std::printf("%s: %s, %.1f s, %llu bytes, %u video and %u audio frames received, %u pictures shown, %u dropped, "
                "latency at most %u ms",
                m_o.source, m_end.c_str(), (ToolNowMs() - m_startMs) / 1000.0,
                static_cast<unsigned long long>(m_feeder.Bytes()), m_feeder.VideoFrames(), m_feeder.AudioFrames(),
                shown, decoded > shown ? decoded - shown : 0, m_maxLatencyMs);
    std::printf(m_feeder.Resets() > 0 ? ", %u resets\n" : "\n", m_feeder.Resets());
    return 0;
  }

 private:
  void Close() {
    m_feeder.Stop();
    if (m_handle != nullptr) {
      ZEPHPLAY_CloseStream(m_handle);
      ZEPHPLAY_ClosePlayHandle(m_handle);
      m_handle = nullptr;
    }
  }

  // The input is over: has the player shown what it has?
  bool Drained(uint32_t nowMs) {
    uint64_t shownUs = 0;
    ZEPHPLAY_GetPlayStamp(m_handle, &shownUs);
    if (m_lastShown > 0 && shownUs >= m_feeder.LatestVideoUs()) {
      return true;
    }
    if (m_paused) {
      m_lastShownMs = nowMs;  // someone is looking through the cache: wait for them
    }
    const uint32_t idleMs = kDrainIdleMs + (m_o.mode == ZEPHPLAY_STREAM_DELAY ? MinDelayMs() : 0);
    const uint32_t since = m_lastShownMs > m_drainStartMs ? m_lastShownMs : m_drainStartMs;
    return nowMs - since > idleMs || (!m_paused && nowMs - m_drainStartMs > kDrainMaxMs);
  }

  uint32_t MinDelayMs() const { return m_o.minDelayMs != 0 ? m_o.minDelayMs : kDefaultMinDelayMs; }

  void CacheKey(unsigned long key) {
    switch (key) {
      case XK_space:
        m_paused = !m_paused;
        ZEPHPLAY_Pause(m_handle, m_paused ? 1 : 0);
        break;
      case XK_period:
        m_paused = true;
        ZEPHPLAY_PlayOneFrameData(m_handle, 0, 1);
        break;
      case XK_comma:
      case XK_semicolon:
        m_paused = true;
        ZEPHPLAY_PlayOneFrameData(m_handle, key == XK_comma ? 1 : 0, 0);
        break;
      case XK_Left:
      case XK_Right:
        Seek(key == XK_Right ? kSeekStepMs : -static_cast<int64_t>(kSeekStepMs));
        break;
      default:
        break;
    }
  }

  // Milliseconds of the shown picture after the first stamp that arrived.
  uint32_t CachePositionMs() {
    uint64_t shownUs = 0;
    ZEPHPLAY_GetPlayStamp(m_handle, &shownUs);
    const uint64_t firstUs = m_feeder.FirstUs();
    return shownUs > firstUs ? static_cast<uint32_t>((shownUs - firstUs) / 1000) : 0;
  }

  void Seek(int64_t deltaMs) {
    const int64_t target = static_cast<int64_t>(CachePositionMs()) + deltaMs;
    if (ZEPHPLAY_SetPlayTime(m_handle, static_cast<uint32_t>(target < 0 ? 0 : target)) != 0) {
      m_progress.Clear();
      std::fprintf(stderr, "zephplay: nothing cached there\n");
    }
  }

  void NoteResets() {
    const uint32_t resets = m_feeder.Resets();
    if (resets != m_resets) {
      m_resets = resets;
      m_progress.Clear();
      std::fprintf(stderr, "zephplay: input refused for %u s, stream reset (the recording stops)\n",
                   LiveFeeder::kStuckMs / 1000);
    }
  }

  void MeasureRate(uint32_t nowMs) {
    if (nowMs - m_rateMs < kRateWindowMs) {
      return;
    }
    const uint64_t bytes = m_feeder.Bytes();
    m_kbitPerSecond = static_cast<double>(bytes - m_rateBytes) * 8 / (nowMs - m_rateMs);
    m_rateBytes = bytes;
    m_rateMs = nowMs;
  }

  // Newest arrived video stamp minus the shown one; 0 before the first picture.
  uint32_t LatencyMs() {
    uint64_t shownUs = 0;
    const uint64_t latestUs = m_feeder.LatestVideoUs();
    if (m_counters.shown.load() == 0 || ZEPHPLAY_GetPlayStamp(m_handle, &shownUs) != 0 || latestUs <= shownUs) {
      return 0;
    }
    return static_cast<uint32_t>((latestUs - shownUs) / 1000);
  }

  void PrintProgress(bool last) {
    const uint32_t latency = LatencyMs();
    m_maxLatencyMs = latency > m_maxLatencyMs ? latency : m_maxLatencyMs;
    const uint64_t latestUs = m_feeder.LatestVideoUs();
    const uint64_t decodedUs = m_counters.decodedUs.load();
    const uint32_t buffered = latestUs > decodedUs ? static_cast<uint32_t>((latestUs - decodedUs) / 1000) : 0;
    const uint32_t shown = m_counters.shown.load();
    const uint32_t decoded = m_counters.decoded.load();
    std::string cache;
    if (m_o.mode == ZEPHPLAY_STREAM_CACHED) {
      const uint64_t firstUs = m_feeder.FirstUs();
      char text[64];
      std::snprintf(text, sizeof(text), "  at %.1f / %.1f s%s", CachePositionMs() / 1000.0,
                    latestUs > firstUs ? (latestUs - firstUs) / 1e6 : 0.0, m_paused ? "  paused" : "");
      cache = text;
    }
    m_progress.Print(last, "latency %u ms  buffered %u ms  shown %u  dropped %u  in %.0f kbit/s%s", latency, buffered,
                     shown, decoded > shown + 2 ? decoded - shown - 2 : 0, m_kbitPerSecond, cache.c_str());
  }

  Options m_o;
  LiveFeeder m_feeder;
  ZEPHPLAY_PLAYHANDLE* m_handle = nullptr;
  Counters m_counters;
  ProgressLine m_progress;
  bool m_paused = false;
  uint32_t m_startMs = 0;
  uint32_t m_lastShown = 0;
  uint32_t m_lastShownMs = 0;
  uint32_t m_drainStartMs = 0;
  uint32_t m_resets = 0;
  uint32_t m_maxLatencyMs = 0;
  uint32_t m_rateMs = 0;
  uint64_t m_rateBytes = 0;
  double m_kbitPerSecond = 0;
  std::string m_end = "interrupted";
};

}  // namespace

int RunLive(int argc, char** argv) {
  Options o;
  if (!ParseOptions(argc, argv, &o)) {
    return Usage();
  }
  CatchInterrupt();
  StreamSource source;
  if (std::string why; !source.Open(o.source, &why)) {
    return Fail(o.source, why);
  }
  ToolWindow window;
  void* native = OpenToolWindow(&window, o.headless, o.source, 0, 0);
  LiveSession session(o, &source);
  if (std::string why; !session.Start(native, &why)) {
    return Fail(o.source, why);
  }
  return RunToolSession(&session, native != nullptr ? &window : nullptr);
}
