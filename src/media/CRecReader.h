#pragma once
#include <cstdint>

namespace zp {

class CRecFile;

// Read access to a recording's information for the application: always through a CFileH264,
// whatever the name. Results: 0 success, 1 failure.
class CRecReader {
 public:
  // The file-information view: the first 16 bytes of FileInfo, then nTotalMinSecond.
  static constexpr uint32_t kInfoLength = 20;

  CRecReader() = default;
  ~CRecReader();
  CRecReader(const CRecReader&) = delete;
  CRecReader& operator=(const CRecReader&) = delete;

  int OpenReader(const char* path);
  // Writes kInfoLength bytes to `info`. 1 when no recording is open.
  int ReadFileInfo(void* info);
  // The file offset of the key frame for `ms` after the start (CRecFile::ReadTimeOffset).
  int ReadTimeOffset(uint32_t ms, uint32_t* offset);
  int CloseReader();

 private:
  CRecFile* m_pRecFile = nullptr;
};

}  // namespace zp
