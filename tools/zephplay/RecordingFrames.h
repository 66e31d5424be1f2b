#pragma once
// The frames of a GREC recording or a vendor ".mpg" file (by its name), read once from end to
// end for copying. The library's reader gives out a recording's information and offsets but not
// its frames, so the tool cuts them itself (FrameAssembler) from the bytes the library's file
// readers read: a GREC recording from 512 plus head offset 72 up to the index trailer that head
// offset 68 names (to the end without one), a ".mpg" file from offset 0 to its end. Garbage and a
// frame cut off at the end are skipped; so are the frames those readers do not take: auxiliary
// ones and video whose sub-code has any of its low four bits set.
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "FrameAssembler.h"

class RecordingFrames {
 public:
  // The tags a frame is handed to the writers with, as the library's readers name them.
  static constexpr uint32_t kKeyTag = 0x63643000;
  static constexpr uint32_t kVideoTag = 0x63643100;
  static constexpr uint32_t kAudioTag = 0x62773100;
  static constexpr uint32_t kDataTag = 0x63643900;
  // The head fields a GREC writer takes (ZEPHPLAY_SetFileHead).
  static constexpr uint32_t kHeadFieldsLength = 456;

  struct Frame {
    uint32_t tag = 0;  // one of the tags above
    uint64_t stampUs = 0;
    const uint8_t* data = nullptr;  // valid until the next call of Next
    uint32_t length = 0;
  };

  // Opens path; false with the reason in *why.
  bool Open(const char* path, std::string* why);
  // The next frame; false at the end of the frame data or on a read error (ReadFailed).
  bool Next(Frame* frame);
  bool ReadFailed() const { return m_failed; }
  bool IsMpg() const { return m_mpg; }
  // A GREC recording's head fields, with the first-frame offset cleared: the frames of a copy
  // follow its head directly. Empty for a ".mpg" file, whose head block nothing reads.
  const std::vector<uint8_t>& Head() const { return m_head; }
  uint64_t BytesRead() const { return m_total - m_left; }
  uint64_t BytesTotal() const { return m_total; }

 private:
  bool ReadHead(uint64_t fileSize, std::string* why);
  bool Refill();
  static bool Taken(const ScannedFrame& f);
  static uint32_t WriterTag(const ScannedFrame& f);

  struct FileCloser {
    void operator()(std::FILE* f) const { std::fclose(f); }
  };
  std::unique_ptr<std::FILE, FileCloser> m_file;
  bool m_mpg = false;
  bool m_failed = false;
  std::vector<uint8_t> m_head;
  std::vector<uint8_t> m_buffer;
  size_t m_have = 0;
  size_t m_pos = 0;
  uint64_t m_total = 0;  // bytes of frame data
  uint64_t m_left = 0;   // of those, not read yet
  FrameAssembler m_assembler;
};
