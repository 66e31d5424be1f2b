#pragma once
#include <cstddef>
#include <cstdint>

namespace zp {

// The fixed and variable parts of an ISO/IEC 13818-7 ADTS header (7 bytes; 9 with CRC).
struct AdtsHeader {
  uint8_t profile = 0;              // object type - 1
  uint8_t samplingFrequencyIndex = 0;
  uint32_t sampleRate = 0;          // from the index; 8000 for an index of 13 or more
  uint8_t channelConfiguration = 0;
  bool protectionAbsent = true;
  uint16_t frameLength = 0;         // header included
  uint8_t rawDataBlocks = 0;        // number_of_raw_data_blocks_in_frame
  uint32_t HeaderLength() const { return protectionAbsent ? 7 : 9; }
};

// The rate of an ISO/IEC 14496-3 sampling_frequency_index; 8000 for 13 and above.
uint32_t AdtsSampleRate(uint32_t index);

// Parses the header at data; false without 7 bytes or without the 0xFFF sync word.
bool ParseAdtsHeader(const uint8_t* data, size_t len, AdtsHeader* header);

}  // namespace zp
