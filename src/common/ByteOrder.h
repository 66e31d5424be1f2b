#pragma once
// Little-endian field access for the byte layouts the recorders use (frame headers, recording
// heads, audio heads). Every platform we build for is little-endian, so a copy is the read.
#include <cstdint>
#include <cstring>

namespace zp {

inline uint32_t ReadU32(const uint8_t* p) {
  uint32_t v;
  std::memcpy(&v, p, sizeof v);
  return v;
}

inline uint64_t ReadU64(const uint8_t* p) {
  uint64_t v;
  std::memcpy(&v, p, sizeof v);
  return v;
}

inline uint16_t ReadU16(const uint8_t* p) {
  uint16_t v;
  std::memcpy(&v, p, sizeof v);
  return v;
}

inline void WriteU16(uint8_t* p, uint16_t v) { std::memcpy(p, &v, sizeof v); }
inline void WriteU32(uint8_t* p, uint32_t v) { std::memcpy(p, &v, sizeof v); }
inline void WriteU64(uint8_t* p, uint64_t v) { std::memcpy(p, &v, sizeof v); }

}  // namespace zp
