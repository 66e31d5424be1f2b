#include "media/CRecFile.h"

#include <cstring>
#include <new>

#include "common/CAutoLock.h"
#include "common/LogAccess.h"
#include "media/CFileH264.h"
#include "media/CFileTembro.h"
#include "media/PathSuffix.h"

namespace zp {

CRecFile::CRecFile() {
  m_FreeFrames.reserve(kPoolSize);
  m_AllFrames.reserve(kPoolSize);
  for (uint32_t i = 0; i < kPoolSize; ++i) {
    auto* frame = new FrameHead;
    frame->pData = new uint8_t[kPoolBufferSize];
    frame->nCapacity = kPoolBufferSize;
    m_FreeFrames.push_back(frame);
    m_AllFrames.push_back(frame);
  }
}

CRecFile::~CRecFile() {
  for (FrameHead* frame : m_AllFrames) {
    delete[] frame->pData;
    delete frame;
  }
}

int CRecFile::ReleaseFrame(FrameHead* frame) {
  if (frame == nullptr) {
    return 0;
  }
  CAutoLock lock(&m_PoolLock);
  if (m_FreeFrames.size() < m_AllFrames.size()) {
    m_FreeFrames.push_back(frame);  // within the reserved capacity: no allocation
  }
  return 0;
}

FrameHead* CRecFile::GetFrameRecord(uint32_t needed) {
  CAutoLock lock(&m_PoolLock);
  if (m_FreeFrames.empty()) {
    return nullptr;
  }
  FrameHead* frame = m_FreeFrames.back();
  if (frame->nCapacity < needed) {
    const uint64_t size = (static_cast<uint64_t>(needed) + 1024) & ~uint64_t{3};
    if (size > UINT32_MAX) {
      return nullptr;
    }
    auto* buffer = new (std::nothrow) uint8_t[size];
    if (buffer == nullptr) {
      return nullptr;
    }
    delete[] frame->pData;
    frame->pData = buffer;
    frame->nCapacity = static_cast<uint32_t>(size);
  }
  m_FreeFrames.pop_back();
  frame->nLength = 0;
  frame->nType = 0;
  frame->u64Stamp = 0;
  return frame;
}

void CRecFile::GetFileInfo(FileInfo* info) {
  CAutoLock lock(&m_FileLock);
  *info = m_FileInfo;
}

void CRecFile::GetFilePts(uint64_t* begin, uint64_t* end) {
  CAutoLock lock(&m_FileLock);
  *begin = m_FileInfo.u64FileBegPts;
  *end = m_FileInfo.u64FileEndPts;
}

CRecFile* CRecFile::CreateRecFile(const char* path) {
  if (path == nullptr) {
    return nullptr;
  }
  CRecFile* reader = nullptr;
  if (EndsWithNoCase(path, ".mpg", 4)) {
    LogError("%s new CFileTembro", "CRecFile::CreateRecFile");
    LogDetail("CRecFile::CreateRecFile new CFileTembro");
    reader = new (std::nothrow) CFileTembro;
  } else {
    LogError("%s new CFileH264", "CRecFile::CreateRecFile");
    LogDetail("CRecFile::CreateRecFile new CFileH264");
    reader = new (std::nothrow) CFileH264;
  }
  if (reader == nullptr) {
    return nullptr;
  }
  if (reader->OpenFile(path) != 0) {
    LogError("%s pRecFile->OpenFile fail", "CRecFile::CreateRecFile");
    delete reader;
    return nullptr;
  }
  return reader;
}

}  // namespace zp
