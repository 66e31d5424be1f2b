// Arbitrary frames pushed into a multi-play-back group through the C API: random channels,
// types, stamps and payloads, with the group's control calls in between (pause, rate, steps,
// stamps, reverse, reset): nothing crashes, reads out of bounds or hangs, and every answer is a
// documented code.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "zephplay.h"

namespace {

constexpr int32_t kPlayers = 3;

void Check(bool ok) {
  if (!ok) {
    std::abort();
  }
}

// One group for the whole run: its threads are made once.
ZEPHPLAY_MPBHANDLE Group() {
  static ZEPHPLAY_MPBHANDLE handle = [] {
    ZEPHPLAY_MPBHANDLE h = 0;
    static const uint32_t channels[kPlayers] = {1, 2, 3};
    ZEPHPLAY_MPBOpenPlayHandle(&h, kPlayers);
    ZEPHPLAY_MPBOpenStream(h, channels, nullptr, 0, 4096, 0);
    // Closed at exit, so that no cache file outlives the run (no unload hook is linked in).
    std::atexit([] { ZEPHPLAY_MPBClosePlayHandle(Group()); });
    return h;
  }();
  return handle;
}

// Frame types as recorders send them, and some that no one sends.
uint32_t TypeOf(uint8_t pick) {
  static const uint32_t kTypes[] = {0x63643030, 0x63643130, 0x63643230, 0x63643930, 1, 2, 0x12345678};
  return kTypes[pick % (sizeof kTypes / sizeof kTypes[0])];
}

void Control(ZEPHPLAY_MPBHANDLE h, uint8_t pick, uint32_t value) {
  const uint32_t index = value % 5 == 4 ? ZEPHPLAY_MPB_ALL : value % 5;  // 3: out of range
  uint64_t stamp = 0;
  Check(ZEPHPLAY_MPBGetPlayStamp(h, &stamp) == 0);
  switch (pick % 8) {
    case 0: Check(ZEPHPLAY_MPBPause(h, value & 1) == 0); break;
    case 1: Check(ZEPHPLAY_MPBSetPlayRate(h, static_cast<int32_t>(value % 17) - 8) == 0); break;
    case 2: Check(ZEPHPLAY_MPBPlayOneFrame(h, index, value & 1, value & 2) >= -1); break;
    case 3: Check(ZEPHPLAY_MPBSetPlayStamp(h, stamp + value - 0x80000000u) == 0); break;
    case 4: Check(ZEPHPLAY_MPBSeekIFramStamp(h, stamp + value) == 1); break;
    case 5: Check(ZEPHPLAY_MPBSetPlayBackIFrame(h, index, value & 8) <= 1); break;
    case 6: Check(ZEPHPLAY_MPBResetStream(h, index) <= 1); break;
    default: {
      int32_t seconds = 0;
      Check(ZEPHPLAY_MPBGetVideoFrameMaxSecond(h, &seconds) == 0 && seconds >= 0);
      break;
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const ZEPHPLAY_MPBHANDLE h = Group();
  // Records of 8 bytes: channel, type pick, payload length / 4, a stamp step (4 bytes, signed),
  // a control pick (below 32: a control call instead of a frame); the payload follows.
  uint64_t stamp = 1000000000;
  size_t at = 0;
  while (at + 8 <= size) {
    const uint8_t* record = data + at;
    int32_t step = 0;
    std::memcpy(&step, record + 3, 4);
    at += 8;
    if (record[7] < 32) {
      Control(h, record[7], static_cast<uint32_t>(step));
      continue;
    }
    stamp += static_cast<int64_t>(step) / 64;
    const size_t length = std::min<size_t>(size - at, record[2] * 4u);
    const int32_t result =
        ZEPHPLAY_MPBInputFrameData(h, record[0] % 5, data + at, static_cast<uint32_t>(length), TypeOf(record[1]), stamp);
    Check(result == 0 || result == 1 || result == -1 || result == -3 || result == -4);
    at += length;
  }
  return 0;
}
