#pragma once
#include "media/CRecWriter.h"

namespace zp {

// The MP4 recording writer. MP4 output is not part of this build yet: every open fails with -1
// and logs why, so a caller asking for ".mp4" learns at once that nothing will be recorded.
class CRecWriterMp4 : public CRecWriter {
 public:
  int OpenWriter(const char* path, int pathKind) override;
  int OpenWriterEx(const char* path, uint32_t* recordedMs, int pathKind) override;
  int SetFileHead(const uint8_t* head, uint32_t length) override;
  int WriteFrame(const uint8_t* data, uint32_t length, uint32_t tag, uint64_t stamp, uint32_t* payloadOffset,
                 uint32_t* nextOffset) override;
  int CloseWriter() override;
};

}  // namespace zp
