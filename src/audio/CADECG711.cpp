#include "audio/CADECG711.h"

#include "audio/G711.h"

namespace zp {

CADECG711::CADECG711(uint32_t nCoderType) { m_nCoderType = nCoderType; }

int CADECG711::InitDecoder(uint32_t) { return 1; }

int CADECG711::DecoderFrame(const uint8_t* in, int32_t len, int16_t* out, uint16_t* outLen) {
  *outLen = 0;
  // Anything but whole 10 ms pieces is not G.711 from a recorder. The output holds GetOutSize()
  // bytes, so longer input is refused as well: the stand-alone decoder cuts it.
  if (in == nullptr || len <= 0 || len % kStepBytes != 0 || len * 2 > GetOutSize()) {
    return 0;
  }
  if (m_nCoderType == 17) {
    g711::DecodeAlaw(in, out, len);
  } else {
    g711::DecodeUlaw(in, out, len);
  }
  *outLen = static_cast<uint16_t>(len);
  return len;
}

}  // namespace zp
