#pragma once
#include <vector>

#include "video/CDrawModule.h"
#include "video/IHwAccelGlue.h"
#include "video/PictureInfo.h"

namespace zp {

// The platform glue over FFmpeg hardware acceleration. The device is made on the first Init
// (the first of the platform's types that opens: VAAPI, VDPAU, CUDA on Linux; DXVA2, D3D11VA on
// Windows) and kept; each picture is read back here and drawn through a drawing module bound
// to the window. Decode thread only, as IHwAccelGlue.
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

  // Reads a decoded picture back as YUV 4:2:0 planes: a hardware frame is downloaded into a
  // frame of the glue's (reused while the size holds), NV12 is split into planes of the glue's,
  // planar 4:2:0 is described as it is. Valid until the next call or the frame's release.
  // False for other formats or a failed download.
  bool RetrieveHwData(const AVFrame* pFrame, PictureInfo* pOut);

 private:
  bool OpenDevice(AVCodecContext* ctx);
  bool SplitSemiPlanar(const AVFrame* pFrame, PictureInfo* pOut);
  int Draw();

  AVBufferRef* m_pDevice = nullptr;
  AVHWDeviceType m_deviceType = AV_HWDEVICE_TYPE_NONE;
  AVPixelFormat m_hwFormat = AV_PIX_FMT_NONE;
  CDrawModule m_draw;
  void* m_hWnd = nullptr;
  PictureInfo m_last;
  bool m_bHasPicture = false;
  AVFrame* m_pDownload = nullptr;   // a hardware picture read back
  std::vector<uint8_t> m_planar;    // 4:2:0 planes split from a semi-planar picture
};

}  // namespace zp
