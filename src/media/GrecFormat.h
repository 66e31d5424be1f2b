#pragma once
// The GREC recording: a 512-byte head, tagged frames whose payloads are padded to 8 bytes, and
// after the last frame (once the writer closed) a key-frame index trailer.
//
//   0    456 head fields (below)       | 456  56 zero
//   512  frames                        | [head 68] u32 0x08070621, u32 8, 20-byte entries
//
// Head fields: 0 u32 magic 0x12345678 | 4 u32 format 8 | 37..42 start year-2000, month, day,
// hour, minute, second | 43..48 end time, same layout | 49,50,51,53,56 u8 1 | 54 u16 1 |
// 60 u32 1 | 64 u32 1 | 68 u32 index trailer offset (0 until closed; also the end of the frame
// data) | 72 u32 first frame, counted from 512 | 180 u32 stream kind, which is the audio coder
// type of the recording (0 in our heads: the configured default; a recorder that knows its
// codec hands a head with it to SetFileHead).
// Index entry: 0 u32 time of day in seconds (0 for non-video) | 4 u32 header offset |
// 8 u64 stamp | 16 u32 kind.
#include <cstdint>
#include <ctime>

#include "media/FrameFormat.h"

namespace zp::grec {

inline constexpr uint32_t kHeadMagic = 0x12345678;
inline constexpr uint32_t kHeadFormat = 8;
inline constexpr uint32_t kHeadLength = 512;
inline constexpr uint32_t kHeadFieldsLength = 456;
inline constexpr uint32_t kIndexMagic = 0x08070621;
// The vendor files' trailer marker; GREC readers do not take it.
inline constexpr uint32_t kVendorIndexMagic = 0x08070620;
inline constexpr uint32_t kIndexPrefixLength = 8;
inline constexpr uint32_t kIndexEntryLength = 20;
inline constexpr uint32_t kPadding = 8;

inline constexpr uint32_t kOffMagic = 0;
inline constexpr uint32_t kOffFormat = 4;
inline constexpr uint32_t kOffStartTime = 37;
inline constexpr uint32_t kOffEndTime = 43;
inline constexpr uint32_t kOffIndex = 68;
inline constexpr uint32_t kOffFirstFrame = 72;
inline constexpr uint32_t kOffStreamKind = 180;
inline constexpr uint32_t kOffAudioCodec = kOffStreamKind;

struct IndexEntry {
  uint32_t nTimeOfDay = 0;
  uint32_t nOffset = 0;
  uint64_t u64Stamp = 0;
  uint32_t nKind = 0;
};

inline IndexEntry ReadIndexEntry(const uint8_t* p) {
  return IndexEntry{ReadU32(p), ReadU32(p + 4), ReadU64(p + 8), ReadU32(p + 16)};
}

inline void WriteIndexEntry(uint8_t* p, const IndexEntry& e) {
  WriteU32(p, e.nTimeOfDay);
  WriteU32(p + 4, e.nOffset);
  WriteU64(p + 8, e.u64Stamp);
  WriteU32(p + 16, e.nKind);
}

// Payload bytes plus the zero bytes that pad them to a multiple of 8.
inline constexpr uint64_t PaddedLength(uint64_t length) {
  return length % kPadding == 0 ? length : length + kPadding - length % kPadding;
}

// Writes the six date-time bytes (year - 2000, month, day, hour, minute, second) of `t`.
inline void WriteDateTime(uint8_t* p, const std::tm& t) {
  p[0] = static_cast<uint8_t>(t.tm_year + 1900 - 2000);
  p[1] = static_cast<uint8_t>(t.tm_mon + 1);
  p[2] = static_cast<uint8_t>(t.tm_mday);
  p[3] = static_cast<uint8_t>(t.tm_hour);
  p[4] = static_cast<uint8_t>(t.tm_min);
  p[5] = static_cast<uint8_t>(t.tm_sec);
}

// Fills the head fields that the library sets, with `now` as start and end time; every other
// byte of `head` (at least kHeadFieldsLength bytes) is left as it was.
inline void FillHead(uint8_t* head, const std::tm& now) {
  WriteU32(head + kOffMagic, kHeadMagic);
  WriteU32(head + kOffFormat, kHeadFormat);
  WriteDateTime(head + kOffStartTime, now);
  WriteDateTime(head + kOffEndTime, now);
  head[49] = 1;
  head[50] = 1;
  head[51] = 1;
  head[53] = 1;
  WriteU16(head + 54, 1);
  head[56] = 1;
  WriteU32(head + 60, 1);
  WriteU32(head + 64, 1);
  WriteU32(head + kOffIndex, 0);
  WriteU32(head + kOffFirstFrame, 0);
  WriteU16(head + 76, 0);
  head[79] = 0;
  head[92] = 0;
  head[93] = 0;
  head[94] = 0;
}

}  // namespace zp::grec
