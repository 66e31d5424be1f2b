// zephplay play FILE [options]: plays a GREC recording or a vendor .mpg file, in a window of
// its own (handed to the library as a native window, as an embedding program does) or headless.
#include <X11/keysym.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "Commands.h"
#include "ProgressLine.h"
#include "ToolSession.h"
#include "ToolWindow.h"
#include "zephplay.h"

namespace {

constexpr uint32_t kSeekStepMs = 10000;
constexpr uint32_t kStallMs = 10000;  // no picture and no end for this long: give up
constexpr uint32_t kRepaintStillMs = 600;  // past the library's 500 ms between redraws
constexpr int32_t kRateMin = -4;
constexpr int32_t kRateMax = 8;

struct Snapshot {
  uint32_t ms = 0;
  std::string path;
  bool taken = false;
};

struct Options {
  const char* file = nullptr;
  bool headless = false;
  bool mute = false;
  int32_t rate = 0;
  double start = 0;
  double until = -1;
  double pauseAt = -1;
  std::vector<Snapshot> snapshots;
};

// What the library's callbacks report, read by the main loop.
struct Counters {
  std::atomic<uint32_t> decoded{0};
  std::atomic<uint32_t> shown{0};
  std::atomic<bool> ended{false};
};

void OnDecode(uint64_t user, const uint8_t*, const uint8_t*, const uint8_t*, int32_t, int32_t, int32_t,
                       int32_t, int32_t, uint64_t) {
  reinterpret_cast<Counters*>(user)->decoded.fetch_add(1, std::memory_order_relaxed);
}

void OnDisplay(uint64_t, uint32_t, uint32_t, uint64_t, uint32_t, uint32_t, uint64_t user) {
  reinterpret_cast<Counters*>(user)->shown.fetch_add(1, std::memory_order_relaxed);
}

void OnEnd(uint32_t endKind, uint64_t user) {
  if (endKind == ZEPHPLAY_END_FORWARD) {
    reinterpret_cast<Counters*>(user)->ended.store(true);
  }
}

int Usage() {
  std::fprintf(stderr,
               "usage: zephplay play FILE [--headless] [--mute] [--rate N] [--start SECONDS]\n"
               "                          [--until SECONDS] [--pause-at SECONDS] [--snapshot SECONDS:PATH]...\n"
               "keys: space pause, . step, , ; previous/next key frame, [ ] rate, left/right 10 s,\n"
               "      s snapshot, q quit\n");
  return 2;
}

bool ParseNumber(const char* text, double* out) {
  char* end = nullptr;
  *out = std::strtod(text, &end);
  return end != text && *end == '\0' && *out >= 0;
}

bool ParseSnapshot(const char* text, Snapshot* out) {
  const char* colon = std::strchr(text, ':');
  double seconds = 0;
  if (colon == nullptr || colon[1] == '\0' || !ParseNumber(std::string(text, colon).c_str(), &seconds)) {
    return false;
  }
  out->ms = static_cast<uint32_t>(seconds * 1000);
  out->path = colon + 1;
  return true;
}

bool ParseOptions(int argc, char** argv, Options* o) {
  for (int i = 0; i < argc; ++i) {
    const std::string arg = argv[i];
    const char* value = i + 1 < argc ? argv[i + 1] : nullptr;
    double number = 0;
    if (arg == "--headless") {
      o->headless = true;
    } else if (arg == "--mute") {
      o->mute = true;
    } else if (arg == "--rate" && value != nullptr) {
      char* end = nullptr;
      const long rate = std::strtol(value, &end, 10);
      if (*end != '\0' || rate < kRateMin || rate > kRateMax) {
        return false;
      }
      o->rate = static_cast<int32_t>(rate);
      ++i;
    } else if ((arg == "--start" || arg == "--until" || arg == "--pause-at") && value != nullptr &&
               ParseNumber(value, &number)) {
      (arg == "--start" ? o->start : (arg == "--until" ? o->until : o->pauseAt)) = number;
      ++i;
    } else if (arg == "--snapshot" && value != nullptr) {
      Snapshot s;
      if (!ParseSnapshot(value, &s)) {
        return false;
      }
      o->snapshots.push_back(s);
      ++i;
    } else if (arg[0] != '-' && o->file == nullptr) {
      o->file = argv[i];
    } else {
      return false;
    }
  }
  return o->file != nullptr;
}

// One playback: the handle, its callbacks, the keys, the progress line and the summary.
class Session : public ToolSession {
 public:
  Session(const Options& o, const ZEPHPLAY_MEDIA_INFO& media) : m_o(o), m_media(media), m_rate(o.rate) {}
  ~Session() override {
    if (m_handle != nullptr) {
      ZEPHPLAY_ClosePlayHandle(m_handle);
    }
  }

  // False with the reason in *why when the file cannot be played.
  bool Start(void* window, std::string* why) {
    if (ZEPHPLAY_OpenPlayHandle(&m_handle) != 0 || ZEPHPLAY_OpenFile(m_handle, m_o.file, 0) != 0) {
      *why = "the library cannot make a player";
      return false;
    }
    ZEPHPLAY_RECORD_INFO info;
    if (ZEPHPLAY_GetFileInfo(m_handle, &info) != 0) {
      *why = "not a recording the library can read";
      return false;
    }
    // The file information's length ends at the last key frame; playback goes on to the last picture.
    m_durationMs = m_media.u64EndStamp > m_media.u64BeginStamp
                       ? static_cast<uint32_t>((m_media.u64EndStamp - m_media.u64BeginStamp) / 1000)
                       : info.nTotalMinSecond;
    const uint64_t self = reinterpret_cast<uint64_t>(&m_counters);
    ZEPHPLAY_SetPlayWnd(m_handle, window);
    ZEPHPLAY_SetDecCallBack(m_handle, self, OnDecode);
    ZEPHPLAY_SetDisplayCallBack(m_handle, self, OnDisplay);
    ZEPHPLAY_SetEndCallBack(m_handle, self, OnEnd);
    if (ZEPHPLAY_Play(m_handle) != 0) {
      *why = "the player did not start";
      return false;
    }
    if (m_o.start > 0 && ZEPHPLAY_SetPlayTime(m_handle, static_cast<uint32_t>(m_o.start * 1000)) != 0) {
      *why = "--start lies beyond the recording";
      return false;
    }
    // Sound first: the rate then silences it while the rate is not 0 and brings it back at 0.
    if (!m_o.mute && m_media.nAudioFrames > 0) {
      ZEPHPLAY_PlaySound(m_handle);
    }
    ZEPHPLAY_SetPlayRate(m_handle, m_rate);
    return true;
  }

  // One pass of the main loop; false when playback is over.
  bool Tick(uint32_t nowMs) override {
    const uint32_t shown = m_counters.shown.load();
    if (shown != m_lastShown || m_paused || m_lastProgressMs == 0) {
      m_lastShown = shown;
      m_lastProgressMs = nowMs;
    }
    TakeSnapshots();
    PauseAtMark();
    RepaintStill(nowMs);
    PrintProgress(false);
    if (m_counters.ended.load()) {
      m_end = "end of file";
      return false;
    }
    if (m_o.until >= 0 && Position() >= m_o.until * 1000) {
      m_end = "--until reached";
      return false;
    }
    if (nowMs - m_lastProgressMs > kStallMs) {
      m_end = "stalled";
      m_failed = true;
      return false;
    }
    return !ToolInterrupted();
  }

  // Handles one key; false for quit.
  bool Key(unsigned long key) override {
    switch (key) {
      case XK_q:
        m_end = "quit";
        return false;
      case XK_space:
        m_paused = !m_paused;
        ZEPHPLAY_Pause(m_handle, m_paused ? 1 : 0);
        HoldStill();
        break;
      case XK_period:
        m_paused = true;
        ZEPHPLAY_OneByOne(m_handle);
        HoldStill();
        break;
      case XK_comma:
      case XK_semicolon:
        m_paused = true;
        ZEPHPLAY_PlayOneIFrame(m_handle, key == XK_semicolon ? 1 : 0);
        HoldStill();
        break;
      case XK_bracketleft:
      case XK_bracketright:
        SetRate(m_rate + (key == XK_bracketright ? 1 : -1));
        break;
      case XK_Left:
      case XK_Right:
        Seek(key == XK_Right ? kSeekStepMs : -static_cast<int64_t>(kSeekStepMs));
        break;
      case XK_s:
        Capture(std::string(m_o.file) + "-" + std::to_string(Position()) + ".jpg");
        break;
      default:
        break;
    }
    return true;
  }

  void WindowResized() override { ZEPHPLAY_AdjustedWndRect(m_handle); }

  // The summary line; the exit code.
  int Finish() override {
    PrintProgress(true);
    const uint32_t shown = m_counters.shown.load();
    const uint32_t decoded = m_counters.decoded.load();
    std::printf("%s: %s, %.1f s of %.1f s, %u pictures shown, %u dropped, rate %d\n", m_o.file, m_end.c_str(),
                Position() / 1000.0, m_durationMs / 1000.0, shown, decoded > shown ? decoded - shown : 0, m_rate);
    return m_failed ? 1 : 0;
  }

 private:
  // Milliseconds from the file's first stamp of the picture on screen (0 before the first).
  uint32_t Position() {
    uint32_t ms = 0;
    if (m_counters.shown.load() == 0 || ZEPHPLAY_GetPlayTime(m_handle, &ms) != 0 || ms > m_durationMs + 1000) {
      return m_lastPositionMs;
    }
    m_lastPositionMs = ms;
    return ms;
  }

  void SetRate(int32_t rate) {
    if (rate < kRateMin || rate > kRateMax) {
      return;
    }
    m_rate = rate;
    m_paused = false;  // a rate change resumes
    ZEPHPLAY_SetPlayRate(m_handle, rate);
  }

  void Seek(int64_t deltaMs) {
    int64_t target = static_cast<int64_t>(Position()) + deltaMs;
    target = target < 0 ? 0 : target;
    if (ZEPHPLAY_SetPlayTime(m_handle, static_cast<uint32_t>(target)) == 0) {
      m_counters.ended.store(false);
    }
  }

  void Capture(const std::string& path) {
    const bool bmp = path.size() > 4 && path.compare(path.size() - 4, 4, ".bmp") == 0;
    const int32_t result = bmp ? ZEPHPLAY_CaptureBMP(m_handle, path.c_str()) : ZEPHPLAY_CaptureJPEG(m_handle, path.c_str());
    m_progress.Clear();
    std::fprintf(stderr, result == 0 ? "snapshot %s\n" : "snapshot %s failed\n", path.c_str());
  }

  void TakeSnapshots() {
    for (Snapshot& s : m_o.snapshots) {
      if (!s.taken && m_counters.shown.load() > 0 && Position() >= s.ms) {
        s.taken = true;
        Capture(s.path);
      }
    }
  }

  // Pauses once the picture on screen has reached --pause-at and says which picture stays
  // shown: the position is read after the pause, when no further picture can come.
  void PauseAtMark() {
    if (m_o.pauseAt < 0 || m_pausedAtMark || m_counters.shown.load() == 0 || Position() < m_o.pauseAt * 1000) {
      return;
    }
    m_pausedAtMark = true;
    m_paused = true;
    ZEPHPLAY_Pause(m_handle, 1);
    HoldStill();
    m_progress.Clear();
    std::printf("paused at %u ms\n", Position());
    std::fflush(stdout);
  }

  // The library skips a picture drawn within 16 ms of the one before (a player catching up does
  // that), so the picture a pause or step stops on may not be on screen: it is drawn again once
  // the library's redraw limit has passed.
  void HoldStill() {
    m_stillSinceMs = ToolNowMs();
    m_repainted = false;
  }

  void RepaintStill(uint32_t nowMs) {
    if (!m_paused || m_repainted || nowMs - m_stillSinceMs < kRepaintStillMs) {
      return;
    }
    m_repainted = true;
    ZEPHPLAY_FlashWnd(m_handle);
  }

  void PrintProgress(bool last) {
    const uint32_t shown = m_counters.shown.load();
    const uint32_t decoded = m_counters.decoded.load();
    m_progress.Print(last, "%7.1f / %.1f s  shown %u  dropped %u  rate %d%s", Position() / 1000.0,
                     m_durationMs / 1000.0, shown, decoded > shown + 2 ? decoded - shown - 2 : 0, m_rate,
                     m_paused ? "  paused" : "");
  }

  Options m_o;
  const ZEPHPLAY_MEDIA_INFO& m_media;
  ZEPHPLAY_PLAYHANDLE* m_handle = nullptr;
  Counters m_counters;
  ProgressLine m_progress;
  int32_t m_rate;
  bool m_paused = false;
  bool m_pausedAtMark = false;
  bool m_repainted = true;
  uint32_t m_stillSinceMs = 0;
  bool m_failed = false;
  uint32_t m_durationMs = 0;
  uint32_t m_lastPositionMs = 0;
  uint32_t m_lastShown = 0;
  uint32_t m_lastProgressMs = 0;
  std::string m_end = "interrupted";
};

// The reason a file cannot be played before the library is asked to, or "" when it may be.
std::string CheckFile(const char* file, ZEPHPLAY_MEDIA_INFO* media) {
  if (access(file, R_OK) != 0) {
    return std::strerror(errno);
  }
  std::memset(media, 0, sizeof(*media));
  media->nSize = sizeof(*media);
  if (ZEPHPLAY_GetMediaInfo(file, media) != 0) {
    return "not a recording the library can read";
  }
  if (media->nVideoFrames == 0 && media->nAudioFrames == 0) {
    return "no frame could be read (damaged recording?)";
  }
  return "";
}

}  // namespace

int RunPlay(int argc, char** argv) {
  Options o;
  if (!ParseOptions(argc, argv, &o)) {
    return Usage();
  }
  ZEPHPLAY_MEDIA_INFO media;
  if (const std::string why = CheckFile(o.file, &media); !why.empty()) {
    return Fail(o.file, why);
  }
  CatchInterrupt();
  ToolWindow window;
  void* native = OpenToolWindow(&window, o.headless, o.file, media.nWidth, media.nHeight);
  Session session(o, media);
  if (std::string why; !session.Start(native, &why)) {
    return Fail(o.file, why);
  }
  return RunToolSession(&session, native != nullptr ? &window : nullptr);
}
