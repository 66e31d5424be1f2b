#pragma once
// The tagged frame format of live streams and recorded files, and the frame records that the
// parser and the readers hand out.
//
// A frame is a little-endian header of 16 or 32 bytes followed by `length` payload bytes. The
// header begins with a 32-bit tag: byte 0 is a sub-code, bytes 1 to 3 three ASCII characters
// that name the kind ("0dc" key frame, "1dc" predicted frame, "2dc" stream audio, "1wb" file
// audio, "8dc" auxiliary, "9dc" user data).
//
// 32-byte video header (FRAME_TAG_I, FRAME_TAG_P):
//   0 u32 tag | 4 u32 payload length | 8 u32 (writer: hour, minute, second of writing)
//   12 u32 back-link to an earlier frame header (key frames of recordings) | 16 u64 stamp | 24 u64
// 16-byte header (every other kind):
//   0 u32 tag | 4 u32 payload length | 8 u64 stamp (audio kinds; ignored for 8dc and 9dc)
// Stamps are microseconds.
#include <cstdint>
#include <cstring>

#include "common/ByteOrder.h"
#include "common/FrameTypes.h"

namespace zp {

// Frame kinds: the tag with its sub-code byte cleared.
inline constexpr uint32_t FRAME_TAG_I = 0x63643000;      // "0dc" video key frame
inline constexpr uint32_t FRAME_TAG_P = 0x63643100;      // "1dc" video predicted frame
inline constexpr uint32_t FRAME_TAG_AUDIO = 0x63643200;  // "2dc" audio of live streams
inline constexpr uint32_t FRAME_TAG_WAVE = 0x62773100;   // "1wb" audio of recorded files
inline constexpr uint32_t FRAME_TAG_EXT = 0x63643800;    // "8dc" auxiliary frame
inline constexpr uint32_t FRAME_TAG_DATA = 0x63643900;   // "9dc" user data frame

inline constexpr uint32_t kVideoHeadLength = 32;
inline constexpr uint32_t kShortHeadLength = 16;
// The longest header: what a reader must hold before it can read any header.
inline constexpr uint32_t kMaxHeadLength = kVideoHeadLength;

// A frame as the file readers return it: a pooled record with an owned buffer. `pData` holds
// the payload only, except for key frames fetched by key-frame stepping, which keep their
// 32-byte header in front of the payload (`nLength` then counts both).
struct FrameHead {
  uint64_t u64Stamp = 0;  // microseconds; 0 for FRAME_TAG_DATA
  uint8_t* pData = nullptr;
  uint32_t nCapacity = 0;
  uint32_t nLength = 0;
  uint32_t nType = 0;  // FRAME_TAG_I, FRAME_TAG_P, FRAME_TAG_WAVE (every audio frame) or FRAME_TAG_DATA
};

// A frame as the stream parser returns it: a view into the parser's buffer, valid until the
// next call that changes that buffer.
struct StreamFrame {
  const uint8_t* pData = nullptr;  // first payload byte
  uint32_t nLength = 0;            // payload length from the header
  uint32_t nTag = 0;               // the whole tag word, sub-code byte included
  uint32_t nPayloadOffset = 0;     // from the start of the parser buffer
  uint64_t u64Stamp = 0;           // 0 for kinds without a stamp
};

inline constexpr uint32_t TagKind(uint32_t tag) { return tag & 0xFFFFFF00u; }
inline constexpr uint32_t TagSubCode(uint32_t tag) { return tag & 0xFFu; }

// A video key frame, whether given as a tag or as a player frame type.
inline constexpr bool IsKeyFrame(uint32_t tagOrType) { return TagKind(tagOrType) == FRAME_TAG_I; }
inline constexpr bool IsVideoKind(uint32_t tag) {
  return TagKind(tag) == FRAME_TAG_I || TagKind(tag) == FRAME_TAG_P;
}
inline constexpr bool IsAudioKind(uint32_t tag) {
  return TagKind(tag) == FRAME_TAG_AUDIO || TagKind(tag) == FRAME_TAG_WAVE;
}

// Recognition in live streams: a known kind with a sub-code below 0x40, except that a data
// frame is recognised only with sub-code 0 (kept: recorders send other "9dc" words as filler).
inline constexpr bool IsStreamTag(uint32_t word) {
  if (word == FRAME_TAG_DATA) {
    return true;
  }
  if ((word & 0xCFu) >= 0x20u) {
    return false;
  }
  const uint32_t kind = TagKind(word);
  return kind == FRAME_TAG_I || kind == FRAME_TAG_P || kind == FRAME_TAG_AUDIO || kind == FRAME_TAG_WAVE ||
         kind == FRAME_TAG_EXT;
}

// Recognition in recorded files: video needs the low four bits of the sub-code clear; audio and
// data accept any sub-code below 0x40; auxiliary frames are not recognised at all.
inline constexpr bool IsFileTag(uint32_t word) {
  if (TagSubCode(word) >= 0x40u) {
    return false;
  }
  const uint32_t kind = TagKind(word);
  if (kind == FRAME_TAG_I || kind == FRAME_TAG_P) {
    return (word & 0x0Fu) == 0;
  }
  return kind == FRAME_TAG_WAVE || kind == FRAME_TAG_AUDIO || kind == FRAME_TAG_DATA;
}

// Header length of a tag (sub-code ignored): 32 for video, 16 for the other kinds, 0 if unknown.
inline constexpr uint32_t GetHeadLength(uint32_t tag) {
  switch (TagKind(tag)) {
    case FRAME_TAG_I:
    case FRAME_TAG_P:
      return kVideoHeadLength;
    case FRAME_TAG_AUDIO:
    case FRAME_TAG_WAVE:
    case FRAME_TAG_EXT:
    case FRAME_TAG_DATA:
      return kShortHeadLength;
    default:
      return 0;
  }
}

// The stamp of a header whose tag is given: offset 16 for video, 8 for audio, else 0. `head`
// must hold GetHeadLength(tag) bytes.
inline uint64_t GetStamp(const uint8_t* head, uint32_t tag) {
  if (IsVideoKind(tag)) {
    return ReadU64(head + 16);
  }
  if (IsAudioKind(tag)) {
    return ReadU64(head + 8);
  }
  return 0;
}

// Converts a whole tag word to the player's frame type by exact comparison. A video tag with a
// non-zero sub-code and the stream audio tag 0x63643200 both become FRAME_TYPE_UNKNOWN; kept,
// because players route by tag kind and decoders were built against these types.
inline constexpr uint32_t TagToFrameType(uint32_t tag) {
  switch (tag) {
    case 1:
      return 1;
    case 2:
      return 2;
    case 0x63643000:
      return FRAME_TYPE_I;
    case 0x63643100:
      return FRAME_TYPE_P;
    case 0x63643230:
      return FRAME_TYPE_AUDIO;
    case 0x63643939:
      return FRAME_TYPE_DATA;
    default:
      return FRAME_TYPE_UNKNOWN;
  }
}

// Writes the header of a frame (tag, length, stamp; every other field zero) into `out`, which
// must hold kMaxHeadLength bytes. Returns the header length, 0 for an unknown kind (nothing
// written). Kinds without a stamp get zero in the stamp field.
inline uint32_t WriteFrameHeader(uint8_t* out, uint32_t tag, uint32_t length, uint64_t stamp) {
  const uint32_t headLength = GetHeadLength(tag);
  if (headLength == 0) {
    return 0;
  }
  std::memset(out, 0, headLength);
  WriteU32(out, tag);
  WriteU32(out + 4, length);
  if (IsVideoKind(tag)) {
    WriteU64(out + 16, stamp);
  } else if (IsAudioKind(tag)) {
    WriteU64(out + 8, stamp);
  }
  return headLength;
}

// Reads a header at `head` (at least `available` bytes): tag, payload length, header length and
// stamp. False when the word is not a known kind or the header is not wholly available.
struct ParsedHeader {
  uint32_t nTag = 0;
  uint32_t nLength = 0;
  uint32_t nHeadLength = 0;
  uint64_t u64Stamp = 0;
};

inline bool ReadFrameHeader(const uint8_t* head, uint64_t available, ParsedHeader* out) {
  if (available < 4) {
    return false;
  }
  const uint32_t tag = ReadU32(head);
  const uint32_t headLength = GetHeadLength(tag);
  if (headLength == 0 || available < headLength) {
    return false;
  }
  out->nTag = tag;
  out->nLength = ReadU32(head + 4);
  out->nHeadLength = headLength;
  out->u64Stamp = GetStamp(head, tag);
  return true;
}

}  // namespace zp
