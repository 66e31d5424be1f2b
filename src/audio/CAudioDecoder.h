#pragma once
#include <cstdint>
#include <memory>

namespace zp {

class CADEC;

// The stand-alone decoder of the exports (no device): one CADEC chosen by an audio head, fed
// whole audio payloads. Not locked: one caller thread at a time.
class CAudioDecoder {
 public:
  static constexpr uint32_t kScratchBytes = 10240;

  CAudioDecoder();
  ~CAudioDecoder();
  CAudioDecoder(const CAudioDecoder&) = delete;
  CAudioDecoder& operator=(const CAudioDecoder&) = delete;

  // Takes a 512-byte audio head. A decoder of the same coder type is kept, and so is any
  // decoder when the new type is outside 1 to 25. A head saying mono 8000 Hz turns on
  // resampling to 8000 Hz. 0; -1 for a head shorter than its fields.
  int DecoderHead(const uint8_t* head, uint32_t len);
  // The MP4 writer's variant: a decoder for the coder type alone, initialised with 0.
  int DecoderHeadType(uint32_t nCoderType);
  // False without a decoder.
  bool WaveFormat(uint16_t* channels, uint32_t* samplesPerSec, uint32_t* avgBytesPerSec,
                  uint16_t* bitsPerSample) const;
  // Decodes a payload (a run of voice-engine units, a G.711 or PCM buffer of any length, or one
  // frame) into out, at most capacity bytes; PCM that does not fit is dropped. Returns the bytes
  // written (0 without a decoder).
  uint32_t AudioDecoderFrame(const uint8_t* in, uint32_t len, uint8_t* out, uint32_t capacity);
  bool IsAac() const;
  // The AAC rate of the decoder's coder type; 8000 without a decoder.
  uint32_t AacSampleRate() const;
  CADEC* Decoder() const { return m_pDecoder.get(); }

 private:
  // How a buffer may be cut for a decoder that takes any run of whole steps in one call: the
  // input bytes of one step, the PCM bytes it makes, and whether a part step refuses the buffer.
  struct Step {
    uint32_t in = 0;
    uint32_t out = 0;
    bool wholeOnly = false;
  };
  static Step StepOf(uint32_t nCoderType);

  void Replace(uint32_t nCoderType, uint32_t nFrmLen);
  uint32_t DecodeOne(const uint8_t* in, uint32_t len, uint8_t* out, uint32_t room);
  uint32_t DecodeUnits(const uint8_t* in, uint32_t len, uint8_t* out, uint32_t capacity);
  uint32_t DecodeSteps(const uint8_t* in, uint32_t len, uint8_t* out, uint32_t capacity, Step step);

  std::unique_ptr<CADEC> m_pDecoder;
  std::unique_ptr<int16_t[]> m_pScratch;
};

}  // namespace zp
