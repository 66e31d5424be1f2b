#pragma once
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <memory>

extern "C" {
#include <libavcodec/avcodec.h>
}

#include "video/AvDecoderCore.h"
#include "video/CVDEC.h"
#include "video/IHwAccelGlue.h"

namespace zp {

// H.264, or HEVC when made for HEVC, through libavcodec's decode loop in AvDecoderCore (one
// frame in, at most one picture out), with optional hardware decoding through an IHwAccelGlue.
//
// Hardware states (CVDEC::HwState, changed in HwTransition only): off (not wanted or not
// allowed), pending (wanted, waiting for a key frame
// whose parameter set gives a size), active (pictures presented by the glue; they do not enter
// the picture path and DecodeOneFrame returns 1), unsupported (the first start failed: final
// for this object). Failed is transient: after a presentation failure nothing is shown until
// the glue starts again, which is tried on every key frame.
class CVDECH264 : public CVDEC {
 public:
  // phWnd: address of the owner's window handle (read when the glue starts; may be null).
  // glue: the hardware glue; by default the platform's.
  CVDECH264(bool bHevc, void* const* phWnd,
            std::unique_ptr<IHwAccelGlue> glue = CreatePlatformHwAccelGlue());
  ~CVDECH264() override;

  int CaptureBMP(const char* pPath) override;
  int CaptureJPEG(const char* pPath) override;
  uint32_t InitDecoder(uint32_t nFlag) override;
  int DecodeOneFrame(uint32_t nType, const uint8_t* pData, uint32_t nLength,
                     uint64_t u64Stamp) override;
  void Refresh() override;
  int HwSetOSDText(uint32_t nIndex, const char* pText, uint32_t nX, uint32_t nY, uint32_t nColor,
                   uint32_t nSize, uint32_t nFlags) override;
  int HwSetColorParams(uint32_t nBrightness, uint32_t nContrast, uint32_t nSaturation,
                       uint32_t nHue, uint32_t nReset) override;
  int HwGetPictureSize(uint32_t* pWidth, uint32_t* pHeight) override;
  bool RefPicture(AVFrame* pDst) override;

  // Ends the stream and takes one picture the decoder still holds (reordering delay), as
  // DecodeOneFrame would have delivered it. 1 when one came out. The decoder must be
  // re-initialised (UnInit, InitDecoder) before it takes frames again.
  int DrainOnePicture(uint64_t u64Stamp);
  // Whether the owner lets this decoder use hardware decoding (off until it does).
  void SetHwAllowed(bool bAllowed) { m_bHwAllowed = bAllowed; }
  // Process-wide: with the switch off, no decoder starts hardware decoding.
  static void SetHwAccelSwitchOff(bool bOff) { s_bHwSwitchOff = bOff; }
  bool IsHevc() const { return m_bHevc; }
  // The codec context while open (for tests and the glue).
  const AVCodecContext* Context() const { return m_core.Context(); }

 private:
  // What moves the hardware state; HwTransition is the one place it changes.
  enum class HwEvent { kStarted, kStartFailed, kPresentFailed };

  static AVPixelFormat GetFormatThunk(AVCodecContext* ctx, const AVPixelFormat* formats);

  void FreeCodec() override;
  AVCodecContext* NewContext(const AVCodec* codec);
  bool ReopenForHardware(int nWidth, int nHeight, void* hWnd);
  void HwTransition(HwEvent event);
  bool HwWanted() const { return m_nDxvaWanted != 0 && m_bHwAllowed; }
  bool StartHardwareIfDue(bool bKey, const uint8_t* pData, uint32_t nLength);
  bool ProbeHardware();
  int PresentHardware(uint32_t nType, const uint8_t* pData, uint32_t nLength, uint64_t u64Stamp);
  void RestartDecoder();
  void InitDxva(int nMode, int nWidth, int nHeight);
  bool ReadParameterSetSize(const uint8_t* pData, uint32_t nLength, int* pWidth, int* pHeight);
  bool SizeChanged(int nWidth, int nHeight) const;
  int DecodeAgain(uint32_t nType, const uint8_t* pData, uint32_t nLength, uint64_t u64Stamp);
  void DeliverSoftwarePicture(uint64_t u64Stamp);
  void CheckDump();
  void CloseDumps();
  void DumpPicture();

  static std::atomic<bool> s_bHwSwitchOff;

  AvDecoderCore m_core;
  bool m_bHevc;
  void* const* m_phWnd;
  bool m_bHwAllowed = false;
  std::unique_ptr<IHwAccelGlue> m_pGlue;
  AVCodecParserContext* m_pParser = nullptr;   // reads parameter-set sizes for the glue
  AVCodecContext* m_pParserContext = nullptr;
  int m_nDecodeDepth = 0;

  std::FILE* m_pRawDump = nullptr;
  std::FILE* m_pYuvDump = nullptr;
  uint32_t m_nDumpCheckTick = 0;
  bool m_bDumpChecked = false;
};

}  // namespace zp
