#pragma once
#include <cstdint>

// AMR-NB over opencore-amrnb, frames in the storage format of RFC 4867 (a ToC byte, then the
// class-ordered speech bits). These are the bodies of the exported AMR_ functions.
namespace zp::amr {

inline constexpr int kFrameSamples = 160;
inline constexpr int kMaxFrameBytes = 32;

// The byte count of a storage frame from its ToC byte (ToC included), 0 for a type we refuse.
int FrameBytes(uint8_t toc);

int32_t DecodeInit(void** handle);
// Decodes the frame at in (len bytes available) into 160 samples; bfi non-zero marks a bad
// frame. The frame's byte count, or -1 (out then holds 160 zero samples when it is not null).
int32_t DecodeFrame(void* handle, const uint8_t* in, int32_t len, int16_t* out, int32_t bfi);
int32_t DecodeExit(void* handle);

int32_t EncodeInit(void** handle, int32_t dtx);
// Encodes 160 samples in mode 0 (4.75 kbit/s) to 7 (12.2 kbit/s); the frame's byte count
// (room for kMaxFrameBytes needed), or -1.
int32_t EncodeFrame(void* handle, const int16_t* in, uint8_t* out, int32_t mode);
int32_t EncodeExit(void* handle);

}  // namespace zp::amr
