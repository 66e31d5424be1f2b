#pragma once
#include <cstdint>
#include <memory>

namespace zp {

// An audio encoder: 16-bit mono PCM in, one codec's units out. One subclass per codec family,
// made by S_InitAudioEncoder from a coder type (the decoders' coder types). Not locked: the
// owner serialises every call.
class CAENC {
 public:
  // What an encoder may write beyond its input's length: one AAC output buffer.
  static constexpr uint32_t kOutputSlack = 768;

  // An owner's choices, set before InitEncoder. The defaults are talk-back's; only AAC reads them.
  struct Tuning {
    uint32_t bitRate = 0;  // bits a second; 0: the codec's own default
    bool fastSearch = false;  // a quicker quantiser search, for encoding far faster than real time
  };

  explicit CAENC(uint32_t nCoderType);
  virtual ~CAENC();
  CAENC(const CAENC&) = delete;
  CAENC& operator=(const CAENC&) = delete;

  // Non-zero on success.
  virtual int InitEncoder() = 0;
  // Encodes inLen bytes of PCM into out, which must hold inLen + kOutputSlack bytes; *outLen
  // receives the bytes written. Non-zero on success.
  virtual int EncoderFrame(const uint8_t* in, uint32_t inLen, uint8_t* out, uint32_t* outLen) = 0;
  // After the last input: the next unit the encoder still holds, written as EncoderFrame writes
  // one; 0 when none is left. No input may follow. Only look-ahead encoders hold any.
  virtual int DrainFrame(uint8_t* /*out*/, uint32_t* outLen) {
    *outLen = 0;
    return 0;
  }

  // The encoder for a coder type (null only when memory runs out).
  static CAENC* S_InitAudioEncoder(uint32_t nCoderType);

  uint32_t CoderType() const { return m_nCoderType; }
  void SetRawOutput(uint8_t raw) { m_bRawOutput = raw; }
  void SetTuning(const Tuning& tuning) { m_Tuning = tuning; }

 protected:
  // Re-allocates the accumulation buffer to size bytes, zeroed and empty; false without memory.
  bool ResetBuffer(uint32_t size);

  uint32_t m_nCoderType;
  uint32_t m_nFrameSize = 0;
  uint32_t m_nBufferSize = 0;
  std::unique_ptr<uint8_t[]> m_pBuffer;
  uint32_t m_nHeld = 0;
  uint8_t m_bRawOutput = 0;
  Tuning m_Tuning;
};

}  // namespace zp
