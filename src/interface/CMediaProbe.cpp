#include "interface/CMediaProbe.h"

#include <algorithm>
#include <cstring>
#include <memory>

#include "media/PathSuffix.h"
#include "video/CVDECH264.h"

namespace zp {

namespace {

// An HEVC NAL header has its forbidden bit clear and a parameter-set, access-unit-delimiter or
// key-picture type; in H.264 those first bytes are types no encoder puts first in a key frame.
bool LooksHevc(uint8_t header) {
  const uint8_t type = (header >> 1) & 0x3F;
  return (header & 0x80) == 0 && (type == 32 || type == 33 || type == 34 || type == 35 || type == 39 ||
                                  (type >= 16 && type <= 21));
}

}  // namespace

int CMediaProbe::Probe(const char* path, ZEPHPLAY_MEDIA_INFO* info) {
  std::unique_ptr<CRecFile> reader(CRecFile::CreateRecFile(path));
  if (reader == nullptr) {
    return -1;
  }
  const uint32_t size = info->nSize;
  std::memset(info, 0, sizeof(*info));
  info->nSize = size;
  info->nFileKind = EndsWithNoCase(path, ".mpg", 0) ? ZEPHPLAY_FILE_MPG : ZEPHPLAY_FILE_GREC;
  FileInfo span;
  reader->GetFileInfo(&span);
  static_assert(sizeof(info->info) <= sizeof(span));
  std::memcpy(&info->info, &span, sizeof(info->info));
  info->u64BeginStamp = span.u64FileBegPts;

  CMediaProbe probe(info);
  FrameHead* frame = nullptr;
  while (reader->ReadFrame(&frame) == 0) {
    probe.Count(*frame);
    reader->ReleaseFrame(frame);
  }
  return 0;
}

void CMediaProbe::Count(const FrameHead& frame) {
  if (IsVideoKind(frame.nType)) {
    ++m_pInfo->nVideoFrames;
    m_pInfo->u64EndStamp = std::max(m_pInfo->u64EndStamp, frame.u64Stamp);
    if (IsKeyFrame(frame.nType)) {
      ++m_pInfo->nKeyFrames;
      LookAtKeyFrame(frame);
    }
    return;
  }
  if (IsAudioKind(frame.nType)) {
    if (m_pInfo->nAudioFrames++ == 0) {
      m_pInfo->nAudioCodec = AudioCodecOf(frame);
    }
  }
}

void CMediaProbe::LookAtKeyFrame(const FrameHead& frame) {
  if (m_pInfo->nVideoCodec != ZEPHPLAY_VCODEC_NONE || frame.nLength < 5) {
    return;
  }
  std::vector<uint8_t> copy(frame.pData, frame.pData + frame.nLength);
  static constexpr uint8_t kStartCode[4] = {0, 0, 0, 1};
  std::memcpy(copy.data(), kStartCode, sizeof(kStartCode));  // as the players decode it
  const bool hevc = LooksHevc(copy[4]);
  // The decoder has the last word: a frame that does not decode either way names no codec.
  for (bool asHevc : {hevc, !hevc}) {
    if (DecodeSize(copy, asHevc, &m_pInfo->nWidth, &m_pInfo->nHeight)) {
      m_pInfo->nVideoCodec = asHevc ? ZEPHPLAY_VCODEC_H265 : ZEPHPLAY_VCODEC_H264;
      return;
    }
  }
}

bool CMediaProbe::DecodeSize(const std::vector<uint8_t>& frame, bool bHevc, uint32_t* width, uint32_t* height) {
  CVDECH264 decoder(bHevc, nullptr);  // no window, so no hardware path
  if (decoder.InitDecoder(0) == 0) {
    return false;
  }
  const uint32_t length = static_cast<uint32_t>(frame.size());
  const bool picture = decoder.DecodeOneFrame(CVDEC::kKeyFrameType, frame.data(), length, 0) == 1 ||
                       decoder.DrainOnePicture(0) == 1;
  if (picture) {
    *width = decoder.Width();
    *height = decoder.Height();
  }
  decoder.UnInit();
  return picture && *width != 0;
}

uint32_t CMediaProbe::AudioCodecOf(const FrameHead& frame) {
  const uint8_t* p = frame.pData;
  if (frame.nLength >= 7 && p[0] == 0xFF && (p[1] & 0xF6) == 0xF0) {
    return ZEPHPLAY_ACODEC_AAC;
  }
  if (frame.nLength >= 4 && p[0] == 0 && p[1] == 1 && 4u + 2u * p[2] <= frame.nLength) {
    return ZEPHPLAY_ACODEC_UNITS;
  }
  return ZEPHPLAY_ACODEC_RAW;
}

}  // namespace zp
