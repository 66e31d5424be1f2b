#pragma once
// A live stream as a camera sends it, endless: one 2 s group of pictures of H.264 at 25 fps (a key
// frame, then P-frames, no B-frames) encoded once by the sample maker and sent over and over,
// each frame tagged with its header and stamped on from a recorder-like base.
#include <cstdint>
#include <vector>

#include "StreamWriter.h"

namespace zp::bench {

class LiveStream {
 public:
  static constexpr int kGopFrames = 50;
  static constexpr uint64_t kFrameUs = 40000;
  static constexpr uint64_t kBaseUs = 1000000000;  // far from 0, as recorders stamp

  // Exits the program when encoding fails.
  LiveStream(int width, int height);

  // The tagged bytes (header and payload) of the n-th frame of the stream into *out (cleared;
  // its capacity kept, so a reused buffer stops allocating after the first group).
  void Frame(uint64_t n, std::vector<uint8_t>* out);
  static uint64_t StampUs(uint64_t n) { return kBaseUs + n * kFrameUs; }
  // The n-th frame's access unit, untagged (the group takes whole frames with their type).
  const samples::EncodedFrame& Encoded(uint64_t n) const { return m_encoded[n % kGopFrames]; }
  // The frame whose stamp this is; -1 for a stamp of no frame.
  static int64_t FrameOf(uint64_t stampUs);

  // Milliseconds libavcodec takes, bare, for each frame of the group (send the packet, receive
  // its picture; a decoder with the player's default settings, no B-frames so no picture is
  // held back): the median over `passes` passes through the group, one decoder throughout.
  // Frames go back to back, or with `intervalSeconds` one every interval, as a live stream
  // brings them (the decoder then starts each frame after idling, as a player's does).
  std::vector<double> BareDecodeMs(int passes, double intervalSeconds = 0) const;

  // The stream's first `frames` frames as one byte string.
  std::vector<uint8_t> Bytes(uint64_t frames);

 private:
  std::vector<samples::EncodedFrame> m_encoded;
  std::vector<samples::TaggedFrame> m_frames;
};

}  // namespace zp::bench
