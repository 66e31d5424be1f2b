#include "video/CVDECH264.h"

#include <filesystem>
#include <utility>

#include "common/CAutoLock.h"
#include "common/CLibraryConfig.h"
#include "common/Settings.h"
#include "common/LogAccess.h"
#include "platform/LocalTime.h"
#include "platform/TempFile.h"
#include "platform/Tick.h"

namespace zp {

namespace {

constexpr uint32_t kDumpCheckIntervalMs = 60000;
constexpr int kSizeTolerance = 16;
// 4096 x 2304: above every recorder's picture (4K UHD is 3840 x 2160).
constexpr int64_t kMaxPixels = int64_t{4096} * 2304;

int Distance(int a, int b) { return a > b ? a - b : b - a; }

}  // namespace

std::atomic<bool> CVDECH264::s_bHwSwitchOff{false};

CVDECH264::CVDECH264(bool bHevc, void* const* phWnd, std::unique_ptr<IHwAccelGlue> glue)
    : m_bHevc(bHevc), m_phWnd(phWnd), m_pGlue(std::move(glue)) {
  m_nDxvaWanted = Settings::nUseDXVA2.load(std::memory_order_relaxed) != 0 ? 1 : 0;
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
  if (codec != nullptr) {
    m_pContext = NewContext(codec);
    m_pFrame = av_frame_alloc();
    m_pNext = av_frame_alloc();
    m_pPacket = av_packet_alloc();
  }
  if (m_pContext != nullptr && m_pFrame != nullptr && m_pNext != nullptr && m_pPacket != nullptr) {
    if (m_bHevc && m_nDxvaActive == 0) {
      m_pContext->thread_count = 2;
    }
    if (avcodec_open2(m_pContext, codec, nullptr) == 0) {
      m_bOpened = true;
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
  AVCodecContext* ctx = avcodec_alloc_context3(codec);
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

int CVDECH264::UnInit() {
  m_decodeData.SetPicture(kPictureNone, nullptr, 0);
  if (m_pContext != nullptr) {
    m_pGlue->Detach(m_pContext);
  }
  avcodec_free_context(&m_pContext);
  av_frame_free(&m_pFrame);
  av_frame_free(&m_pNext);
  av_packet_free(&m_pPacket);
  m_bOpened = false;
  m_nInit = 0;
  return 0;
}

bool CVDECH264::HwEligible() const {
  return m_nDxvaWanted != 0 && m_bHwAllowed && m_nDxvaUnsupported == 0 && m_nDxvaFailed == 0;
}

int CVDECH264::DecodeOneFrame(uint32_t nType, const uint8_t* pData, uint32_t nLength,
                              uint64_t u64Stamp) {
  static const char* const kTag = "CVDECH264::DecodeOneFrame";
  if (pData == nullptr || nLength == 0 || nLength > INT32_MAX - AV_INPUT_BUFFER_PADDING_SIZE) {
    return 0;
  }
  const bool key = IsKeyFrame(nType);
  if (HwEligible()) {
    int width = 0, height = 0;
    if (m_nDxvaActive != 0) {
      if (key && m_pContext != nullptr && ReadParameterSetSize(pData, nLength, &width, &height) &&
          SizeChanged(width, height)) {
        LogInfo("%s dxva2 change! w:%d h:%d --> w:%d h:%d", kTag, m_pContext->coded_width,
                m_pContext->coded_height, width, height);
        UnInit();
        InitDecoder(0);
        InitDxva(-1, width, height);
      }
    } else {
      if (!key) {
        return 0;
      }
      if (ReadParameterSetSize(pData, nLength, &width, &height)) {
        InitDecoder(0);
        InitDxva(-1, width, height);
      }
    }
  }
  InitDecoder(0);
  if (m_nInit == 0) {
    return 0;
  }
  if (key) {
    CheckDump();
  }
  if (m_pRawDump != nullptr) {
    std::fwrite(pData, 1, nLength, m_pRawDump);
  }
  if (m_nWaitKey != 0) {
    if (!key) {
      return 0;
    }
    m_nWaitKey = 0;
  }
  const int result = Decode(pData, nLength, u64Stamp, key);
  if (result != 1) {
    if (key) {
      LogError("%s iframe fail data bframe:%d, %d", kTag, m_pContext->has_b_frames, result);
    } else {
      LogError("%s pframe fail data bframe:%d, %d", kTag, m_pContext->has_b_frames, result);
    }
    return 0;
  }
  if (m_nDxvaWanted != 0 && m_bHwAllowed && m_nDxvaUnsupported == 0 && m_nDxvaActive == 0) {
    if (!key) {
      return 0;
    }
    InitDxva(0, 0, 0);
    if (m_nDxvaUnsupported != 0) {
      LogInfo("%s dxva2 not support! w:%d h:%d c:%d", kTag, m_pFrame->width, m_pFrame->height,
              m_pFrame->format);
    }
    if (m_nDxvaActive != 0) {
      const int codedWidth = m_pContext->coded_width;
      const int codedHeight = m_pContext->coded_height;
      UnInit();
      InitDecoder(0);
      InitDxva(1, codedWidth, codedHeight);
      return DecodeAgain(nType, pData, nLength, u64Stamp);
    }
  }
  if (m_nDxvaActive != 0) {
    if (m_pGlue->Present(m_pContext, m_pFrame) == 0) {
      return 1;
    }
    const int codedWidth = m_pContext->coded_width;
    const int codedHeight = m_pContext->coded_height;
    UnInit();
    InitDecoder(0);
    m_nDxvaFailed = 1;
    InitDxva(2, codedWidth, codedHeight);
    return m_nDxvaActive != 0 && key ? DecodeAgain(nType, pData, nLength, u64Stamp) : 0;
  }
  if (m_nDxvaFailed != 0) {
    return 0;
  }
  DeliverSoftwarePicture(u64Stamp);
  return 1;
}

int CVDECH264::DrainOnePicture(uint64_t u64Stamp) {
  if (m_nInit == 0 || m_nDxvaActive != 0) {
    return 0;
  }
  avcodec_send_packet(m_pContext, nullptr);
  if (Receive() != 1) {
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

void CVDECH264::DeliverSoftwarePicture(uint64_t u64Stamp) {
  uint32_t width = static_cast<uint32_t>(m_pFrame->width);
  uint32_t height = static_cast<uint32_t>(m_pFrame->height);
  // The context may hold a smaller, cropped size than the frame's buffers.
  if (m_pContext->width > 0 && static_cast<uint32_t>(m_pContext->width) < width) {
    width = static_cast<uint32_t>(m_pContext->width);
  }
  if (m_pContext->height > 0 && static_cast<uint32_t>(m_pContext->height) < height) {
    height = static_cast<uint32_t>(m_pContext->height);
  }
  SetSize(width, height);
  PictureInfo picture;
  picture.nKey = m_pFrame->key_frame != 0 ? 1 : 0;
  picture.nWidth = width;
  picture.nHeight = height;
  picture.pY = m_pFrame->data[0];
  picture.pU = m_pFrame->data[1];
  picture.pV = m_pFrame->data[2];
  picture.nYStride = static_cast<uint32_t>(m_pFrame->linesize[0]);
  picture.nUVStride = static_cast<uint32_t>(m_pFrame->linesize[1]);
  picture.u64Stamp = u64Stamp;
  const int32_t strides[3] = {m_pFrame->linesize[0], m_pFrame->linesize[1], m_pFrame->linesize[2]};
  if (m_pYuvDump != nullptr) {
    DumpPicture();
  }
  DeliverPicture(kPictureAvFrame, m_pFrame, picture, strides, u64Stamp);
}

// One frame in: it is sent, and at most one picture is taken. Returns 1 with a picture in
// m_pFrame, else the libavcodec result (negative).
int CVDECH264::Decode(const uint8_t* pData, uint32_t nLength, uint64_t u64Stamp, bool bKey) {
  m_pPacket->data = const_cast<uint8_t*>(pData);
  m_pPacket->size = static_cast<int>(nLength);
  m_pPacket->pts = static_cast<int64_t>(u64Stamp);
  m_pPacket->flags = bKey ? AV_PKT_FLAG_KEY : 0;
  int sent = avcodec_send_packet(m_pContext, m_pPacket);
  int got = AVERROR(EAGAIN);
  if (sent == AVERROR(EAGAIN)) {
    // The decoder holds a picture it wants taken first: that one is this call's picture.
    got = Receive();
    sent = avcodec_send_packet(m_pContext, m_pPacket);
  }
  m_pPacket->data = nullptr;
  m_pPacket->size = 0;
  if (got == 1) {
    return 1;
  }
  if (sent < 0) {
    return sent;
  }
  return Receive();
}

int CVDECH264::Receive() {
  const int r = avcodec_receive_frame(m_pContext, m_pNext);
  if (r < 0) {
    return r;
  }
  {
    // The current picture is read by captures on other threads.
    CAutoLock lock(m_decodeData.Lock());
    av_frame_unref(m_pFrame);
    std::swap(m_pFrame, m_pNext);
    m_decodeData.SetPicture(kPictureNone, nullptr, 0);
  }
  return 1;
}

void CVDECH264::InitDxva(int nMode, int nWidth, int nHeight) {
  if (s_bHwSwitchOff.load(std::memory_order_relaxed) || m_pContext == nullptr) {
    return;
  }
  void* hWnd = m_phWnd != nullptr ? *m_phWnd : nullptr;
  // A probe (mode 0) runs on the live context, which decodes on in software when it fails. A
  // start makes the context again: libavcodec takes its hardware device before it opens.
  const bool started = nMode == 0 ? m_pGlue->Init(m_pContext, hWnd)
                                  : ReopenForHardware(nWidth, nHeight, hWnd);
  if (!started) {
    if (m_pContext != nullptr) {
      m_pGlue->Detach(m_pContext);
    }
    if (m_nDxvaFailed == 0) {
      m_nDxvaUnsupported = 1;
    } else {
      m_nWaitKey = 1;  // software decoding restarts at the next key frame
    }
    // Not active any more: the next key frame tries the glue again while failed is set.
    m_nDxvaActive = 0;
    return;
  }
  LogDetail("%s nMode:%d dxva2 ok! w:%d h:%d c:%d", "CVDECH264::InitDxva", nMode,
            m_pContext->coded_width, m_pContext->coded_height, m_pContext->codec_id);
  m_nDxvaActive = 1;
  m_nDxvaFailed = 0;
  m_pContext->get_format = &CVDECH264::GetFormatThunk;
  SetSize(static_cast<uint32_t>(m_pContext->coded_width),
          static_cast<uint32_t>(m_pContext->coded_height));
}

// A fresh context of the same codec with the coded size and one thread, bound to the glue
// before it opens. True when the glue took it; otherwise it is open for software decoding.
bool CVDECH264::ReopenForHardware(int nWidth, int nHeight, void* hWnd) {
  const AVCodec* codec = m_pContext->codec;
  m_pGlue->Detach(m_pContext);
  avcodec_free_context(&m_pContext);
  m_pContext = NewContext(codec);
  if (m_pContext == nullptr) {
    UnInit();
    return false;
  }
  m_pContext->coded_width = nWidth;
  m_pContext->coded_height = nHeight;
  m_pContext->thread_count = 1;
  const bool hardware = m_pGlue->Init(m_pContext, hWnd);
  if (hardware) {
    m_pContext->get_format = &CVDECH264::GetFormatThunk;
  } else {
    m_pGlue->Detach(m_pContext);
  }
  if (avcodec_open2(m_pContext, codec, nullptr) != 0) {
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
  const bool widthMoved = Distance(nWidth, m_pContext->width) >= kSizeTolerance &&
                          Distance(nWidth, m_pContext->coded_width) >= kSizeTolerance;
  const bool heightMoved = Distance(nHeight, m_pContext->height) >= kSizeTolerance &&
                           Distance(nHeight, m_pContext->coded_height) >= kSizeTolerance;
  return widthMoved || heightMoved;
}

int CVDECH264::CaptureBMP(const char* pPath) {
  if (m_nDxvaActive != 0 && m_bOpened) {
    return m_pGlue->CaptureBMP(pPath) ? 1 : 0;
  }
  return CVDEC::CaptureBMP(pPath);
}

int CVDECH264::CaptureJPEG(const char* pPath) {
  if (m_nDxvaActive != 0 && m_bOpened && m_pGlue->CaptureJPEG(pPath)) {
    return 1;
  }
  return CVDEC::CaptureJPEG(pPath);
}

void CVDECH264::Refresh() {
  if (m_nDxvaActive != 0) {
    m_pGlue->PresentAgain();
  }
}

int CVDECH264::HwSetOSDText(uint32_t nIndex, const char* pText, uint32_t nX, uint32_t nY,
                            uint32_t nColor, uint32_t nSize, uint32_t nFlags) {
  if (m_nDxvaActive == 0) {
    return 1;
  }
  return m_pGlue->SetOSDText(nIndex, pText, nX, nY, nColor, nSize, nFlags);
}

int CVDECH264::HwSetColorParams(uint32_t nBrightness, uint32_t nContrast, uint32_t nSaturation,
                                uint32_t nHue, uint32_t nReset) {
  if (m_nDxvaActive == 0) {
    return 1;
  }
  return m_pGlue->SetColorParams(nBrightness, nContrast, nSaturation, nHue, nReset);
}

int CVDECH264::HwGetPictureSize(uint32_t* pWidth, uint32_t* pHeight) {
  if (m_nDxvaActive == 0) {
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
  if (m_pFrame == nullptr || m_pFrame->linesize[0] <= 0) {
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
                folder.c_str(), m_pFrame->linesize[0], m_pFrame->height, m_nWidth, m_nHeight,
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
  const int width = m_pFrame->width;
  const int height = m_pFrame->height;
  for (int plane = 0; plane < 3; ++plane) {
    const int w = plane == 0 ? width : (width + 1) / 2;
    const int h = plane == 0 ? height : (height + 1) / 2;
    for (int row = 0; row < h; ++row) {
      std::fwrite(m_pFrame->data[plane] + static_cast<ptrdiff_t>(row) * m_pFrame->linesize[plane],
                  1, static_cast<size_t>(w), m_pYuvDump);
    }
  }
}

}  // namespace zp
