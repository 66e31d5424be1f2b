#include "audio/CADECNelly.h"

#include <algorithm>
#include <cmath>
#include <cstring>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/channel_layout.h>
}

namespace zp {

CADECNelly::CADECNelly(uint32_t nCoderType) { m_nCoderType = nCoderType; }

// Freed here too: nothing gains from leaking the codec state.
CADECNelly::~CADECNelly() { ReleaseDecoder(); }

int CADECNelly::InitDecoder(uint32_t) {
  ReleaseDecoder();
  const AVCodec* codec = avcodec_find_decoder(AV_CODEC_ID_NELLYMOSER);
  if (codec == nullptr) {
    return 0;
  }
  m_pState = avcodec_alloc_context3(codec);
  m_pPacket = av_packet_alloc();
  m_pFrame = av_frame_alloc();
  if (m_pState != nullptr) {
    m_pState->sample_rate = static_cast<int>(m_WaveFormat.nSamplesPerSec);
    av_channel_layout_default(&m_pState->ch_layout, 1);
  }
  if (m_pState == nullptr || m_pPacket == nullptr || m_pFrame == nullptr ||
      avcodec_open2(m_pState, codec, nullptr) < 0) {
    ReleaseDecoder();
    return 0;
  }
  return 1;
}

int CADECNelly::ReleaseDecoder() {
  const bool had = m_pState != nullptr;
  avcodec_free_context(&m_pState);
  av_packet_free(&m_pPacket);
  av_frame_free(&m_pFrame);
  return had ? 1 : 0;
}

bool CADECNelly::DecodeBlock(const uint8_t* in) {
  m_pPacket->data = const_cast<uint8_t*>(in);
  m_pPacket->size = kBlockBytes;
  const int sent = avcodec_send_packet(m_pState, m_pPacket);
  av_packet_unref(m_pPacket);
  if (sent < 0) {
    return false;
  }
  bool got = false;
  while (avcodec_receive_frame(m_pState, m_pFrame) == 0) {
    if (!got && m_pFrame->nb_samples >= kBlockSamples && m_pFrame->format == AV_SAMPLE_FMT_FLT) {
      std::memcpy(m_fWork, m_pFrame->data[0], sizeof(m_fWork));
      got = true;
    }
    av_frame_unref(m_pFrame);
  }
  return got;
}

int CADECNelly::DecoderFrame(const uint8_t* in, int32_t len, int16_t* out, uint16_t* outLen) {
  *outLen = 0;
  if (m_pState == nullptr) {
    return 1;
  }
  if (in == nullptr || len < kBlockBytes || !DecodeBlock(in)) {
    return 0;
  }
  for (int i = 0; i < kBlockSamples; ++i) {
    const float scaled = std::nearbyint(m_fWork[i] * 32768.0f);
    // A damaged block can decode to NaN, which has no 16-bit value: it plays as silence.
    out[i] = std::isnan(scaled) ? 0 : static_cast<int16_t>(std::clamp(scaled, -32768.0f, 32767.0f));
  }
  *outLen = kBlockSamples;
  return 0;
}

}  // namespace zp
