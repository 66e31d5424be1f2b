#pragma once
// What an MP4 file holds, read from end to end with libavformat (not through the library, which
// writes MP4 but does not read it): for comparing a converted recording with its source in the
// shape `zephplay info` gives a recording.
#include <cstdint>
#include <string>

class Mp4Probe {
 public:
  struct Result {
    std::string start;         // creation time in local time, "YYYY-MM-DD HH:MM:SS", or empty
    uint64_t beginUs = 0;      // the first video packet's time
    uint64_t endUs = 0;        // the latest video packet's time
    uint64_t trackMs = 0;      // the video track's stored length: the last frame's own length too
    std::string videoCodec = "none";
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t videoFrames = 0;
    uint32_t keyFrames = 0;
    std::string audioCodec = "none";
    uint32_t audioRate = 0;
    uint32_t audioFrames = 0;
  };

  // false when libavformat does not open path as an MP4 file.
  static bool Probe(const char* path, Result* result);
};
