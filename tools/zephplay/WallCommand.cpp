// zephplay wall SOURCE... [options]: plays up to 15 live sources (as live takes them) in step
// through one multi-play-back group, tiled in one window (each tile a child window handed to
// its channel's player) or headless. The group's clock paces every channel; the progress line
// shows the clock and how far each channel's shown picture lags behind it.
#include <X11/keysym.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "AudioCoderAttr.h"
#include "Commands.h"
#include "LiveFeeder.h"
#include "ProgressLine.h"
#include "StreamSource.h"
#include "ToolSession.h"
#include "ToolTiles.h"
#include "ToolWindow.h"
#include "zephplay.h"

namespace {

constexpr uint32_t kMaxChannels = 15;             // the most a group holds
constexpr uint32_t kVideoQueueBytes = 2u << 20;  // grows by itself when frames do not fit
constexpr uint32_t kTileWidth = 320;
constexpr uint32_t kTileHeight = 180;
// After every input has ended: done once the clock has passed each channel's last picture, or
// when no channel showed a new picture for this long.
constexpr uint32_t kDrainIdleMs = 2000;
constexpr int32_t kFastest = 8;
constexpr int32_t kSlowest = -8;

struct Options {
  std::vector<const char*> sources;
  bool headless = false;
  bool mute = false;
  int32_t rate = 0;
  long audioCoder = -1;  // -1: the streams' own attributes, if they send them
};

// One channel's view of its player, filled by the display callback.
struct Channel {
  std::atomic<uint32_t> shown{0};
  std::atomic<uint64_t> shownUs{0};
};

// A player draws its last picture again now and then (repaints): only a new stamp counts.
void OnDisplay(uint64_t, uint32_t, uint32_t, uint64_t stamp, uint32_t, uint32_t, uint64_t user) {
  auto* channel = reinterpret_cast<Channel*>(user);
  // The first picture counts whatever its stamp: streams may start at stamp 0.
  if (channel->shownUs.exchange(stamp, std::memory_order_relaxed) != stamp || channel->shown.load() == 0) {
    channel->shown.fetch_add(1, std::memory_order_relaxed);
  }
}

int Usage() {
  std::fprintf(stderr,
               "usage: zephplay wall SOURCE... [--headless] [--mute] [--rate N] [--audio-coder N]\n"
               "  SOURCE: tcp://HOST:PORT, a file (read as if it arrived) or - (standard input); 1 to 15 of them\n"
               "  --rate  the group's play rate: 0 normal, n > 1 n times faster, -n n times slower\n"
               "  --audio-coder  the sound's coder type for streams that name none (as for live)\n"
               "keys: space pause all, . step all, [ ] rate down/up, q quit\n");
  return 2;
}

bool ParseOptions(int argc, char** argv, Options* o) {
  for (int i = 0; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg == "--headless" || arg == "--mute") {
      (arg == "--headless" ? o->headless : o->mute) = true;
    } else if (arg == "--rate" && i + 1 < argc) {
      char* end = nullptr;
      const long rate = std::strtol(argv[++i], &end, 10);
      if (*end != '\0' || rate < kSlowest || rate > kFastest) {
        return false;
      }
      o->rate = static_cast<int32_t>(rate);
    } else if (arg == "--audio-coder" && i + 1 < argc) {
      if (!ParseAudioCoder(argv[++i], &o->audioCoder)) {
        return false;
      }
    } else if (arg == "-" || arg[0] != '-') {
      o->sources.push_back(argv[i]);
    } else {
      return false;
    }
  }
  return !o->sources.empty() && o->sources.size() <= kMaxChannels;
}

// Rates in the order the keys step through them.
int32_t NextRate(int32_t rate, bool faster) {
  static const int32_t kRates[] = {-8, -4, -2, 0, 2, 4, 8};
  const int32_t* at = std::find(std::begin(kRates), std::end(kRates), rate);
  const ptrdiff_t index = at == std::end(kRates) ? 3 : at - std::begin(kRates);
  const ptrdiff_t next = std::clamp<ptrdiff_t>(index + (faster ? 1 : -1), 0, std::size(kRates) - 1);
  return kRates[next];
}

class WallSession : public ToolSession {
 public:
  explicit WallSession(const Options& o) : m_o(o), m_channels(o.sources.size()) {}
  ~WallSession() override { Close(); }

  // Opens the sources and the group; false with the reason (and the source it concerns).
  bool Start(ToolTiles* tiles, std::string* what, std::string* why) {
    const auto count = static_cast<uint32_t>(m_o.sources.size());
    for (uint32_t i = 0; i < count; ++i) {
      m_sources.push_back(std::make_unique<StreamSource>());
      if (!m_sources.back()->Open(m_o.sources[i], why)) {
        *what = m_o.sources[i];
        return false;
      }
    }
    *what = "wall";
    std::vector<uint32_t> numbers(count);
    for (uint32_t i = 0; i < count; ++i) {
      numbers[i] = i;
    }
    if (ZEPHPLAY_MPBOpenPlayHandle(&m_group, static_cast<int32_t>(count)) != 0 ||
        ZEPHPLAY_MPBOpenStream(m_group, numbers.data(), nullptr, 0, kVideoQueueBytes, 0) != 0) {
      *why = "the library cannot make a group of players";
      return false;
    }
    for (uint32_t i = 0; i < count; ++i) {
      ZEPHPLAY_MPBSetDisplayCallBack(m_group, i, reinterpret_cast<uint64_t>(&m_channels[i]), OnDisplay);
      if (tiles != nullptr) {
        ZEPHPLAY_MPBSetPlayWnd(m_group, i, tiles->Tile(i));
      }
      if (m_o.audioCoder >= 0) {
        const std::vector<uint8_t> attr = AudioCoderAttr(static_cast<uint32_t>(m_o.audioCoder));
        ZEPHPLAY_MPBSetStreamAttr(m_group, i, attr.data(), static_cast<uint32_t>(attr.size()));
      }
      if (!m_o.mute) {
        ZEPHPLAY_MPBPlaySound(m_group, i);
      }
      m_feeders.push_back(std::make_unique<LiveFeeder>(m_sources[i].get(), true));
      m_feeders.back()->StartGroup(m_group, i);
    }
    m_tiles = tiles;
    ZEPHPLAY_MPBSetPlayRate(m_group, m_o.rate);
    m_startMs = m_lastNewMs = ToolNowMs();
    return true;
  }

  bool Tick(uint32_t nowMs) override {
    const uint32_t shown = TotalShown();
    if (shown != m_lastShown) {
      m_lastShown = shown;
      m_lastNewMs = nowMs;
    }
    PrintProgress(false);
    if (ToolInterrupted()) {
      m_end = "interrupted";
      return false;
    }
    if (!AllInputEnded()) {
      return true;
    }
    m_end = "end of every source";
    return !m_paused && !AllShown() && nowMs - m_lastNewMs < kDrainIdleMs;
  }

  bool Key(unsigned long key) override {
    switch (key) {
      case XK_q:
        m_end = "quit";
        return false;
      case XK_space:
        m_paused = !m_paused;
        ZEPHPLAY_MPBPause(m_group, m_paused ? 1 : 0);
        break;
      case XK_period:
        m_paused = true;
        ZEPHPLAY_MPBPlayOneFrame(m_group, ZEPHPLAY_MPB_ALL, 0, 1);
        break;
      case XK_bracketleft:
      case XK_bracketright:
        m_o.rate = NextRate(m_o.rate, key == XK_bracketright);
        m_paused = false;  // a new rate un-pauses the group
        ZEPHPLAY_MPBSetPlayRate(m_group, m_o.rate);
        break;
      default:
        break;
    }
    return true;
  }

  void WindowResized() override {
    if (m_tiles == nullptr) {
      return;
    }
    m_tiles->Layout();
    for (uint32_t i = 0; i < m_channels.size(); ++i) {
      ZEPHPLAY_MPBAdjustedWndRect(m_group, i);
    }
  }

  int Finish() override {
    StopFeeders();
    PrintProgress(true);
    uint32_t received = 0;
    for (const auto& feeder : m_feeders) {
      received += feeder->VideoFrames();
    }
    std::printf("wall: %s, %zu channels, %.1f s, %u video frames received, %u pictures shown, largest lag %u ms\n",
                m_end.c_str(), m_channels.size(), (ToolNowMs() - m_startMs) / 1000.0, received, TotalShown(),
                m_maxLagMs);
    return 0;
  }

 private:
  void StopFeeders() {
    for (auto& feeder : m_feeders) {
      feeder->Stop();
    }
  }

  void Close() {
    StopFeeders();
    if (m_group != 0) {
      ZEPHPLAY_MPBClosePlayHandle(m_group);
      m_group = 0;
    }
  }

  uint32_t TotalShown() const {
    uint32_t total = 0;
    for (const Channel& channel : m_channels) {
      total += channel.shown.load();
    }
    return total;
  }

  bool AllInputEnded() const {
    return std::all_of(m_feeders.begin(), m_feeders.end(), [](const auto& f) { return f->Done(); });
  }

  // Every channel has shown the last picture that arrived for it.
  bool AllShown() const {
    for (size_t i = 0; i < m_feeders.size(); ++i) {
      if (m_channels[i].shownUs.load() < m_feeders[i]->LatestVideoUs()) {
        return false;
      }
    }
    return true;
  }

  uint64_t FirstUs() const {
    uint64_t first = 0;
    for (const auto& feeder : m_feeders) {
      const uint64_t us = feeder->FirstUs();
      first = first == 0 || (us != 0 && us < first) ? us : first;
    }
    return first;
  }

  // Each channel's shown stamp behind the clock, in ms ("-" before its first picture, "end"
  // once its input ended and its last picture was shown).
  std::string Lags(uint64_t clockUs) {
    std::string text;
    for (size_t i = 0; i < m_channels.size(); ++i) {
      const Channel& channel = m_channels[i];
      const uint64_t shownUs = channel.shownUs.load();
      char one[24] = " -";
      if (m_feeders[i]->Done() && shownUs >= m_feeders[i]->LatestVideoUs()) {
        std::snprintf(one, sizeof one, " end");
      } else if (channel.shown.load() != 0) {
        const int64_t lagMs = (static_cast<int64_t>(clockUs) - static_cast<int64_t>(shownUs)) / 1000;
        std::snprintf(one, sizeof one, " %lld", static_cast<long long>(lagMs));
        m_maxLagMs = std::max<uint32_t>(m_maxLagMs, static_cast<uint32_t>(std::max<int64_t>(lagMs, 0)));
      }
      text += one;
    }
    return text;
  }

  void PrintProgress(bool last) {
    uint64_t clockUs = 0;
    ZEPHPLAY_MPBGetPlayStamp(m_group, &clockUs);
    const uint64_t firstUs = FirstUs();
    const double clockS = clockUs > firstUs && firstUs != 0 ? (clockUs - firstUs) / 1e6 : 0.0;
    m_progress.Print(last, "clock %.1f s  rate %d%s  shown %u  lag ms:%s", clockS, m_o.rate,
                     m_paused ? "  paused" : "", TotalShown(), Lags(clockUs).c_str());
  }

  Options m_o;
  std::vector<Channel> m_channels;
  std::vector<std::unique_ptr<StreamSource>> m_sources;
  std::vector<std::unique_ptr<LiveFeeder>> m_feeders;
  ZEPHPLAY_MPBHANDLE m_group = 0;
  ToolTiles* m_tiles = nullptr;
  ProgressLine m_progress;
  bool m_paused = false;
  uint32_t m_startMs = 0;
  uint32_t m_lastShown = 0;
  uint32_t m_lastNewMs = 0;
  uint32_t m_maxLagMs = 0;
  std::string m_end = "interrupted";
};

}  // namespace

int RunWall(int argc, char** argv) {
  Options o;
  if (!ParseOptions(argc, argv, &o)) {
    return Usage();
  }
  CatchInterrupt();
  uint32_t columns = 1;
  uint32_t rows = 1;
  ToolTiles::Grid(static_cast<uint32_t>(o.sources.size()), &columns, &rows);
  ToolWindow window;
  void* native = OpenToolWindow(&window, o.headless, "zephplay wall", columns * kTileWidth, rows * kTileHeight);
  ToolTiles tiles;
  if (native != nullptr && !tiles.Open(native, static_cast<uint32_t>(o.sources.size()))) {
    std::fprintf(stderr, "zephplay: no tiles (the display cannot be reached), playing headless\n");
    native = nullptr;
  }
  WallSession session(o);
  if (std::string what, why; !session.Start(native != nullptr ? &tiles : nullptr, &what, &why)) {
    return Fail(what.c_str(), why);
  }
  return RunToolSession(&session, native != nullptr ? &window : nullptr);
}
