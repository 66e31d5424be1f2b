#pragma once
// The frame types that frame queues carry and players act on. The parser and the readers make
// them from tag words (TagToFrameType in media/); the audio player and the players queue them.
#include <cstdint>

namespace zp {

// Player frame types, made from whole tag words by TagToFrameType.
inline constexpr uint32_t FRAME_TYPE_I = 0x63643030;
inline constexpr uint32_t FRAME_TYPE_P = 0x63643130;
inline constexpr uint32_t FRAME_TYPE_AUDIO = 0x63643230;
inline constexpr uint32_t FRAME_TYPE_DATA = 0x63643930;
inline constexpr uint32_t FRAME_TYPE_UNKNOWN = 0x63643939;

}  // namespace zp
