#pragma once
#include <neaacdec.h>

#include "audio/CADEC.h"

namespace zp {

// AAC through libfaad2; the coder type gives the rate until the first ADTS header says more.
class CADECFaad : public CADEC {
 public:
  explicit CADECFaad(uint32_t nCoderType);
  ~CADECFaad() override;
  // nFrmLen >= 2000000: stereo at nFrmLen mod 2000000 Hz; >= 1000000: the same (faad2 makes
  // stereo of mono) at nFrmLen mod 1000000 Hz; 1 keeps a mono format; else the coder's rate.
  int InitDecoder(uint32_t nFrmLen) override;
  int ReleaseDecoder() override;
  int DecoderFrame(const uint8_t* in, int32_t len, int16_t* out, uint16_t* outLen) override;
  int GetOutSize() override { return 8192; }
  bool InputFirstAudioData(const uint8_t* data, uint32_t len) override;
  // One ADTS frame; the rest when data does not start one.
  uint32_t GetFrameSize(const uint8_t* data, uint32_t len) override;

  uint32_t DecoderSampleRate() const { return m_nSampleRate; }
  uint8_t DecoderChannels() const { return m_nChannels; }

 private:
  // Opens and configures a libfaad2 handle; false when it does not open.
  bool OpenHandle();

  NeAACDecHandle m_hDecoder = nullptr;
  uint8_t m_bInit = 0;
  uint32_t m_nSampleRate = 0;
  uint8_t m_nChannels = 0;
  uint8_t m_bAdtsExamined = 0;
};

}  // namespace zp
