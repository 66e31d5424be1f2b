#pragma once
// Puts together whole frames (header fields and payload) from stream bytes arriving in pieces
// of any size, skipping garbage between frames (TagScanner).
#include <cstddef>
#include <cstdint>
#include <vector>

#include "TagScanner.h"

class FrameAssembler {
 public:
  // Consumes bytes of `data` until a frame is whole (true: Frame and Payload hold it until the
  // next call) or the bytes run out (false). *used: bytes consumed. A payload that lies whole in
  // `data` is not copied: Payload then points into it, so `data` must outlive its use.
  bool Next(const uint8_t* data, size_t length, size_t* used);
  const ScannedFrame& Frame() const { return m_frame; }
  const uint8_t* Payload() const { return m_inPlace != nullptr ? m_inPlace : m_payload.data(); }

 private:
  // Appends a piece of the payload to the copy.
  void Copy(const uint8_t* data, size_t length);

  TagScanner m_scanner;
  ScannedFrame m_frame;
  std::vector<uint8_t> m_payload;  // grows to the largest frame seen, then stays
  const uint8_t* m_inPlace = nullptr;  // the payload in the caller's bytes, when whole there
  bool m_collecting = false;
  uint32_t m_have = 0;
};
