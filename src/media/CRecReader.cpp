#include "media/CRecReader.h"

#include <cstring>
#include <new>

#include "media/CFileH264.h"

namespace zp {

CRecReader::~CRecReader() { CloseReader(); }

int CRecReader::OpenReader(const char* path) {
  CloseReader();
  auto* reader = new (std::nothrow) CFileH264;
  if (reader == nullptr) {
    return 1;
  }
  if (reader->OpenFile(path) != 0) {
    delete reader;
    return 1;
  }
  m_pRecFile = reader;
  return 0;
}

int CRecReader::ReadFileInfo(void* info) {
  if (m_pRecFile == nullptr || info == nullptr) {
    return 1;
  }
  FileInfo full;
  m_pRecFile->GetFileInfo(&full);
  auto* out = static_cast<uint8_t*>(info);
  std::memcpy(out, &full, 16);
  std::memcpy(out + 16, &full.nTotalMinSecond, sizeof full.nTotalMinSecond);
  return 0;
}

int CRecReader::ReadTimeOffset(uint32_t ms, uint32_t* offset) {
  if (m_pRecFile == nullptr) {
    return 1;
  }
  return m_pRecFile->ReadTimeOffset(static_cast<int32_t>(ms), offset);
}

int CRecReader::CloseReader() {
  if (m_pRecFile != nullptr) {
    m_pRecFile->CloseFile();
    delete m_pRecFile;
    m_pRecFile = nullptr;
  }
  return 0;
}

}  // namespace zp
