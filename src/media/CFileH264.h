#pragma once
#include "media/CTaggedFileReader.h"

namespace zp {

// Reader of GREC recordings (every path but ".mpg"). Needs the head magic 0x12345678; loads
// the key-frame entries of the index trailer that head offset 68 names (marker 0x08070621,
// 20-byte entries); without a usable index the begin and end stamps and every seek come from
// scanning the frames, so a recording whose writer never closed still plays. Frames are read
// from 512 plus head offset 72 up to the index trailer. The stream kind is head offset 180.
class CFileH264 : public CTaggedFileReader {
 public:
  ~CFileH264() override = default;
  // 1 for a missing file, a wrong magic (the file then stays open until CloseFile or
  // destruction, which callers rely on to probe files cheaply), or no begin or end stamp (the
  // file is closed).
  int OpenFile(const char* path) override;

 private:
  void LoadIndex();
  bool ReadFileBeginPts();
  bool ReadFileEndPts();
  bool StoreEndPts(bool found, uint64_t stamp);
};

}  // namespace zp
