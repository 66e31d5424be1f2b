#include "video/CVDECH264.h"

#include <filesystem>
#include <utility>

#include "common/CAutoLock.h"
#include "common/CLibraryConfig.h"
#include "common/LogAccess.h"
#include "common/Settings.h"
#include "platform/LocalTime.h"
#include "platform/TempFile.h"
#include "platform/Tick.h"

namespace zp {

namespace {

constexpr uint32_t kDumpCheckIntervalMs = 60000;
constexpr int kSizeTolerance = 16;
// 4096 x 2304: above every recorder's picture (4K UHD is 3840 x 2160).
constexpr int64_t kMaxPixels = int64_t{4096} * 2304;

constexpr const char* kTag = "CVDECH264::DecodeOneFrame";

int Distance(int a, int b) { return a > b ? a - b : b - a; }

}  // namespace

std::atomic<bool> CVDECH264::s_bHwSwitchOff{false};

CVDECH264::CVDECH264(bool bHevc, void* const* phWnd, std::unique_ptr<IHwAccelGlue> glue)
    : m_bHevc(bHevc), m_phWnd(phWnd), m_pGlue(std::move(glue)) {
  m_nDxvaWanted = Settings::nUseDXVA2.load(std::memory_order_relaxed) != 0 ? 1 : 0;
  // Captures on other threads read the current picture while the next one replaces it.
  m_core.SetHandOverLock(m_decodeData.Lock());
}

CVDECH264::~CVDECH264() {
  UnInit();
  av_parser_close(m_pParser);
  avcodec_free_context(&m_pParserContext);
  CloseDumps();
}

uint32_t CVDECH264::InitDecoder(uint32_t /*nFlag*/) {
  if (m_nInit != 0) {
    return m_nInit;
  }
  // Codec registration is automatic in the libavcodec we build on.
  const AVCodec* codec = avcodec_find_decoder(m_bHevc ? AV_CODEC_ID_HEVC : AV_CODEC_ID_H264);
  if (codec != nullptr && NewContext(codec) != nullptr) {
    if (m_bHevc && m_hwState != HwState::kActive) {
      m_core.Context()->thread_count = 2;
    }
    if (m_core.OpenContext()) {
      m_nInit = 1;
      m_nWaitKey = 1;
    }
  }
  if (m_nInit == 0) {
    UnInit();
  }
  LogError("%s %d", "CVDECH264::InitDecoder", m_nInit);
  return m_nInit;
}

AVCodecContext* CVDECH264::NewContext(const AVCodec* codec) {
  AVCodecContext* ctx = m_core.NewContext(codec);
  if (ctx == nullptr) {
    return nullptr;
  }
#ifdef AV_CODEC_CAP_TRUNCATED
  if ((codec->capabilities & AV_CODEC_CAP_TRUNCATED) != 0) {
    ctx->flags |= AV_CODEC_FLAG_TRUNCATED;
  }
#endif
  ctx->opaque = this;
  // A parameter set may announce any size; pictures above this are refused before their
  // buffers are made.
  ctx->max_pixels = kMaxPixels;
  return ctx;
}

void CVDECH264::FreeCodec() {
  if (m_core.Context() != nullptr) {
    m_pGlue->Detach(m_core.Context());
  }
  m_core.Close();
}

void CVDECH264::RestartDecoder() {
  UnInit();
  InitDecoder(0);
}

int CVDECH264::DecodeOneFrame(uint32_t nType, const uint8_t* pData, uint32_t nLength,
                              uint64_t u64Stamp) {
  if (pData == nullptr || nLength == 0 || nLength > INT32_MAX - AV_INPUT_BUFFER_PADDING_SIZE) {
    return 0;
  }
  const bool key = IsKeyFrame(nType);
  if (!StartHardwareIfDue(key, pData, nLength) || InitDecoder(0) == 0) {
    return 0;
  }
  if (key) {
    CheckDump();
  }
  if (m_pRawDump != nullptr) {
    std::fwrite(pData, 1, nLength, m_pRawDump);
  }
  if (!PassesKeyWait(nType)) {
    return 0;
  }
  const int result = m_core.Decode(pData, nLength, static_cast<int64_t>(u64Stamp), key);
  if (result != 1) {
    LogError(key ? "%s iframe fail data bframe:%d, %d" : "%s pframe fail data bframe:%d, %d",
             kTag, m_core.Context()->has_b_frames, result);
    return 0;
  }
  // Wanted but not running (pending, or failed): a key frame's picture tries the glue.
  if (HwWanted() && (m_hwState == HwState::kNotStarted || m_hwState == HwState::kFailed)) {
    if (!key) {
      return 0;
    }
    if (ProbeHardware()) {
      return DecodeAgain(nType, pData, nLength, u64Stamp);
    }
  }
  if (m_hwState == HwState::kActive) {
    return PresentHardware(nType, pData, nLength, u64Stamp);
  }
  if (m_hwState == HwState::kFailed) {
    return 0;
  }
  DeliverSoftwarePicture(u64Stamp);
  return 1;
}

// Before decoding, while hardware is wanted and neither unsupported nor failed: pending starts
// it on a key frame whose parameter set gives a size (other frames are dropped, false); active
// restarts it when a key frame brings another size.
bool CVDECH264::StartHardwareIfDue(bool bKey, const uint8_t* pData, uint32_t nLength) {
  if (!HwWanted() || (m_hwState != HwState::kNotStarted && m_hwState != HwState::kActive)) {
    return true;
  }
  int width = 0, height = 0;
  if (m_hwState == HwState::kActive) {
    const AVCodecContext* ctx = m_core.Context();
    if (bKey && ctx != nullptr && ReadParameterSetSize(pData, nLength, &width, &height) &&
        SizeChanged(width, height)) {
      LogInfo("%s dxva2 change! w:%d h:%d --> w:%d h:%d", kTag, ctx->coded_width,
              ctx->coded_height, width, height);
      RestartDecoder();
      InitDxva(-1, width, height);
    }
    return true;
  }
  if (!bKey) {
    return false;
  }
  if (ReadParameterSetSize(pData, nLength, &width, &height)) {
    InitDecoder(0);
    InitDxva(-1, width, height);
  }
  return true;
}

// The glue tried on the live context, which decodes on in software when it fails. True when it
// started: the decoder is then made again for the hardware at the coded size.
bool CVDECH264::ProbeHardware() {
  InitDxva(0, 0, 0);
  if (m_hwState == HwState::kUnsupported) {
    const AVFrame* f = m_core.Frame();
    LogInfo("%s dxva2 not support! w:%d h:%d c:%d", kTag, f->width, f->height, f->format);
  }
  if (m_hwState != HwState::kActive) {
    return false;
  }
  const int codedWidth = m_core.Context()->coded_width;
  const int codedHeight = m_core.Context()->coded_height;
  RestartDecoder();
  InitDxva(1, codedWidth, codedHeight);
  return true;
}

// 1 when the glue showed the picture. Otherwise failed: the glue is started again at once, and
// a key frame is decoded again if that worked.
int CVDECH264::PresentHardware(uint32_t nType, const uint8_t* pData, uint32_t nLength,
                               uint64_t u64Stamp) {
  if (m_pGlue->Present(m_core.Context(), m_core.Frame()) == 0) {
    return 1;
  }
  const int codedWidth = m_core.Context()->coded_width;
  const int codedHeight = m_core.Context()->coded_height;
  RestartDecoder();
  HwTransition(HwEvent::kPresentFailed);
  InitDxva(2, codedWidth, codedHeight);
  return m_hwState == HwState::kActive && IsKeyFrame(nType)
             ? DecodeAgain(nType, pData, nLength, u64Stamp)
             : 0;
}

void CVDECH264::HwTransition(HwEvent event) {
  switch (event) {
    case HwEvent::kStarted:
      m_hwState = HwState::kActive;
      return;
    case HwEvent::kPresentFailed:
      m_hwState = HwState::kFailed;
      return;
    case HwEvent::kStartFailed:
      if (m_hwState == HwState::kFailed) {
        // Stays failed: software decoding restarts at the next key frame, which tries again.
        m_nWaitKey = 1;
        return;
      }
      m_hwState = HwState::kUnsupported;  // a first start that fails is final
      return;
  }
}

int CVDECH264::DrainOnePicture(uint64_t u64Stamp) {
  if (m_nInit == 0 || m_hwState == HwState::kActive || m_core.Drain() != 1) {
    return 0;
  }
  DeliverSoftwarePicture(u64Stamp);
  return 1;
}

// A restarted decoder takes the same frame again. Once only: a glue that starts but cannot
// present would otherwise restart for ever on one frame.
int CVDECH264::DecodeAgain(uint32_t nType, const uint8_t* pData, uint32_t nLength,
                           uint64_t u64Stamp) {
  if (m_nDecodeDepth > 0) {
    return 0;
  }
  ++m_nDecodeDepth;
  const int result = DecodeOneFrame(nType, pData, nLength, u64Stamp);
  --m_nDecodeDepth;
  return result;
}

bool CVDECH264::RefPicture(AVFrame* pDst) {
  CAutoLock lock(m_decodeData.Lock());
  const AVFrame* frame = m_core.Frame();
  return m_hwState != HwState::kActive && frame != nullptr && frame->buf[0] != nullptr &&
         av_frame_ref(pDst, frame) == 0;
}

void CVDECH264::DeliverSoftwarePicture(uint64_t u64Stamp) {
  const AVFrame* frame = m_core.Frame();
  const AVCodecContext* ctx = m_core.Context();
  uint32_t width = static_cast<uint32_t>(frame->width);
  uint32_t height = static_cast<uint32_t>(frame->height);
  // The context may hold a smaller, cropped size than the frame's buffers.
  if (ctx->width > 0 && static_cast<uint32_t>(ctx->width) < width) {
    width = static_cast<uint32_t>(ctx->width);
  }
  if (ctx->height > 0 && static_cast<uint32_t>(ctx->height) < height) {
    height = static_cast<uint32_t>(ctx->height);
  }
  SetSize(width, height);
  PictureInfo picture;
  picture.nKey = frame->key_frame != 0 ? 1 : 0;
  picture.nWidth = width;
  picture.nHeight = height;
  picture.pY = frame->data[0];
  picture.pU = frame->data[1];
  picture.pV = frame->data[2];
  picture.nYStride = static_cast<uint32_t>(frame->linesize[0]);
  picture.nUVStride = static_cast<uint32_t>(frame->linesize[1]);
  // A reordering stream puts a picture out after later units went in: it keeps the stamp that
  // its own unit brought (libavcodec carries it along), so stamps rise in display order.
  picture.u64Stamp = frame->pts != AV_NOPTS_VALUE ? static_cast<uint64_t>(frame->pts) : u64Stamp;
  const int32_t strides[3] = {frame->linesize[0], frame->linesize[1], frame->linesize[2]};
  if (m_pYuvDump != nullptr) {
    DumpPicture();
  }
  DeliverPicture(kPictureAvFrame, frame, picture, strides, picture.u64Stamp);
}

void CVDECH264::InitDxva(int nMode, int nWidth, int nHeight) {
  if (s_bHwSwitchOff.load(std::memory_order_relaxed) || m_core.Context() == nullptr) {
    return;
  }
  void* hWnd = m_phWnd != nullptr ? *m_phWnd : nullptr;
  // A probe (mode 0) runs on the live context, which decodes on in software when it fails. A
  // start makes the context again: libavcodec takes its hardware device before it opens.
  const bool started = nMode == 0 ? m_pGlue->Init(m_core.Context(), hWnd)
                                  : ReopenForHardware(nWidth, nHeight, hWnd);
  AVCodecContext* ctx = m_core.Context();
  if (!started) {
    if (ctx != nullptr) {
      m_pGlue->Detach(ctx);
    }
    HwTransition(HwEvent::kStartFailed);
    return;
  }
  LogDetail("%s nMode:%d dxva2 ok! w:%d h:%d c:%d", "CVDECH264::InitDxva", nMode,
            ctx->coded_width, ctx->coded_height, ctx->codec_id);
  HwTransition(HwEvent::kStarted);
  ctx->get_format = &CVDECH264::GetFormatThunk;
  SetSize(static_cast<uint32_t>(ctx->coded_width), static_cast<uint32_t>(ctx->coded_height));
}

// A fresh context of the same codec with the coded size and one thread, bound to the glue
// before it opens. True when the glue took it; otherwise it is open for software decoding.
bool CVDECH264::ReopenForHardware(int nWidth, int nHeight, void* hWnd) {
  const AVCodec* codec = m_core.Context()->codec;
  m_pGlue->Detach(m_core.Context());
  // The frame object is kept; what it receives from here on may be a hardware picture, which
  // never enters the picture path.
  m_decodeData.SetPicture(kPictureNone, nullptr, 0);
  AVCodecContext* ctx = NewContext(codec);
  if (ctx == nullptr) {
    UnInit();
    return false;
  }
  ctx->coded_width = nWidth;
  ctx->coded_height = nHeight;
  ctx->thread_count = 1;
  const bool hardware = m_pGlue->Init(ctx, hWnd);
  if (hardware) {
    ctx->get_format = &CVDECH264::GetFormatThunk;
  } else {
    m_pGlue->Detach(ctx);
  }
  if (!m_core.OpenContext()) {
    UnInit();
    return false;
  }
  return hardware;
}

AVPixelFormat CVDECH264::GetFormatThunk(AVCodecContext* ctx, const AVPixelFormat* formats) {
  auto* self = static_cast<CVDECH264*>(ctx->opaque);
  const AVPixelFormat chosen = self->m_pGlue->GetFormat(ctx, formats);
  return chosen != AV_PIX_FMT_NONE ? chosen : avcodec_default_get_format(ctx, formats);
}

bool CVDECH264::ReadParameterSetSize(const uint8_t* pData, uint32_t nLength, int* pWidth,
                                     int* pHeight) {
  const AVCodecID id = m_bHevc ? AV_CODEC_ID_HEVC : AV_CODEC_ID_H264;
  if (m_pParser == nullptr) {
    m_pParser = av_parser_init(id);
    m_pParserContext = avcodec_alloc_context3(avcodec_find_decoder(id));
    if (m_pParser == nullptr || m_pParserContext == nullptr) {
      return false;
    }
    m_pParser->flags |= PARSER_FLAG_COMPLETE_FRAMES;
  }
  m_pParser->width = 0;
  m_pParser->height = 0;
  uint8_t* out = nullptr;
  int outSize = 0;
  av_parser_parse2(m_pParser, m_pParserContext, &out, &outSize, pData, static_cast<int>(nLength),
                   AV_NOPTS_VALUE, AV_NOPTS_VALUE, 0);
  *pWidth = m_pParser->width;
  *pHeight = m_pParser->height;
  return *pWidth > 0 && *pHeight > 0;
}

bool CVDECH264::SizeChanged(int nWidth, int nHeight) const {
  const AVCodecContext* ctx = m_core.Context();
  const bool widthMoved = Distance(nWidth, ctx->width) >= kSizeTolerance &&
                          Distance(nWidth, ctx->coded_width) >= kSizeTolerance;
  const bool heightMoved = Distance(nHeight, ctx->height) >= kSizeTolerance &&
                           Distance(nHeight, ctx->coded_height) >= kSizeTolerance;
  return widthMoved || heightMoved;
}

int CVDECH264::CaptureBMP(const char* pPath) {
  if (m_hwState == HwState::kActive && m_core.IsOpen()) {
    return m_pGlue->CaptureBMP(pPath) ? 1 : 0;
  }
  return CVDEC::CaptureBMP(pPath);
}

int CVDECH264::CaptureJPEG(const char* pPath) {
  if (m_hwState == HwState::kActive && m_core.IsOpen() && m_pGlue->CaptureJPEG(pPath)) {
    return 1;
  }
  return CVDEC::CaptureJPEG(pPath);
}

void CVDECH264::Refresh() {
  if (m_hwState == HwState::kActive) {
    m_pGlue->PresentAgain();
  }
}

int CVDECH264::HwSetOSDText(uint32_t nIndex, const char* pText, uint32_t nX, uint32_t nY,
                            uint32_t nColor, uint32_t nSize, uint32_t nFlags) {
  if (m_hwState != HwState::kActive) {
    return 1;
  }
  return m_pGlue->SetOSDText(nIndex, pText, nX, nY, nColor, nSize, nFlags);
}

int CVDECH264::HwSetColorParams(uint32_t nBrightness, uint32_t nContrast, uint32_t nSaturation,
                                uint32_t nHue, uint32_t nReset) {
  if (m_hwState != HwState::kActive) {
    return 1;
  }
  return m_pGlue->SetColorParams(nBrightness, nContrast, nSaturation, nHue, nReset);
}

int CVDECH264::HwGetPictureSize(uint32_t* pWidth, uint32_t* pHeight) {
  if (m_hwState != HwState::kActive) {
    return 1;
  }
  return m_pGlue->GetPictureSize(pWidth, pHeight);
}

// The debug dumps follow the "WriteFile" key, read on a key frame at most once a minute.
void CVDECH264::CheckDump() {
  const uint32_t now = platform::TickCountMs();
  if (m_nWidth < 1 || (m_bDumpChecked && now - m_nDumpCheckTick < kDumpCheckIntervalMs)) {
    return;
  }
  const AVFrame* frame = m_core.Frame();
  if (frame == nullptr || frame->linesize[0] <= 0) {
    return;
  }
  m_bDumpChecked = true;
  m_nDumpCheckTick = now;
  if (CLibraryConfig::Instance().WriteFile() == 0) {
    CloseDumps();
    return;
  }
  CloseDumps();
  const std::string folder = platform::TempDirectory() + "zephplay-dump/";
  std::error_code ignored;
  std::filesystem::create_directories(folder, ignored);
  const std::tm t = platform::LocalTimeNow();
  char name[512];
  std::snprintf(name, sizeof(name), "%s264_%04d_%02d_%02d %02d_%02d_%02d.264", folder.c_str(),
                t.tm_year + 1900, t.tm_mon + 1, t.tm_mday, t.tm_hour, t.tm_min, t.tm_sec);
  m_pRawDump = std::fopen(name, "wb");
  std::snprintf(name, sizeof(name), "%syuv_%d-%d_%d-%d_%04d_%02d_%02d %02d_%02d_%02d.yuv",
                folder.c_str(), frame->linesize[0], frame->height, m_nWidth, m_nHeight,
                t.tm_year + 1900, t.tm_mon + 1, t.tm_mday, t.tm_hour, t.tm_min, t.tm_sec);
  m_pYuvDump = std::fopen(name, "wb");
}

void CVDECH264::CloseDumps() {
  if (m_pRawDump != nullptr) {
    std::fclose(m_pRawDump);
    m_pRawDump = nullptr;
  }
  if (m_pYuvDump != nullptr) {
    std::fclose(m_pYuvDump);
    m_pYuvDump = nullptr;
  }
}

void CVDECH264::DumpPicture() {
  const AVFrame* frame = m_core.Frame();
  const int width = frame->width;
  const int height = frame->height;
  for (int plane = 0; plane < 3; ++plane) {
    const int w = plane == 0 ? width : (width + 1) / 2;
    const int h = plane == 0 ? height : (height + 1) / 2;
    for (int row = 0; row < h; ++row) {
      std::fwrite(frame->data[plane] + static_cast<ptrdiff_t>(row) * frame->linesize[plane],
                  1, static_cast<size_t>(w), m_pYuvDump);
    }
  }
}

}  // namespace zp
