#pragma once
#include <cstdint>

struct AVCodecContext;
struct AVPacket;
struct AVFrame;

namespace zp {

// One direction of G.726 over libavcodec, at 2 to 5 bits per code, in either packing: RFC 3551
// (first code in the least significant bits, libavcodec "g726le") or ASF (first code in the most
// significant bits, "g726"). The codec state runs on from call to call until Reset.
class CG726Codec {
 public:
  enum class Direction { Decode, Encode };

  CG726Codec(Direction direction, int bitsPerCode, bool lsbFirst);
  ~CG726Codec();
  CG726Codec(const CG726Codec&) = delete;
  CG726Codec& operator=(const CG726Codec&) = delete;

  // Opens the codec; false when libavcodec cannot.
  bool Open();
  void Reset();
  int BitsPerCode() const { return m_nBits; }

  // Decodes `len` bytes of codes into at most maxSamples samples; the sample count, or -1.
  int Decode(const uint8_t* codes, int len, int16_t* out, int maxSamples);
  // Encodes n samples (n * bits a multiple of 8, n <= kMaxEncodeSamples); the byte count, or -1.
  int Encode(const int16_t* in, int n, uint8_t* codes, int capacity);

  static constexpr int kMaxEncodeSamples = 2048;

 private:
  void Close();

  Direction m_direction;
  int m_nBits;
  bool m_bLsbFirst;
  AVCodecContext* m_pContext = nullptr;
  AVPacket* m_pPacket = nullptr;
  AVFrame* m_pFrame = nullptr;
};

}  // namespace zp
