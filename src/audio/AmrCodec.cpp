#include "audio/AmrCodec.h"

#include <cstring>

extern "C" {
#include <opencore-amrnb/interf_dec.h>
#include <opencore-amrnb/interf_enc.h>
}

namespace zp::amr {

int FrameBytes(uint8_t toc) {
  // Modes 0 to 7 (speech), 8 (SID) and 15 (no data); 9 to 14 are not sent by recorders.
  static constexpr int kBytes[16] = {13, 14, 16, 18, 20, 21, 27, 32, 6, 0, 0, 0, 0, 0, 0, 1};
  return kBytes[(toc >> 3) & 0x0F];
}

int32_t DecodeInit(void** handle) {
  if (handle == nullptr) {
    return -1;
  }
  *handle = Decoder_Interface_init();
  return *handle != nullptr ? 0 : -1;
}

int32_t DecodeFrame(void* handle, const uint8_t* in, int32_t len, int16_t* out, int32_t bfi) {
  if (out == nullptr) {
    return -1;
  }
  const int bytes = (in != nullptr && len >= 1) ? FrameBytes(in[0]) : 0;
  if (handle == nullptr || bytes == 0 || bytes > len) {
    std::memset(out, 0, kFrameSamples * sizeof(int16_t));
    return -1;
  }
  Decoder_Interface_Decode(handle, in, out, bfi);
  return bytes;
}

int32_t DecodeExit(void* handle) {
  if (handle == nullptr) {
    return -1;
  }
  Decoder_Interface_exit(handle);
  return 0;
}

int32_t EncodeInit(void** handle, int32_t dtx) {
  if (handle == nullptr) {
    return -1;
  }
  *handle = Encoder_Interface_init(dtx != 0 ? 1 : 0);
  return *handle != nullptr ? 0 : -1;
}

int32_t EncodeFrame(void* handle, const int16_t* in, uint8_t* out, int32_t mode) {
  if (handle == nullptr || in == nullptr || out == nullptr || mode < MR475 || mode > MR122) {
    return -1;
  }
  // The codec filters its input in place whatever its prototype says: hand it a copy.
  int16_t speech[kFrameSamples];
  std::memcpy(speech, in, sizeof(speech));
  const int bytes = Encoder_Interface_Encode(handle, static_cast<Mode>(mode), speech, out, 0);
  return bytes > 0 ? bytes : -1;
}

int32_t EncodeExit(void* handle) {
  if (handle == nullptr) {
    return -1;
  }
  Encoder_Interface_exit(handle);
  return 0;
}

}  // namespace zp::amr
