#pragma once
#include "media/CTaggedFileReader.h"

namespace zp {

// Reader of the recorders' own ".mpg" files: tagged frames from offset 0. The 512-byte head
// block of these files is never read (its image stays zero), so the reader never looks for
// an index and always scans: the begin stamp comes from the first frames at offset 0 (up to two
// leading data frames are stepped over), the end stamp from the last video header before the
// end of the file, and a rewind starts at offset 512. The stream kind reported is 1.
class CFileTembro : public CTaggedFileReader {
 public:
  ~CFileTembro() override = default;
  int OpenFile(const char* path) override;

 private:
  bool ReadFileBeginPts();
  bool ReadFileEndPts();
};

}  // namespace zp
