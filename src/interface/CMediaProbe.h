#pragma once
#include <cstdint>
#include <vector>

#include "media/CRecFile.h"
#include "zephplay.h"

namespace zp {

// What a recorded file holds, read once from end to end through the reader the player would
// use: kind, span, frame counts, and the codecs and picture size of the first key frame and
// the first audio frame. Codecs are recognised from the payload bytes, since neither file
// format names them.
class CMediaProbe {
 public:
  // 0 with *info filled (its nSize kept); -1 when no reader opens the path.
  static int Probe(const char* path, ZEPHPLAY_MEDIA_INFO* info);

 private:
  explicit CMediaProbe(ZEPHPLAY_MEDIA_INFO* info) : m_pInfo(info) {}
  void Count(const FrameHead& frame);
  void LookAtKeyFrame(const FrameHead& frame);
  // The picture size of one key frame, decoded as H.265 when bHevc, else as H.264.
  static bool DecodeSize(const std::vector<uint8_t>& frame, bool bHevc, uint32_t* width, uint32_t* height);
  static uint32_t AudioCodecOf(const FrameHead& frame);

  ZEPHPLAY_MEDIA_INFO* m_pInfo;
};

}  // namespace zp
