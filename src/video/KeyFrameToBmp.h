#pragma once
#include <cstdint>

namespace zp {

// Decodes one H.264 key frame (Annex-B, with its parameter sets) with a temporary software
// CVDECH264 and saves the picture as a 24-bit BMP. True when a picture was decoded and written.
bool SaveKeyFrameAsBmp(const uint8_t* pFrame, uint32_t nLength, const char* pPath);

}  // namespace zp
