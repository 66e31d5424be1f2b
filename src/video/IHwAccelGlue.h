#pragma once
#include <cstdint>
#include <memory>

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace zp {

// The hardware-decoding glue of CVDECH264: one device and surface pool per decoder context,
// bound to the player's window, presenting decoded surfaces there itself. CVDECH264 owns one
// and drives it from its decode thread only; captures and drawing calls come under the
// decoder lock of the player. Messages go out through av_log at the FFmpeg error level.
class IHwAccelGlue {
 public:
  virtual ~IHwAccelGlue() = default;

  // Creates the per-context state ("dxva2") for ctx's codec and binds it to the window.
  // True when hardware decoding is ready on ctx.
  virtual bool Init(AVCodecContext* ctx, void* hWnd) = 0;
  // Drops the per-context state from ctx (after a failed Init, or before ctx is closed).
  virtual void Detach(AVCodecContext* ctx) = 0;
  // The get-format choice: the hardware pixel format when offered, else AV_PIX_FMT_NONE.
  virtual AVPixelFormat GetFormat(AVCodecContext* ctx, const AVPixelFormat* formats) = 0;
  // Presents a decoded hardware picture on the window: 0 on success.
  virtual int Present(AVCodecContext* ctx, const AVFrame* frame) = 0;
  // Presents the last picture again: 0 on success.
  virtual int PresentAgain() = 0;
  // Saves the last presented picture: true when written.
  virtual bool CaptureBMP(const char* path) = 0;
  virtual bool CaptureJPEG(const char* path) = 0;
  // The drawing operations of the hardware path, as CDraw's: 0 success.
  virtual int SetOSDText(uint32_t index, const char* text, uint32_t x, uint32_t y,
                         uint32_t color, uint32_t size, uint32_t flags) = 0;
  virtual int SetColorParams(uint32_t brightness, uint32_t contrast, uint32_t saturation,
                             uint32_t hue, uint32_t reset) = 0;
  // The size of the last presented picture.
  virtual int GetPictureSize(uint32_t* width, uint32_t* height) = 0;
};

// The messages of the glue, shared by every platform's implementation.
namespace hwmsg {
inline constexpr char kLoadD3D9[] = "Failed to load D3D9 library\n";
inline constexpr char kLoadDxva2[] = "Failed to load DXVA2 library\n";
inline constexpr char kLocateManager[] = "Failed to locate DXVA2CreateDirect3DDeviceManager9\n";
inline constexpr char kCreateD3D[] = "Failed to create IDirect3D object\n";
inline constexpr char kCreateDevice[] = "Failed to create Direct3D device\n";
inline constexpr char kCreateManager[] = "Failed to create Direct3D device manager\n";
inline constexpr char kBindDevice[] = "Failed to bind Direct3D device to device manager\n";
inline constexpr char kCreateService[] = "Failed to create IDirectXVideoDecoderService\n";
inline constexpr char kDeviceGuids[] = "Failed to retrieve decoder device GUIDs\n";
inline constexpr char kNoDecoderDevice[] = "No decoder device for codec found\n";
inline constexpr char kNoConfigurations[] = "Unable to retrieve decoder configurations\n";
inline constexpr char kNoValidConfiguration[] = "No valid decoder configuration available\n";
inline constexpr char kCreateSurfaces[] = "Failed to create %d video surfaces\n";
inline constexpr char kCreateDecoder[] = "Failed to create DXVA2 video decoder\n";
inline constexpr char kSurfaceArrays[] = "Unable to allocate surface arrays\n";
inline constexpr char kNoFreeSurface[] = "No free DXVA2 surface!\n";
inline constexpr char kErrorCreating[] = "Error creating the DXVA2 decoder\n";
inline constexpr char kUnsupportedProfile[] = "Unsupported H.264 profile for DXVA2 HWAccel: %d\n";
}  // namespace hwmsg

// The glue of this platform: FFmpeg hardware acceleration (VAAPI, VDPAU, CUDA on Linux; DXVA2,
// D3D11VA on Windows), the first device that opens; pictures are downloaded and drawn through
// a drawing module on the window.
std::unique_ptr<IHwAccelGlue> CreatePlatformHwAccelGlue();

}  // namespace zp
