#pragma once
// The recordings the player benchmarks play, and the bare libavcodec decode they are judged by.
// Everything is encoded once per run by the sample maker and written to GREC files in the
// temporary directory, removed at exit.
#include <cstdint>
#include <string>
#include <vector>

#include "SampleEncoder.h"

namespace zp::bench {

// 3 s of 352x288 at 25 fps, a key frame every second, no B-frames: decoding costs little, so
// what shows is the pacing.
struct SmallRecording {
  std::string path;
  size_t frames = 0;
};
const SmallRecording& Small25fps();

// One 2 s group of pictures of 1080p H.264 at 25 fps (a key frame, then P- and B-frames), in
// decode order.
const std::vector<samples::EncodedFrame>& Gop1080p();
constexpr int kGopFrames = 50;
constexpr uint64_t kGopUs = 2000000;

// The group written `repeat` times over; the stamps divided by `stampDivisor` (a divisor of
// 100 makes 25 fps content 2500 fps: the player's interval between pictures rounds to 0 ms).
// Written once per (repeat, divisor) and kept for the run.
const std::string& Recording1080p(int repeat, int stampDivisor);

// The stamps of that recording's pictures, ascending.
std::vector<uint64_t> Stamps1080p(int repeat, int stampDivisor);

// Opens libavcodec's H.264 decoder with its default settings (those the player gives it),
// sends the group `repeat` times over, one packet after another, takes every picture ready,
// flushes at the end and closes. Returns the pictures received. With intervalUs, the k-th
// packet is sent k intervals after the first (a sleep in between), as a paced player would.
// With pCpuAtMark, the process's CPU seconds when the markPictures-th picture came out.
int BareDecode(const std::vector<samples::EncodedFrame>& frames, int repeat, uint64_t intervalUs = 0,
               int markPictures = 0, double* pCpuAtMark = nullptr);

}  // namespace zp::bench
