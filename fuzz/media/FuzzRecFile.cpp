// Both readers on arbitrary files: open, read everything, seek, step both ways, rewind.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "FuzzTempFile.h"
#include "media/CRecFile.h"
#include "media/GrecFormat.h"

namespace {

void Exercise(zp::CRecFile* reader, uint8_t steps) {
  zp::FrameHead* frame = nullptr;
  for (int i = 0; i < 100000 && reader->ReadFrame(&frame) == 0; ++i) {
    reader->ReleaseFrame(frame);
  }
  zp::FileInfo info;
  reader->GetFileInfo(&info);
  // Capped one below the largest int32 so that total + 1 (one past the end) stays defined.
  const int32_t total = static_cast<int32_t>(std::min<uint32_t>(info.nTotalMinSecond, INT32_MAX - 1));
  for (int32_t ms : {0, total / 3, total / 2, total, total + 1, -1}) {
    uint32_t offset = 0;
    reader->ReadTimeOffset(ms, &offset);
    if (reader->SeekTime(ms, 0) == 0 && reader->ReadFrame(&frame) == 0) {
      reader->ReleaseFrame(frame);
    }
  }
  for (int i = 0; i < (steps & 15); ++i) {
    const bool next = ((steps >> 4) + i) % 3 != 0;
    if ((next ? reader->ReadNextKeyFrame(&frame) : reader->ReadPrevKeyFrame(&frame)) == 0) {
      reader->ReleaseFrame(frame);
    }
  }
  for (int i = 0; i < 8 && reader->ReadFrame(&frame) == 0; ++i) {
    reader->ReleaseFrame(frame);
  }
  reader->SeekToBegin();
  for (int i = 0; i < 8 && reader->ReadFrame(&frame) == 0; ++i) {
    reader->ReleaseFrame(frame);
  }
}

}  // namespace

// Byte 0 chooses the reader (and for GREC whether to put a head with the magic in front);
// byte 1 drives the key-frame stepping; the rest is the file.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) {
    return 0;
  }
  const uint8_t mode = data[0] % 3;
  const uint8_t steps = data[1];
  data += 2;
  size -= 2;
  std::vector<uint8_t> file;
  if (mode == 2) {
    // A GREC head with the magic, its index and first-frame offsets taken from the input.
    file.assign(zp::grec::kHeadLength, 0);
    zp::WriteU32(file.data(), zp::grec::kHeadMagic);
    const size_t fields = std::min<size_t>(size, 8);
    std::memcpy(file.data() + zp::grec::kOffIndex, data, fields);
    data += fields;
    size -= fields;
  }
  file.insert(file.end(), data, data + size);
  const std::string path = fuzzmedia::ScratchPath(mode == 0 ? ".mpg" : ".grec");
  if (!fuzzmedia::WriteScratch(path, file.data(), file.size())) {
    return 0;
  }
  std::unique_ptr<zp::CRecFile> reader(zp::CRecFile::CreateRecFile(path.c_str()));
  if (reader != nullptr) {
    Exercise(reader.get(), steps);
  }
  return 0;
}
