#pragma once
#include <cstdint>
#include <functional>
#include <string>

#include "common/CMutexLock.h"
#include "video/PictureCapture.h"
#include "video/PictureInfo.h"

namespace zp {

class IPictureOutput;

// The current decoded picture of one decoder, and what is done with it: drawn through an
// IPictureOutput (the player's CDraw), described for the player, saved as BMP or JPEG.
//
// The decoder sets the picture on its decode thread; captures and reads come from callers'
// threads. Both take Lock(), which is also the decoder's picture lock. The picture is kept by
// reference to the decoder's native record, so it is valid until the decoder's next picture.
// A draw uploads the picture under the lock and presents it after releasing it, so a slow
// display never holds up the decoder.
class CVideoDecodeData {
 public:
  static constexpr uint32_t kMinDrawIntervalMs = 16;
  static constexpr uint32_t kMinPictureSide = 100;

  // clock: milliseconds for the draw throttle (by default the platform's tick count).
  explicit CVideoDecodeData(std::function<uint32_t()> clock = nullptr);
  CVideoDecodeData(const CVideoDecodeData&) = delete;
  CVideoDecodeData& operator=(const CVideoDecodeData&) = delete;

  CMutexLock* Lock() { return &m_lock; }

  // Makes record (of the given kind) the current picture. u64Stamp is used for the kinds whose
  // record carries no stamp of the caller's (kPictureHi264). Null record: no picture.
  void SetPicture(PictureKind kind, const void* record, uint64_t u64Stamp);
  // Describes the current picture; false without one, or for an abnormal one (either side
  // below 100), which is logged.
  bool GetFrameInfo(PictureInfo* pInfo);
  // Sizes the drawing object for the current picture, re-initialising it on a size change.
  bool InitDDraw(IPictureOutput* pDraw);
  // Draws the current picture at most once per 16 ms. 1 drawn or throttled; 0 not drawable.
  int DrawFrame(IPictureOutput* pDraw);
  // 1 when written, and also when the file could not be opened (callers rely on that); 0 when
  // there is no usable picture.
  int CaptureBMP(const char* pPath);
  // 1 when written, else 0.
  int CaptureJPEG(const char* pPath);

 private:
  std::function<uint32_t()> m_clock;
  CMutexLock m_lock;
  PictureKind m_nKind = kPictureNone;
  const void* m_pRecord = nullptr;
  uint64_t m_u64RecordStamp = 0;
  uint32_t m_nLastDrawTick = 0;
  bool m_bDrawn = false;
  uint64_t m_u64Stamp = 0;       // the stamp last drawn
  std::string m_strCapturePath;
};

}  // namespace zp
