#pragma once
// GREC recordings written through the library's own recording writer (CRecWriterGrec), so that
// what a test reads back is exactly what the library writes when it records.
#include <cstdint>
#include <string>
#include <vector>

#include "StreamWriter.h"

namespace zp::samples {

struct GrecOptions {
  // Open through OpenWriterEx: a closed recording already at the path is continued.
  bool append = false;
  // Non-empty: an application head (at least 456 bytes) handed to SetFileHead after opening.
  std::vector<uint8_t> head;
  // Non-zero (and no `head`, no `append`): a head as the library makes it, naming this audio
  // coder type at byte 180, as a recorder that knows its codec writes it.
  uint32_t audioCoder = 0;
  // The frames are written `repeat` times over, the k-th pass with its stamps moved on by k x
  // `repeatPeriodUs`, without copying them: long recordings from one short encoding.
  uint32_t repeat = 1;
  uint64_t repeatPeriodUs = 0;
  // The file as a writing process killed before closing leaves it: the frames, no index
  // trailer, the head's index offset 0. Made by closing, then cutting the trailer off and
  // clearing the index offset, so the head's start and end times are those of a closed file.
  bool unfinished = false;
  // With `unfinished`: so many bytes are also cut off the end, as when the last write did not
  // reach the disk.
  uint32_t cutTail = 0;
};

struct GrecResult {
  bool ok = false;
  uint32_t recordedMs = 0;              // what OpenWriterEx reported (append only)
  std::vector<uint32_t> payloadOffsets;  // of each frame written, as the writer reported it
  uint64_t fileSize = 0;
};

// Writes `frames` in order (give audio the "1wb" tag, kFileAudioTag: the writer stores stamps
// only for that audio kind). ok is false when the writer refuses the path or a frame.
GrecResult WriteGrecFile(const std::string& path, const std::vector<TaggedFrame>& frames, const GrecOptions& options);

}  // namespace zp::samples
