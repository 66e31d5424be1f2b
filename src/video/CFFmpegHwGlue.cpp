#include "video/CFFmpegHwGlue.h"

#include <algorithm>

extern "C" {
#include <libavutil/hwcontext.h>
}

#include "video/PictureCapture.h"

namespace zp {

namespace {

bool ProfileSupported(const AVCodecContext* ctx) {
  if (ctx->codec_id != AV_CODEC_ID_H264) {
    return true;
  }
  switch (ctx->profile) {
    case FF_PROFILE_H264_HIGH_10:
    case FF_PROFILE_H264_HIGH_10_INTRA:
    case FF_PROFILE_H264_HIGH_422:
    case FF_PROFILE_H264_HIGH_422_INTRA:
    case FF_PROFILE_H264_HIGH_444_PREDICTIVE:
    case FF_PROFILE_H264_HIGH_444_INTRA:
    case FF_PROFILE_H264_CAVLC_444:
      return false;
    default:
      return true;
  }
}

}  // namespace

CFFmpegHwGlue::CFFmpegHwGlue() = default;

CFFmpegHwGlue::~CFFmpegHwGlue() {
  av_frame_free(&m_pDownload);
  av_buffer_unref(&m_pDevice);
}

bool CFFmpegHwGlue::OpenDevice(AVCodecContext* ctx) {
  if (m_pDevice != nullptr) {
    return true;
  }
#if defined(_WIN32)
  constexpr AVHWDeviceType kTypes[] = {AV_HWDEVICE_TYPE_DXVA2, AV_HWDEVICE_TYPE_D3D11VA};
#else
  constexpr AVHWDeviceType kTypes[] = {AV_HWDEVICE_TYPE_VAAPI, AV_HWDEVICE_TYPE_VDPAU,
                                       AV_HWDEVICE_TYPE_CUDA};
#endif
  for (AVHWDeviceType type : kTypes) {
    if (av_hwdevice_ctx_create(&m_pDevice, type, nullptr, nullptr, 0) == 0) {
      m_deviceType = type;
      return true;
    }
  }
  av_log(ctx, AV_LOG_ERROR, hwmsg::kCreateDevice);
  return false;
}

bool CFFmpegHwGlue::Init(AVCodecContext* ctx, void* hWnd) {
  Detach(ctx);
  // Pictures are presented on the window: without one there is nothing to decode for.
  if (hWnd == nullptr || !OpenDevice(ctx)) {
    if (hWnd == nullptr) {
      av_log(ctx, AV_LOG_ERROR, hwmsg::kCreateDevice);
    }
    return false;
  }
  m_hwFormat = AV_PIX_FMT_NONE;
  for (int i = 0;; ++i) {
    const AVCodecHWConfig* config = avcodec_get_hw_config(ctx->codec, i);
    if (config == nullptr) {
      break;
    }
    if ((config->methods & AV_CODEC_HW_CONFIG_METHOD_HW_DEVICE_CTX) != 0 &&
        config->device_type == m_deviceType) {
      m_hwFormat = config->pix_fmt;
      break;
    }
  }
  if (m_hwFormat == AV_PIX_FMT_NONE) {
    av_log(ctx, AV_LOG_ERROR, hwmsg::kNoDecoderDevice);
    return false;
  }
  if (!ProfileSupported(ctx)) {
    av_log(ctx, AV_LOG_ERROR, hwmsg::kUnsupportedProfile, ctx->profile);
    return false;
  }
  ctx->hw_device_ctx = av_buffer_ref(m_pDevice);
  if (ctx->hw_device_ctx == nullptr) {
    av_log(ctx, AV_LOG_ERROR, hwmsg::kErrorCreating);
    return false;
  }
  m_hWnd = hWnd;
  m_draw.SetHwnd(hWnd);
  return true;
}

void CFFmpegHwGlue::Detach(AVCodecContext* ctx) {
  if (ctx != nullptr) {
    av_buffer_unref(&ctx->hw_device_ctx);
  }
}

AVPixelFormat CFFmpegHwGlue::GetFormat(AVCodecContext* ctx, const AVPixelFormat* formats) {
  for (const AVPixelFormat* p = formats; *p != AV_PIX_FMT_NONE; ++p) {
    if (*p == m_hwFormat) {
      return *p;
    }
  }
  av_log(ctx, AV_LOG_ERROR, hwmsg::kNoValidConfiguration);
  return AV_PIX_FMT_NONE;
}

int CFFmpegHwGlue::Present(AVCodecContext* ctx, const AVFrame* frame) {
  if (m_hWnd == nullptr || frame == nullptr) {
    return -1;
  }
  if (!RetrieveHwData(frame, &m_last)) {
    av_log(ctx, AV_LOG_ERROR, hwmsg::kNoFreeSurface);
    m_bHasPicture = false;
    return -1;
  }
  // Only a picture read back into the module's memory outlives this call (redraws, captures).
  m_bHasPicture = frame->hw_frames_ctx != nullptr;
  return Draw();
}

bool CFFmpegHwGlue::RetrieveHwData(const AVFrame* pFrame, PictureInfo* pOut) {
  if (pFrame == nullptr || pOut == nullptr) {
    return false;
  }
  const AVFrame* picture = pFrame;
  if (pFrame->hw_frames_ctx != nullptr) {
    if (m_pDownload == nullptr && (m_pDownload = av_frame_alloc()) == nullptr) {
      return false;
    }
    if (m_pDownload->buf[0] != nullptr &&
        (m_pDownload->width != pFrame->width || m_pDownload->height != pFrame->height)) {
      av_frame_unref(m_pDownload);  // a new size: new buffers; otherwise the old ones are reused
    }
    if (av_hwframe_transfer_data(m_pDownload, pFrame, 0) < 0) {
      return false;
    }
    picture = m_pDownload;
  }
  if (picture->width <= 0 || picture->height <= 0) {
    return false;
  }
  pOut->nWidth = static_cast<uint32_t>(picture->width);
  pOut->nHeight = static_cast<uint32_t>(picture->height);
  pOut->u64Stamp = static_cast<uint64_t>(pFrame->pts);
  pOut->nKey = pFrame->key_frame != 0 ? 1 : 0;
  if (picture->format == AV_PIX_FMT_YUV420P || picture->format == AV_PIX_FMT_YUVJ420P) {
    pOut->pY = picture->data[0];
    pOut->pU = picture->data[1];
    pOut->pV = picture->data[2];
    pOut->nYStride = static_cast<uint32_t>(picture->linesize[0]);
    pOut->nUVStride = static_cast<uint32_t>(picture->linesize[1]);
    return true;
  }
  return picture->format == AV_PIX_FMT_NV12 && SplitSemiPlanar(picture, pOut);
}

// pOut already holds the size.
bool CFFmpegHwGlue::SplitSemiPlanar(const AVFrame* pFrame, PictureInfo* pOut) {
  const size_t w = pOut->nWidth, h = pOut->nHeight, cw = (w + 1) / 2, ch = (h + 1) / 2;
  if (m_planar.size() != w * h + 2 * cw * ch) {
    m_planar.assign(w * h + 2 * cw * ch, 0);
  }
  uint8_t* y = m_planar.data();
  uint8_t* u = y + w * h;
  uint8_t* v = u + cw * ch;
  for (size_t row = 0; row < h; ++row) {
    std::copy_n(pFrame->data[0] + row * pFrame->linesize[0], w, y + row * w);
  }
  for (size_t row = 0; row < ch; ++row) {
    const uint8_t* uv = pFrame->data[1] + row * pFrame->linesize[1];
    for (size_t x = 0; x < cw; ++x) {
      u[row * cw + x] = uv[2 * x];
      v[row * cw + x] = uv[2 * x + 1];
    }
  }
  pOut->pY = y;
  pOut->pU = u;
  pOut->pV = v;
  pOut->nYStride = static_cast<uint32_t>(w);
  pOut->nUVStride = static_cast<uint32_t>(cw);
  return true;
}

int CFFmpegHwGlue::Draw() {
  if (!m_draw.IsInitialised() || m_draw.Width() != m_last.nWidth ||
      m_draw.Height() != m_last.nHeight) {
    if (m_draw.InitDraw(m_last.nWidth, m_last.nHeight, 0) != 0) {
      return -1;
    }
  }
  return m_draw.DrawYUV420(m_last.pY, m_last.pU, m_last.pV, m_last.nYStride, m_last.nUVStride, 1,
                           m_last.u64Stamp);
}

int CFFmpegHwGlue::PresentAgain() { return m_bHasPicture ? Draw() : -1; }

bool CFFmpegHwGlue::CaptureBMP(const char* path) {
  return m_bHasPicture && SavePictureBMP(m_last, path) == CaptureResult::kWritten;
}

bool CFFmpegHwGlue::CaptureJPEG(const char* path) {
  return m_bHasPicture && SavePictureJPEG(m_last, path) == CaptureResult::kWritten;
}

int CFFmpegHwGlue::SetOSDText(uint32_t index, const char* text, uint32_t x, uint32_t y,
                              uint32_t color, uint32_t size, uint32_t flags) {
  return m_draw.SetOSDText(index, text, x, y, color, size, flags);
}

int CFFmpegHwGlue::SetColorParams(uint32_t brightness, uint32_t contrast, uint32_t saturation,
                                  uint32_t hue, uint32_t reset) {
  return m_draw.SetColorParams(brightness, contrast, saturation, hue, reset);
}

int CFFmpegHwGlue::GetPictureSize(uint32_t* width, uint32_t* height) {
  if (width == nullptr || height == nullptr || !m_bHasPicture) {
    return -1;
  }
  *width = m_last.nWidth;
  *height = m_last.nHeight;
  return 0;
}

std::unique_ptr<IHwAccelGlue> CreatePlatformHwAccelGlue() {
  return std::make_unique<CFFmpegHwGlue>();
}

}  // namespace zp
