#pragma once
#include "video/CDrawModule.h"
#include "video/IHwAccelGlue.h"
#include "video/PictureInfo.h"

namespace zp {

// The platform glue over FFmpeg hardware acceleration. The device is made on the first Init
// (the first type that opens) and kept; each picture is read back and drawn through a drawing
// module bound to the window (both through the module's hardware operations).
class CFFmpegHwGlue : public IHwAccelGlue {
 public:
  CFFmpegHwGlue();
  ~CFFmpegHwGlue() override;

  bool Init(AVCodecContext* ctx, void* hWnd) override;
  void Detach(AVCodecContext* ctx) override;
  AVPixelFormat GetFormat(AVCodecContext* ctx, const AVPixelFormat* formats) override;
  int Present(AVCodecContext* ctx, const AVFrame* frame) override;
  int PresentAgain() override;
  bool CaptureBMP(const char* path) override;
  bool CaptureJPEG(const char* path) override;
  int SetOSDText(uint32_t index, const char* text, uint32_t x, uint32_t y, uint32_t color,
                 uint32_t size, uint32_t flags) override;
  int SetColorParams(uint32_t brightness, uint32_t contrast, uint32_t saturation, uint32_t hue,
                     uint32_t reset) override;
  int GetPictureSize(uint32_t* width, uint32_t* height) override;

 private:
  bool OpenDevice(AVCodecContext* ctx);
  int Draw();

  AVBufferRef* m_pDevice = nullptr;
  AVHWDeviceType m_deviceType = AV_HWDEVICE_TYPE_NONE;
  AVPixelFormat m_hwFormat = AV_PIX_FMT_NONE;
  CDrawModule m_draw;
  void* m_hWnd = nullptr;
  PictureInfo m_last;
  bool m_bHasPicture = false;
};

}  // namespace zp
