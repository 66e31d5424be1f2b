#include "media/CRecWriterMp4.h"

#include "common/LogAccess.h"

namespace zp {

int CRecWriterMp4::OpenWriter(const char* path, int /*pathKind*/) {
  LogError("%s MP4 recording is not available in this build, %s not opened", "CRecWriterMp4::OpenWriter", path);
  return -1;
}

int CRecWriterMp4::OpenWriterEx(const char* path, uint32_t* /*recordedMs*/, int /*pathKind*/) {
  LogError("%s MP4 recording is not available in this build, %s not opened", "CRecWriterMp4::OpenWriterEx", path);
  return -1;
}

int CRecWriterMp4::SetFileHead(const uint8_t* /*head*/, uint32_t /*length*/) { return -1; }

int CRecWriterMp4::WriteFrame(const uint8_t* /*data*/, uint32_t /*length*/, uint32_t /*tag*/, uint64_t /*stamp*/,
                              uint32_t* /*payloadOffset*/, uint32_t* /*nextOffset*/) {
  return -1;
}

int CRecWriterMp4::CloseWriter() { return 0; }

}  // namespace zp
