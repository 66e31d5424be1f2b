// zephplay afp FILE.aac    plays a file of ADTS AAC frames on the default sound device, with a
//                          progress bar driven by the player's progress messages
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <thread>

#include "Commands.h"
#include "zephplay.h"

namespace {

struct Progress {
  std::atomic<uint32_t> seconds{0};
  std::atomic<uint32_t> updates{0};
  std::atomic<bool> ended{false};
};

void ZEPHPLAY_CALL OnMessage(int32_t code, uint32_t seconds, uint64_t user) {
  auto* progress = reinterpret_cast<Progress*>(user);
  progress->seconds = seconds;
  if (code == 2) {
    progress->ended = true;
  }
  ++progress->updates;
}

void PrintBar(uint32_t seconds, uint32_t totalMs, bool terminal) {
  constexpr int kWidth = 40;
  const uint32_t totalSeconds = totalMs / 1000;
  const int filled = totalSeconds == 0 ? kWidth : static_cast<int>(kWidth * std::min(seconds, totalSeconds) / totalSeconds);
  std::printf("%s[%.*s%*s] %u:%02u / %u:%02u%s", terminal ? "\r" : "", filled,
              "########################################", kWidth - filled, "", seconds / 60, seconds % 60,
              totalSeconds / 60, totalSeconds % 60, terminal ? "" : "\n");
  std::fflush(stdout);
}

int Play(const char* path) {
  ZEPHPLAY_AFP* player = nullptr;
  if (ZEPHPLAY_AFPOpen(&player) != 0) {
    std::fprintf(stderr, "zephplay: no audio file player\n");
    return 1;
  }
  Progress progress;
  ZEPHPLAY_AFPSetFUNMsgCB(player, reinterpret_cast<uint64_t>(&progress), &OnMessage);
  if (ZEPHPLAY_AFPStartPlay(player, path) != 0) {
    std::fprintf(stderr, "zephplay: %s: not playable (unreadable or not writable, empty, 100 MiB or more, or no ADTS frame)\n", path);
    ZEPHPLAY_AFPClose(player);
    return 1;
  }
  uint32_t totalMs = 0;
  ZEPHPLAY_AFPGetTotalTime(player, &totalMs);
  const bool terminal = isatty(STDOUT_FILENO) != 0;
  // Playing may fall behind real time on a busy device, but never by this much.
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(2 * totalMs + 10000);
  uint32_t shown = 0xFFFFFFFF;
  while (!progress.ended && std::chrono::steady_clock::now() < deadline) {
    if (progress.updates != shown) {
      shown = progress.updates;
      PrintBar(progress.seconds, totalMs, terminal);
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  uint32_t playedMs = 0;
  ZEPHPLAY_AFPGetPlayTime(player, &playedMs);
  PrintBar(playedMs / 1000, totalMs, terminal);
  ZEPHPLAY_AFPStopPlay(player);
  ZEPHPLAY_AFPClose(player);
  if (terminal) {
    std::printf("\n");
  }
  if (!progress.ended) {
    std::fprintf(stderr, "zephplay: %s: playing stalled at %u of %u ms\n", path, playedMs, totalMs);
    return 1;
  }
  std::printf("played %u of %u ms\n", playedMs, totalMs);
  return 0;
}

}  // namespace

int RunAfp(int argc, char** argv) {
  if (argc != 1) {
    std::fprintf(stderr, "usage: zephplay afp FILE.aac\n");
    return 2;
  }
  return Play(argv[0]);
}
