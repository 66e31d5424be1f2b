// Recording writer and reader exports: look up, forward, return.
#include <cstring>
#include <new>
#include <string>

#include "interface/exports/ExportSupport.h"
#include "media/CRecReader.h"
#include "media/CRecWriter.h"
#include "media/GrecFormat.h"
#include "platform/LocalTime.h"
#include "platform/WidePath.h"

using zp::CRecReader;
using zp::CRecWriter;

static_assert(sizeof(ZEPHPLAY_RECORD_INFO) == CRecReader::kInfoLength);

namespace {

CRecWriter* ToWriter(ZEPHPLAY_WRITER* writer) { return reinterpret_cast<CRecWriter*>(writer); }
CRecReader* ToReader(ZEPHPLAY_READER* reader) { return reinterpret_cast<CRecReader*>(reader); }

// Makes the writer for the path and opens it with `open`; the writer is kept only on success.
template <typename Open>
int32_t OpenWith(const char* name, ZEPHPLAY_WRITER** out, const char* path, int pathKind, Open open) {
  if (out == nullptr || path == nullptr) {
    return -1;
  }
  return zp::Guarded(name, [&]() -> int32_t {
    CRecWriter* writer = CRecWriter::CreateRecWriter(path, pathKind);
    if (writer == nullptr) {
      return -1;
    }
    if (open(writer) != 0) {
      delete writer;
      return -1;
    }
    *out = reinterpret_cast<ZEPHPLAY_WRITER*>(writer);
    return 0;
  });
}

}  // namespace

extern "C" {

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_OpenWriter(ZEPHPLAY_WRITER** writer, const char* path) {
  return OpenWith("ZEPHPLAY_OpenWriter", writer, path, CRecWriter::kNarrowPath,
                  [path](CRecWriter* w) { return w->OpenWriter(path, CRecWriter::kNarrowPath); });
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_OpenWriterW(ZEPHPLAY_WRITER** writer, const wchar_t* path) {
  if (path == nullptr) {
    return -1;
  }
  return zp::Guarded("ZEPHPLAY_OpenWriterW", [&] {
    const std::string utf8 = zp::platform::WideToUtf8(path);
    return OpenWith("ZEPHPLAY_OpenWriterW", writer, utf8.c_str(), CRecWriter::kWidePath,
                    [&utf8](CRecWriter* w) { return w->OpenWriter(utf8.c_str(), CRecWriter::kWidePath); });
  });
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_OpenWriterEx(ZEPHPLAY_WRITER** writer, const char* path,
                                                      uint32_t* recordedMs) {
  return OpenWith("ZEPHPLAY_OpenWriterEx", writer, path, CRecWriter::kNarrowPath, [=](CRecWriter* w) {
    return w->OpenWriterEx(path, recordedMs, CRecWriter::kNarrowPath);
  });
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_OpenWriterWEx(ZEPHPLAY_WRITER** writer, const wchar_t* path,
                                                       uint32_t* recordedMs) {
  if (path == nullptr) {
    return -1;
  }
  return zp::Guarded("ZEPHPLAY_OpenWriterWEx", [&] {
    const std::string utf8 = zp::platform::WideToUtf8(path);
    return OpenWith("ZEPHPLAY_OpenWriterWEx", writer, utf8.c_str(), CRecWriter::kWidePath, [&](CRecWriter* w) {
      return w->OpenWriterEx(utf8.c_str(), recordedMs, CRecWriter::kWidePath);
    });
  });
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetFileBeginTime(ZEPHPLAY_WRITER* writer, uint32_t use, uint32_t year,
                                                          uint32_t month, uint32_t day, uint32_t secondsOfDay) {
  if (writer == nullptr) {
    return -1;
  }
  return ToWriter(writer)->SetFileBeginTime(use, year, month, day, secondsOfDay);
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetFileHead(ZEPHPLAY_WRITER* writer, const uint8_t* head,
                                                     uint32_t length) {
  if (writer == nullptr) {
    return -1;
  }
  return ToWriter(writer)->SetFileHead(head, length);
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_WriteFrame(ZEPHPLAY_WRITER* writer, const uint8_t* data, uint32_t length,
                                                    uint32_t tag, uint64_t stamp, uint32_t* payloadOffset,
                                                    uint32_t* nextOffset) {
  if (writer == nullptr) {
    return -1;
  }
  return zp::Guarded("ZEPHPLAY_WriteFrame", [&] {  // the index may grow
    return ToWriter(writer)->WriteFrame(data, length, tag, stamp, payloadOffset, nextOffset);
  });
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_CloseWriter(ZEPHPLAY_WRITER* writer) {
  if (writer == nullptr) {
    return -1;
  }
  CRecWriter* w = ToWriter(writer);
  w->CloseWriter();
  delete w;
  return 0;
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_OpenReader(ZEPHPLAY_READER** reader, const char* path) {
  if (reader == nullptr || path == nullptr) {
    return -1;
  }
  return zp::Guarded("ZEPHPLAY_OpenReader", [&]() -> int32_t {
    auto* r = new (std::nothrow) CRecReader;
    if (r == nullptr) {
      return -1;
    }
    if (r->OpenReader(path) != 0) {
      delete r;
      return -1;
    }
    *reader = reinterpret_cast<ZEPHPLAY_READER*>(r);
    return 0;
  });
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_ReadFileInfo(ZEPHPLAY_READER* reader, ZEPHPLAY_RECORD_INFO* info) {
  if (reader == nullptr || info == nullptr) {
    return -1;
  }
  return ToReader(reader)->ReadFileInfo(info);
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_ReadTimeOffset(ZEPHPLAY_READER* reader, uint32_t ms, uint32_t* offset) {
  if (reader == nullptr || offset == nullptr) {
    return -1;
  }
  return ToReader(reader)->ReadTimeOffset(ms, offset);
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_CloseReader(ZEPHPLAY_READER* reader) {
  if (reader == nullptr) {
    return -1;
  }
  CRecReader* r = ToReader(reader);
  r->CloseReader();
  delete r;
  return 0;
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_GetFileHeadLength(uint32_t* length) {
  if (length == nullptr) {
    return -1;
  }
  *length = zp::grec::kHeadLength;
  return 0;
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_GetFileHead(uint8_t* buffer, uint32_t* length) {
  if (buffer == nullptr || length == nullptr || *length < zp::grec::kHeadFieldsLength) {
    return -1;
  }
  zp::grec::FillHead(buffer, zp::platform::LocalTimeNow());
  *length = zp::grec::kHeadLength;
  return 0;
}

}  // extern "C"
