#pragma once
#include <cstddef>
#include <cstdint>

namespace zp {

// The stream attribute record that live streams deliver as frame type 1 and that recording
// writers receive too: only the fields read outside the stream player are named here.
inline constexpr uint32_t kStreamAttrSize = 284;
inline constexpr uint32_t kStreamAttrMagic = 0x40000001;  // first word of a valid record
inline constexpr size_t kStreamAttrAudioCodec = 8;        // u32, the library's audio coder type

}  // namespace zp
