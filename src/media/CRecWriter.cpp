#include "media/CRecWriter.h"

#include <new>

#include "common/CAutoLock.h"
#include "media/CRecWriterGrec.h"
#include "media/CRecWriterMp4.h"
#include "media/PathSuffix.h"

namespace zp {

int CRecWriter::SetFileBeginTime(uint32_t use, uint32_t year, uint32_t month, uint32_t day, uint32_t secondsOfDay) {
  CAutoLock lock(&m_WriterLock);
  m_nUseBeginTime = 0;
  if (year == 0) {
    return 1;
  }
  m_nUseBeginTime = use;
  m_nBeginYear = year;
  m_nBeginMonth = month;
  m_nBeginDay = day;
  m_nBeginHour = secondsOfDay / 3600;
  m_nBeginMinute = secondsOfDay % 3600 / 60;
  m_nBeginSecond = secondsOfDay % 60;
  return 0;
}

CRecWriter* CRecWriter::CreateRecWriter(const char* path, int /*pathKind*/) {
  if (path == nullptr) {
    return nullptr;
  }
  if (EndsWithNoCase(path, ".mp4", 5)) {
    return new (std::nothrow) CRecWriterMp4;
  }
  return new (std::nothrow) CRecWriterGrec;
}

}  // namespace zp
