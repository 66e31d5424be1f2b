#include "audio/AdtsHeader.h"

namespace zp {

uint32_t AdtsSampleRate(uint32_t index) {
  static constexpr uint32_t kRates[13] = {96000, 88200, 64000, 48000, 44100, 32000, 24000,
                                          22050, 16000, 12000, 11025, 8000,  7350};
  return index < 13 ? kRates[index] : 8000;
}

bool ParseAdtsHeader(const uint8_t* data, size_t len, AdtsHeader* header) {
  if (data == nullptr || header == nullptr || len < 7) {
    return false;
  }
  if (data[0] != 0xFF || (data[1] & 0xF0) != 0xF0) {
    return false;
  }
  header->protectionAbsent = (data[1] & 0x01) != 0;
  header->profile = static_cast<uint8_t>(data[2] >> 6);
  header->samplingFrequencyIndex = static_cast<uint8_t>((data[2] >> 2) & 0x0F);
  header->sampleRate = AdtsSampleRate(header->samplingFrequencyIndex);
  header->channelConfiguration = static_cast<uint8_t>(((data[2] & 0x01) << 2) | (data[3] >> 6));
  header->frameLength = static_cast<uint16_t>(((data[3] & 0x03) << 11) | (data[4] << 3) | (data[5] >> 5));
  header->rawDataBlocks = static_cast<uint8_t>(data[6] & 0x03);
  return true;
}

}  // namespace zp
