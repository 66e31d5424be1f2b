#include "audio/CAENCAac.h"

#include <cstring>
#include <new>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/channel_layout.h>
}

#include "audio/CADEC.h"
#include "common/LogAccess.h"

namespace zp {
namespace {

constexpr const char* kInit = "CAENCAac::InitEncoder";

// The ISO/IEC 14496-3 sampling_frequency_index of a rate; 15 when there is none.
uint8_t RateIndex(uint32_t rate) {
  static constexpr uint32_t kRates[13] = {96000, 88200, 64000, 48000, 44100, 32000, 24000,
                                          22050, 16000, 12000, 11025, 8000,  7350};
  for (uint8_t i = 0; i < 13; ++i) {
    if (kRates[i] == rate) {
      return i;
    }
  }
  return 15;
}

}  // namespace

CAENCAac::~CAENCAac() { Release(); }

void CAENCAac::Release() {
  avcodec_free_context(&m_hEncoder);
  av_frame_free(&m_pFrame);
  av_packet_free(&m_pPacket);
}

bool CAENCAac::OpenCodec(uint32_t rate) {
  const AVCodec* codec = avcodec_find_encoder_by_name("aac");
  m_hEncoder = codec != nullptr ? avcodec_alloc_context3(codec) : nullptr;
  m_pFrame = av_frame_alloc();
  m_pPacket = av_packet_alloc();
  if (m_hEncoder == nullptr || m_pFrame == nullptr || m_pPacket == nullptr) {
    LogInfo("%s Unable to initialize the encoder", kInit);
    return false;
  }
  m_hEncoder->profile = FF_PROFILE_AAC_LOW;
  m_hEncoder->sample_rate = static_cast<int>(rate);
  m_hEncoder->sample_fmt = AV_SAMPLE_FMT_FLTP;
  if (av_channel_layout_from_mask(&m_hEncoder->ch_layout, AV_CH_LAYOUT_MONO) < 0) {
    LogInfo("%s Unable to set the channel mode", kInit);
    return false;
  }
  // Without a tuning the bit rate stays the encoder's own default. A rate without an index
  // (40000) is refused.
  if (!OpenTuned(codec)) {
    LogInfo("%s Unable to initialize the encoder", kInit);
    return false;
  }
  if (m_hEncoder->frame_size != static_cast<int>(kFrameSamples)) {
    LogInfo("%s Unable to get the encoder info", kInit);
    return false;
  }
  m_pFrame->format = AV_SAMPLE_FMT_FLTP;
  m_pFrame->nb_samples = static_cast<int>(kFrameSamples);
  m_pFrame->sample_rate = static_cast<int>(rate);
  if (av_channel_layout_copy(&m_pFrame->ch_layout, &m_hEncoder->ch_layout) < 0 ||
      av_frame_get_buffer(m_pFrame, 0) < 0) {
    LogInfo("%s Unable to initialize the encoder", kInit);
    return false;
  }
  return true;
}

bool CAENCAac::OpenTuned(const AVCodec* codec) {
  if (m_Tuning.bitRate != 0) {
    m_hEncoder->bit_rate = m_Tuning.bitRate;
  }
  AVDictionary* options = nullptr;
  if (m_Tuning.fastSearch) {
    // The default search tries quantisers over and over for every frame; this one takes them
    // from the psychoacoustic thresholds in one pass.
    av_dict_set(&options, "aac_coder", "fast", 0);
  }
  const int opened = avcodec_open2(m_hEncoder, codec, &options);
  av_dict_free(&options);
  return opened >= 0;
}

int CAENCAac::InitEncoder() {
  Release();
  const uint32_t rate = CADEC::AacRateOfCoder(m_nCoderType);
  m_nRateIndex = RateIndex(rate);
  if (!OpenCodec(rate)) {
    Release();
    return 0;
  }
  m_nNextPts = 0;
  m_bDraining = false;
  m_nInputFrameLen = kFrameSamples;
  m_pOutBuffer.reset(new (std::nothrow) uint8_t[kOutBufferSize]);
  m_nOutBufferSize = m_pOutBuffer != nullptr ? kOutBufferSize : 0;
  // 1024 samples x 16 bits x 1 channel.
  return m_pOutBuffer != nullptr && ResetBuffer(m_nInputFrameLen * 16 * 1 / 8) ? 1 : 0;
}

int CAENCAac::EncoderFrame(const uint8_t* in, uint32_t inLen, uint8_t* out, uint32_t* outLen) {
  *outLen = 0;
  if (m_hEncoder == nullptr) {
    return 0;
  }
  while (inLen > 0) {
    const uint32_t take = inLen < m_nBufferSize - m_nHeld ? inLen : m_nBufferSize - m_nHeld;
    std::memcpy(m_pBuffer.get() + m_nHeld, in, take);
    m_nHeld += take;
    in += take;
    inLen -= take;
    if (m_nHeld == m_nBufferSize) {
      EncAac(out, outLen);
      m_nHeld = 0;
    }
  }
  return 1;
}

void CAENCAac::EncAac(uint8_t* out, uint32_t* outLen) {
  if (av_frame_make_writable(m_pFrame) < 0) {
    LogInfo("%s Encoding aac failed", "CAENCAac::EncAac");
    return;
  }
  auto* samples = reinterpret_cast<float*>(m_pFrame->data[0]);
  for (uint32_t i = 0; i < m_nInputFrameLen; ++i) {
    int16_t s;
    std::memcpy(&s, m_pBuffer.get() + 2 * i, 2);
    samples[i] = static_cast<float>(s) / 32768.0f;
  }
  m_pFrame->pts = m_nNextPts;
  m_nNextPts += m_nInputFrameLen;
  if (avcodec_send_frame(m_hEncoder, m_pFrame) < 0) {
    LogInfo("%s Encoding aac failed", "CAENCAac::EncAac");
    return;
  }
  while (ReceiveUnit(out, outLen)) {
  }
}

bool CAENCAac::ReceiveUnit(uint8_t* out, uint32_t* outLen) {
  if (avcodec_receive_packet(m_hEncoder, m_pPacket) != 0) {
    return false;
  }
  const uint32_t header = m_bRawOutput != 0 ? 0 : kAdtsHeaderSize;
  const uint32_t size = static_cast<uint32_t>(m_pPacket->size);
  if (header + size > m_nOutBufferSize) {
    LogInfo("%s Encoding aac failed", "CAENCAac::EncAac");
  } else {
    if (header != 0) {
      WriteAdtsHeader(size);
    }
    std::memcpy(m_pOutBuffer.get() + header, m_pPacket->data, size);
    std::memcpy(out + *outLen, m_pOutBuffer.get(), header + size);
    *outLen += header + size;
  }
  av_packet_unref(m_pPacket);
  return true;
}

int CAENCAac::DrainFrame(uint8_t* out, uint32_t* outLen) {
  *outLen = 0;
  if (m_hEncoder == nullptr) {
    return 0;
  }
  if (!m_bDraining) {
    m_bDraining = true;
    avcodec_send_frame(m_hEncoder, nullptr);
  }
  // A unit too large for the buffer is logged and skipped; the next one is still taken.
  while (ReceiveUnit(out, outLen)) {
    if (*outLen != 0) {
      return 1;
    }
  }
  return 0;
}

void CAENCAac::WriteAdtsHeader(uint32_t payload) {
  const uint32_t length = payload + kAdtsHeaderSize;
  uint8_t* h = m_pOutBuffer.get();
  constexpr uint32_t kProfileLc = 1;  // object type 2, written as type - 1
  constexpr uint32_t kMono = 1;
  constexpr uint32_t kFullness = 0x7FF;  // variable bit rate
  h[0] = 0xFF;
  h[1] = 0xF1;  // MPEG-4, layer 0, no CRC
  h[2] = static_cast<uint8_t>((kProfileLc << 6) | (m_nRateIndex << 2) | (kMono >> 2));
  h[3] = static_cast<uint8_t>(((kMono & 3) << 6) | (length >> 11));
  h[4] = static_cast<uint8_t>((length >> 3) & 0xFF);
  h[5] = static_cast<uint8_t>(((length & 7) << 5) | (kFullness >> 6));
  h[6] = static_cast<uint8_t>((kFullness & 0x3F) << 2);  // one raw data block
}

}  // namespace zp
