// Arbitrary bytes pushed into a stream player through the C API in arbitrary pieces, with the
// other stream functions called in between (mode changes, reset, attribute, seeks, steps,
// recording): nothing crashes, reads out of bounds or hangs, and every answer is a documented code.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "zephplay.h"

namespace {

void Check(bool ok) {
  if (!ok) {
    std::abort();
  }
}

// One player for the whole run: its threads are made once, and each input starts from a reset.
ZEPHPLAY_PLAYHANDLE* Player() {
  static ZEPHPLAY_PLAYHANDLE* handle = [] {
    ZEPHPLAY_PLAYHANDLE* h = nullptr;
    ZEPHPLAY_OpenPlayHandle(&h);
    ZEPHPLAY_OpenStream(h, nullptr, 0, 4096, 1);
    // Closed at exit, so that no cache file outlives the run (no unload hook is linked in).
    std::atexit([] { ZEPHPLAY_ClosePlayHandle(Player()); });
    return h;
  }();
  return handle;
}

// A control call picked by one byte, its argument taken from the next bytes.
void Control(ZEPHPLAY_PLAYHANDLE* h, uint8_t pick, const uint8_t* arg) {
  uint32_t value = 0;
  std::memcpy(&value, arg, 4);
  uint64_t stamp = 0;
  ZEPHPLAY_GetPlayStamp(h, &stamp);
  switch (pick % 10) {
    case 0: Check(ZEPHPLAY_SetStreamMode(h, value % 4) == 0); break;
    case 1: Check(ZEPHPLAY_ResetStream(h) == 0); break;
    case 2: {
      uint8_t attr[ZEPHPLAY_STREAM_ATTR_SIZE] = {};
      const uint32_t magic = ZEPHPLAY_STREAM_ATTR_MAGIC;
      std::memcpy(attr, &magic, 4);
      attr[4] = arg[0] % 5;
      attr[8] = arg[1] % 30;
      attr[100] = arg[2] % 8;
      Check(ZEPHPLAY_SetStreamAttr(h, attr, value % 2 == 0 ? sizeof attr : 100) == 0);
      break;
    }
    case 3: Check(ZEPHPLAY_SeekIFramStamp(h, stamp + value) >= -1); break;
    case 4: Check(ZEPHPLAY_PlayOneFrameData(h, value & 1, value & 2) >= -1); break;
    case 5: Check(ZEPHPLAY_SetPlayTime(h, value % 100000) >= -1); break;
    case 6: Check(ZEPHPLAY_Pause(h, value & 1) == 0); break;
    case 7: Check(ZEPHPLAY_SetDelayTime(h, value % 1000, value % 7000) <= 1); break;
    case 8: {
      static const std::string path = std::string(getenv("TMPDIR") ? getenv("TMPDIR") : "/tmp") + "/fuzz_stream.grec";
      if (value & 1) {
        Check(ZEPHPLAY_StartPlayRecord(h, path.c_str(), 1) == 0);
      } else {
        ZEPHPLAY_StopPlayRecord(h);
      }
      break;
    }
    default: {
      const int32_t result = ZEPHPLAY_InputFrameData(h, arg, 4, 0x63643000u + (value & 0x3FFF), value);
      Check(result == 0 || result == -1 || result == -3 || result == -4);
      break;
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  ZEPHPLAY_PLAYHANDLE* h = Player();
  ZEPHPLAY_ResetStream(h);
  // Records of: a piece length byte, then the piece; every fourth a control call with 5 bytes.
  size_t at = 0;
  for (int record = 0; at + 1 < size; ++record) {
    if (record % 4 == 3 && at + 5 <= size) {
      Control(h, data[at], data + at + 1);
      at += 5;
      continue;
    }
    const size_t piece = std::min<size_t>(size - at - 1, 1 + data[at] * 16u);
    const int32_t result = ZEPHPLAY_InputStreamData(h, data + at + 1, static_cast<uint32_t>(piece));
    Check(result == 0 || result == -3);
    at += 1 + piece;
  }
  uint32_t value = 0;
  ZEPHPLAY_GetVideoFrameNum(h, &value);
  ZEPHPLAY_GetSourceBufferRemain(h, &value);
  ZEPHPLAY_GetPlayTime(h, &value);
  ZEPHPLAY_GetPlayRecordStatus(h);
  return 0;
}
