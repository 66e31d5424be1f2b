#pragma once
#include <cstdint>

#include "audio/CAENC.h"

namespace zp {

// One encoder behind the exported framing: every call's output gets a 12-byte head (u32 payload
// length, u64 stamp) and holds the units of whole input pieces. Not locked: one caller at a time.
class CAudioEncoder {
 public:
  static constexpr uint32_t kFrameHead = 12;
  static constexpr uint32_t kPiece = 320;          // 160 samples
  static constexpr uint32_t kAacPiece = 1024;
  static constexpr uint32_t kAacLargePiece = 8192;  // one piece when given exactly this much

  CAudioEncoder() = default;
  virtual ~CAudioEncoder();
  CAudioEncoder(const CAudioEncoder&) = delete;
  CAudioEncoder& operator=(const CAudioEncoder&) = delete;

  // Makes the encoder for a coder type; raw set asks AAC for output without ADTS headers.
  // tuning is handed to the encoder before it initialises. False when an encoder exists
  // already or the new one does not initialise.
  bool Open(uint32_t nCoderType, uint8_t raw, const CAENC::Tuning& tuning = {});
  // Writes the 512-byte audio head; *outLen receives 512.
  void Head(uint8_t* out, uint32_t* outLen) const;
  // Encodes every whole piece of pcm into a frame at out (room for OutputSize(len) bytes);
  // *outLen receives the frame's length. False when nothing came out.
  bool EncodeFrame(const uint8_t* pcm, uint32_t len, uint8_t* out, uint32_t* outLen);
  // Encodes pieces until the first output; *len returns the input bytes consumed. False when
  // nothing came out.
  bool EncodeOneFrame(const uint8_t* pcm, uint32_t* len, uint8_t* out, uint32_t* outLen);
  // After the last input: the next frame the encoder still holds (AAC looks one frame ahead).
  // False when none is left; no input may follow.
  bool DrainFrame(uint8_t* out, uint32_t* outLen);

  // The most a framing call writes for len bytes of input.
  static uint32_t OutputSize(uint32_t len) { return kFrameHead + len + CAENC::kOutputSlack; }
  uint32_t CoderType() const { return m_nCoderType; }

 private:
  void WriteHead(uint8_t* out, uint32_t payload) const;

  CAENC* m_pEncoder = nullptr;
  uint32_t m_nCoderType = 0;
  uint32_t m_bAacFraming = 0;
};

}  // namespace zp
