#pragma once
#include <cstdint>

#include <samplerate.h>

namespace zp {

// The output format, laid out as the Windows WAVEFORMATEX record.
struct WaveFormat {
  uint16_t wFormatTag = 1;  // PCM
  uint16_t nChannels = 1;
  uint32_t nSamplesPerSec = 8000;
  uint32_t nAvgBytesPerSec = 16000;
  uint16_t nBlockAlign = 2;
  uint16_t wBitsPerSample = 16;
  uint16_t cbSize = 0;
};

// Called after each decoded frame that the wave-out plays: samples, sample count, channels,
// bits, rate, the frame's stamp (µs), user value. Runs on the sound device's thread.
using PcmCallback = void (*)(const int16_t* pcm, uint32_t samples, uint32_t channels, uint32_t bits,
                             uint32_t rate, uint64_t stamp, uint64_t user);

// An audio decoder: one subclass per codec family, made by S_InitAudioDecoder from a coder
// type. Not locked: the owner serialises every call.
class CADEC {
 public:
  static constexpr uint32_t kResampleBufferSamples = 10240;

  CADEC();
  virtual ~CADEC();
  CADEC(const CADEC&) = delete;
  CADEC& operator=(const CADEC&) = delete;

  // Non-zero on success.
  virtual int InitDecoder(uint32_t nFrmLen) = 0;
  virtual int ReleaseDecoder() { return 1; }
  // Decodes one input unit into out (room for GetOutSize() bytes). *outLen may carry the
  // output capacity in bytes on entry (only AAC reads it); on return it holds the number of
  // 16-bit samples written. The return value differs per class.
  virtual int DecoderFrame(const uint8_t* in, int32_t len, int16_t* out, uint16_t* outLen) = 0;
  // The largest output of one DecoderFrame, in bytes.
  virtual int GetOutSize() { return 1280; }
  // True when input comes as a run of "00 01 LL CC" units that the caller splits.
  virtual bool IsHisFrame() { return false; }
  // The length of the codec frame that starts at data (len bytes left), so that a caller can
  // cut a payload holding several; the whole rest by default. Never 0 for len > 0.
  virtual uint32_t GetFrameSize(const uint8_t* /*data*/, uint32_t len) { return len; }
  // A chance to re-configure from the first payload; true when the decoder was re-initialised
  // and the caller must flush what it had queued.
  virtual bool InputFirstAudioData(const uint8_t* data, uint32_t len);

  // The decoder for a coder type (never null unless memory runs out); flag has no effect.
  static CADEC* S_InitAudioDecoder(uint32_t nCoderType, uint32_t flag);
  // The AAC rate of a coder type, 0 when the type is not AAC.
  static uint32_t AacRateOfCoder(uint32_t nCoderType);

  void SetWaveFormat(uint16_t channels, uint32_t rate, uint16_t bits);
  void SetPcmCallback(PcmCallback callback, uint64_t user);
  void SetResample(bool enable, uint32_t channels, uint32_t rate);
  // Makes the converter to the resample rate when the output rate differs and none exists.
  void InitResamples();
  // Echo cancellation: the output rate becomes 16000 (when it was set at all) and a converter
  // to the resample rate is made.
  void InitAecResamples();
  // Converts inBytes / 2 samples at in to the resample rate into out (at most outCapacity
  // bytes); *outBytes holds the byte count of the last converter pass only (what of it fit the
  // output). Does nothing without a converter.
  void SamplerateTransform(int16_t* out, uint32_t* outBytes, const int16_t* in, uint32_t inBytes,
                           uint32_t outCapacity);

  const WaveFormat& GetWaveFormat() const { return m_WaveFormat; }
  uint32_t CoderType() const { return m_nCoderType; }
  uint32_t FramePreSecond() const { return nFramePreSecond; }
  uint32_t FrameMs() const { return m_nFrameMs; }
  PcmCallback GetPcmCallback() const { return m_pfnPcm; }
  uint64_t PcmUser() const { return m_u64PcmUser; }
  bool ResampleEnabled() const { return m_bResample != 0; }
  uint32_t ResampleRate() const { return m_nResampleRate; }
  bool HasConverter() const { return m_pSrcState != nullptr; }

 protected:
  void SetPacing(uint32_t framesPerSecond, uint32_t frameMs);
  bool MakeConverter(bool logIt);

  WaveFormat m_WaveFormat;
  uint32_t m_nCoderType = 0;
  uint32_t nFramePreSecond = 50;
  uint32_t m_nFrameMs = 20;
  PcmCallback m_pfnPcm = nullptr;
  uint64_t m_u64PcmUser = 0;
  uint8_t m_bAac1Chn = 0;
  SRC_DATA m_SrcData{};
  SRC_STATE* m_pSrcState = nullptr;
  float* m_pSrcIn = nullptr;
  float* m_pSrcOut = nullptr;
  uint8_t m_bResample = 0;
  uint32_t m_nResampleChannels = 1;
  uint32_t m_nResampleRate = 8000;
};

}  // namespace zp
