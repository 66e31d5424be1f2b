#pragma once
#include <cstdint>

#include "common/ByteOrder.h"

namespace zp {

// The 512-byte block that describes an audio stream (little-endian u16 fields).
struct AudioHeadFields {
  uint16_t nCoderType = 0;
  uint16_t nFrmLen = 0;
  uint16_t nChannels = 0;
  uint16_t nSampleRate = 0;
};

inline constexpr uint32_t kAudioHeadLength = 512;
// The fields read: everything up to the sample rate.
inline constexpr uint32_t kAudioHeadUsed = 12;
// The 12-byte head of an audio frame: u32 payload length, u64 stamp (µs).
inline constexpr uint32_t kAudioFrameHead = 12;

// False when fewer than kAudioHeadUsed bytes are given.
inline bool ParseAudioHead(const uint8_t* head, uint32_t len, AudioHeadFields* fields) {
  if (head == nullptr || len < kAudioHeadUsed) {
    return false;
  }
  fields->nCoderType = ReadU16(head + 4);
  fields->nFrmLen = ReadU16(head + 6);
  fields->nChannels = ReadU16(head + 8);
  fields->nSampleRate = ReadU16(head + 10);
  return true;
}

}  // namespace zp
