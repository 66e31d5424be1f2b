#pragma once
#include <cstdint>
#include <cstdio>
#include <vector>

#include "media/CRecWriter.h"
#include "media/GrecFormat.h"

namespace zp {

// Writes GREC recordings (layout in GrecFormat.h). Frames are written with their sub-code byte
// cleared: video with a 32-byte header (wall-clock hour, minute, second of writing at offset 8;
// for key frames the distance back to the previous video header this writer wrote at offset
// 12), "1wb" audio with a 16-byte header carrying its stamp, every other kind with a 16-byte
// header without stamp; payloads are padded with zeros to a multiple of 8. Key frames and the
// frames of other kinds than video and "1wb" audio get index entries, which close writes as the
// trailer together with the final head. Until close the head's index offset stays 0, so a
// recording cut short by a crash is still read by scanning. Destruction closes.
class CRecWriterGrec : public CRecWriter {
 public:
  ~CRecWriterGrec() override;

  // Truncates or creates `path` and writes a fresh head. -1 when it cannot be opened.
  int OpenWriter(const char* path, int pathKind) override;
  // Opens `path`, creating it when missing. A closed recording (magic and trailer intact) is
  // appended to: new frames overwrite the old trailer and close writes one trailer with old
  // and new entries; *recordedMs receives the span of the old entries. Anything else is
  // started again from a fresh head.
  int OpenWriterEx(const char* path, uint32_t* recordedMs, int pathKind) override;
  // Takes the first 456 bytes of an application-made head (as ZEPHPLAY_GetFileHead fills)
  // as the recording's head and rewrites it at offset 0; the index offset in it is the
  // writer's own and stays 0 until close. -1 for a shorter head or no open recording.
  int SetFileHead(const uint8_t* head, uint32_t length) override;
  // -1 when no recording is open, data is null with a non-zero length, the write fails, or the
  // file would pass 4 GiB (offsets are 32-bit).
  int WriteFrame(const uint8_t* data, uint32_t length, uint32_t tag, uint64_t stamp, uint32_t* payloadOffset,
                 uint32_t* nextOffset) override;
  int CloseWriter() override;

 private:
  void CloseLocked();
  void MakeFreshHead();
  bool WriteHeadAtStart();
  void LoadEntries();
  bool WriteAll(const void* data, size_t length);
  bool SeekTo(uint64_t offset);

  std::FILE* m_pFile = nullptr;
  uint8_t m_Head[grec::kHeadFieldsLength] = {};
  std::vector<grec::IndexEntry> m_Entries;
  uint64_t m_nFilePos = 0;
  uint64_t m_nLastVideoOffset = 0;
  bool m_bWroteVideo = false;
};

}  // namespace zp
