#pragma once
#include <cstdint>

#include "common/CMutexLock.h"
#include "video/CVideoDecodeData.h"
#include "zephplay.h"

struct AVFrame;

namespace zp {

// A video decoder: one compressed frame in, at most one picture out, in decode order.
//
// Contract with its owner (the player):
//  - InitDecoder, then DecodeOneFrame for each frame in decode order, UnInit and InitDecoder to
//    start again, delete to destroy; all on one thread (the player's decode thread), under the
//    player's decoder lock.
//  - DecodeOneFrame returns 1 when a picture came out: it is then the current picture of
//    DecodeData() (valid until the next DecodeOneFrame or UnInit), the picture callback has
//    been called with it, and the size callback when its size changed. 0 otherwise: no error
//    is reported beyond that, the owner simply feeds the next frame.
//  - Frames before the first key frame (type kKeyFrameType, any sub-code) are dropped.
//  - Captures, GetPicture and the drawing operations may come from other threads; they take
//    the picture lock.
class CVDEC {
 public:
  static constexpr uint32_t kKeyFrameType = 0x63643000;

  // Hardware decoding (CVDECH264 only; the others stay kNotStarted). Off and pending are both
  // kNotStarted: which of them depends on whether it is wanted and allowed. Unsupported is
  // final; failed lasts until the glue starts again.
  enum class HwState : uint8_t { kNotStarted, kActive, kUnsupported, kFailed };

  CVDEC() = default;
  virtual ~CVDEC() = default;
  CVDEC(const CVDEC&) = delete;
  CVDEC& operator=(const CVDEC&) = delete;

  // Slot 1, 2: the current picture saved as BMP / JPEG (CVideoDecodeData's results).
  virtual int CaptureBMP(const char* pPath);
  virtual int CaptureJPEG(const char* pPath);
  // Slot 3: prepares the decoder; returns the initialised flag.
  virtual uint32_t InitDecoder(uint32_t nFlag) = 0;
  // Slot 4: see the contract above.
  virtual int DecodeOneFrame(uint32_t nType, const uint8_t* pData, uint32_t nLength,
                             uint64_t u64Stamp) = 0;
  // Slot 5: the current picture's description under the picture lock; false without one.
  virtual bool GetPicture(PictureInfo* pOut);
  // Slot 6: drops the current picture, frees the codec, clears initialised; returns 0.
  int UnInit();
  // Slot 7: redraws in the hardware path; nothing here.
  virtual void Refresh() {}
  // Slot 8: InitDecoder again.
  virtual uint32_t Reinit(uint32_t nFlag, uint32_t /*a*/, uint32_t /*b*/) { return InitDecoder(nFlag); }
  // Slots 9-11: drawing in the hardware path (1: not in the hardware path).
  virtual int HwSetOSDText(uint32_t /*nIndex*/, const char* /*pText*/, uint32_t /*nX*/,
                           uint32_t /*nY*/, uint32_t /*nColor*/, uint32_t /*nSize*/,
                           uint32_t /*nFlags*/) { return 1; }
  virtual int HwSetColorParams(uint32_t /*nBrightness*/, uint32_t /*nContrast*/,
                               uint32_t /*nSaturation*/, uint32_t /*nHue*/,
                               uint32_t /*nReset*/) { return 1; }
  virtual int HwGetPictureSize(uint32_t* /*pWidth*/, uint32_t* /*pHeight*/) { return 1; }
  // A reference to the current picture's buffers in pDst (left empty by the caller), for
  // decoders whose pictures are reference-counted: it outlives the next decode and UnInit.
  // False for the others; the caller then copies the planes GetPicture describes.
  virtual bool RefPicture(AVFrame* /*pDst*/) { return false; }

  // Hardware decoding is in use while it is active or has failed and not yet recovered.
  bool IsDxvaInUse() const { return m_hwState == HwState::kActive || m_hwState == HwState::kFailed; }
  bool IsInit() const { return m_nInit != 0; }

  void SetDecCallBack(uint64_t u64User, ZEPHPLAY_DecCallBack pfn);
  void SetSizeCallBack(ZEPHPLAY_SizeCallBack pfn, uint64_t u64User);
  // From the stream attribute: 4 D1, 5 720P, 6 1080P, anything else 2.
  void SetPictureClass(uint8_t nClass);
  void SetWatermarkOption(int8_t nOption) { m_i8Watermark = nOption; }
  int8_t WatermarkOption() const { return m_i8Watermark; }
  // Set by the player when its queue runs long; decoders may cut corners while it is set.
  void SetLate(bool bLate) { m_bLate = bLate; }
  void SetDecoderType(uint32_t nType) { m_nDecoderType = nType; }
  uint32_t DecoderType() const { return m_nDecoderType; }
  uint32_t Width() const { return m_nWidth; }
  uint32_t Height() const { return m_nHeight; }
  uint8_t PictureClass() const { return m_u8PicClass; }
  CVideoDecodeData* DecodeData() { return &m_decodeData; }

  uint32_t DxvaWanted() const { return m_nDxvaWanted; }
  uint32_t DxvaUnsupported() const { return m_hwState == HwState::kUnsupported ? 1 : 0; }
  uint32_t DxvaActive() const { return m_hwState == HwState::kActive ? 1 : 0; }
  uint32_t DxvaFailed() const { return m_hwState == HwState::kFailed ? 1 : 0; }

 protected:
  // By class: files hand key frames over as 0x63643000, streams with a sub-code (0x63643030).
  static bool IsKeyFrame(uint32_t nType) { return (nType & 0xFFFFFF00u) == kKeyFrameType; }
  // Frees the decoder's codec (UnInit's own part).
  virtual void FreeCodec() = 0;
  // While waiting for a key frame, false for any other frame; a key frame ends the wait.
  bool PassesKeyWait(uint32_t nType);
  // Records the picture size; calls the size callback when it changed.
  void SetSize(uint32_t nWidth, uint32_t nHeight);
  // Makes record the current picture and calls the picture callback with it.
  void DeliverPicture(PictureKind kind, const void* record, const PictureInfo& picture,
                      const int32_t strides[3], uint64_t u64Stamp);
  // The same for pictures whose two chroma planes share one stride, stamped with the picture's.
  void DeliverPicture(PictureKind kind, const void* record, const PictureInfo& picture);

  uint32_t m_nInit = 0;
  uint32_t m_nWaitKey = 1;
  CMutexLock m_cbLock;
  ZEPHPLAY_DecCallBack m_pfnDecCallBack = nullptr;
  uint64_t m_u64DecUser = 0;
  ZEPHPLAY_SizeCallBack m_pfnSizeCallBack = nullptr;
  uint64_t m_u64SizeUser = 0;
  CVideoDecodeData m_decodeData;
  uint32_t m_nWidth = 0;
  uint32_t m_nHeight = 0;
  uint8_t m_u8PicClass = 2;
  int8_t m_i8Watermark = 0;
  uint32_t m_nDxvaWanted = 0;
  HwState m_hwState = HwState::kNotStarted;
  bool m_bLate = false;
  uint32_t m_nDecoderType = 0;
};

}  // namespace zp
