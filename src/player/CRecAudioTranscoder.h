#pragma once
#include <cstdint>
#include <memory>

#include "audio/CAudioDecoder.h"
#include "audio/CAudioEncoder.h"
#include "media/IAudioTranscoder.h"

namespace zp {

// The MP4 writer's sound: the library's audio decoder for the source's coder type, then the
// AAC encoder (coder type 12 family, raw output) at the source's rate when that is an AAC rate,
// else at 8000 Hz, at two bits a sample (16 kbit/s at 8000 Hz, at most 64 kbit/s) with the
// encoder's quick quantiser search. Stereo sound is mixed to mono, which the encoder takes.
class CRecAudioTranscoder : public IAudioTranscoder {
 public:
  CRecAudioTranscoder();

  bool Open(uint32_t nCoderType, uint32_t* sampleRate) override;
  bool Decode(const uint8_t* data, uint32_t length) override;
  bool NextFrame(const uint8_t** frame, uint32_t* length) override;
  void Finish() override;

  // Registers this class as the transcoder of the media floor's recordings.
  static void Register();

 private:
  static constexpr uint32_t kPcmBytes = CAudioDecoder::kScratchBytes;
  static constexpr uint32_t kHeld = 2 * kPcmBytes;

  uint32_t MixToMono(uint32_t bytes);

  CAudioDecoder m_Decoder;
  CAudioEncoder m_Encoder;
  std::unique_ptr<uint8_t[]> m_pPcm;
  std::unique_ptr<uint8_t[]> m_pHeld;  // decoded mono sound not yet encoded
  std::unique_ptr<uint8_t[]> m_pOut;
  uint32_t m_nHeld = 0;
  uint32_t m_nChannels = 1;
  bool m_bFinished = false;
};

}  // namespace zp
