// CParseData fed arbitrary bytes in arbitrary pieces: every frame it returns, and the part of
// a frame under way that it lends, lies inside the bytes held, and a refused piece changes
// nothing.
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "media/CParseData.h"

namespace {

void Check(bool ok) {
  if (!ok) {
    std::abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) {
    return 0;
  }
  // The first byte picks the buffer size, the second seeds the piece lengths.
  const uint32_t capacity = 64u << (data[0] % 8);
  uint32_t seed = data[1] | 1u;
  data += 2;
  size -= 2;
  zp::CParseData parser;
  parser.SetBufferSize(capacity);
  size_t at = 0;
  while (at < size) {
    seed = seed * 1103515245u + 12345u;
    const size_t piece = std::min<size_t>(size - at, 1 + (seed >> 16) % (capacity / 2 + 7));
    const int32_t freeBefore = parser.GetFreeSize();
    if (parser.InputData(data + at, static_cast<uint32_t>(piece)) != 0) {
      Check(parser.GetFreeSize() == freeBefore && static_cast<int64_t>(piece) > freeBefore);
      parser.Reset();  // what the stream player does when a stream stays blocked
    } else {
      at += piece;
    }
    const int32_t held = static_cast<int32_t>(capacity) - parser.GetFreeSize();
    while (zp::StreamFrame* frame = parser.GetFrame()) {
      Check(zp::IsStreamTag(frame->nTag));
      Check(static_cast<uint64_t>(frame->nPayloadOffset) + frame->nLength <= static_cast<uint64_t>(held));
      volatile uint8_t sink = 0;
      for (uint32_t i = 0; i < frame->nLength; i += 61) {
        sink = sink + frame->pData[i];  // every payload byte is readable
      }
      if (frame->nLength > 0) {
        sink = sink + frame->pData[frame->nLength - 1];
      }
      parser.ReleaseFrame(frame);
    }
    parser.Compact();
    Check(parser.GetFreeSize() >= 0 && parser.GetFreeSize() <= static_cast<int32_t>(capacity));
    zp::CParseData::PendingFrame pending;
    if (parser.GetPendingFrame(&pending)) {
      const int32_t heldNow = static_cast<int32_t>(capacity) - parser.GetFreeSize();
      Check(pending.nMissing > 0 && static_cast<int64_t>(pending.nHeld) + pending.nMissing <= capacity &&
            static_cast<int64_t>(pending.nHeld) <= heldNow);
      volatile uint8_t sink = pending.nHeld > 0 ? pending.pHeld[pending.nHeld - 1] : 0;
      (void)sink;
    }
  }
  return 0;
}
