#pragma once
#include <bit>
#include <cstdint>
#include <cstring>

#include "media/FrameFormat.h"

namespace zp {

// Every tag ends in 'b' or 'c' (byte 3). Marks the bytes of an 8-byte word that are 0x62 or
// 0x63; only the lowest mark is exact, which is all FindTag uses.
inline uint64_t TagEndMarks(uint64_t word) {
  constexpr uint64_t kOnes = 0x0101010101010101ull;
  constexpr uint64_t kHighs = 0x8080808080808080ull;
  const uint64_t x = (word ^ (kOnes * 0x62)) & (kOnes * 0xFE);
  return (x - kOnes) & ~x & kHighs;
}

// The first offset in [start, end - 8] whose 32-bit word satisfies `accept`, or -1: a candidate
// needs its tag and length word before `end`. Words are read at every byte offset; eight
// offsets are ruled out at a time by their last tag byte.
template <bool (*accept)(uint32_t)>
int64_t FindTag(const uint8_t* buffer, int64_t start, int64_t end) {
  const int64_t last = end - 8;
  int64_t p = start;
  while (p <= last) {
    if (p + 11 <= end) {
      uint64_t word;
      std::memcpy(&word, buffer + p + 3, sizeof word);
      const uint64_t marks = TagEndMarks(word);
      if (marks == 0) {
        p += 8;
        continue;
      }
      p += std::countr_zero(marks) / 8;
      if (p > last) {
        return -1;
      }
    }
    if (accept(ReadU32(buffer + p))) {
      return p;
    }
    ++p;
  }
  return -1;
}

inline bool IsStreamTagWord(uint32_t word) { return IsStreamTag(word); }
inline bool IsFileTagWord(uint32_t word) { return IsFileTag(word); }
inline bool IsFileKeyTagWord(uint32_t word) { return IsFileTag(word) && TagKind(word) == FRAME_TAG_I; }

}  // namespace zp
