#include "GrecWriter.h"

#include <ctime>
#include <fstream>
#include <iterator>
#include <memory>

#include "media/CRecWriterGrec.h"
#include "media/GrecFormat.h"

namespace zp::samples {

namespace {

constexpr size_t kHeadIndexOffset = 68;

bool ReadWholeFile(const std::string& path, std::vector<uint8_t>* bytes) {
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    return false;
  }
  bytes->assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  return true;
}

// Turns a closed recording into the one its writer would have left had it died before close.
bool MakeUnfinished(const std::string& path, uint32_t cutTail, uint64_t* size) {
  std::vector<uint8_t> bytes;
  if (!ReadWholeFile(path, &bytes) || bytes.size() < kHeadIndexOffset + 4) {
    return false;
  }
  const uint32_t trailer = ReadU32(bytes.data() + kHeadIndexOffset);
  if (trailer != 0 && trailer <= bytes.size()) {
    bytes.resize(trailer);
  }
  WriteU32(bytes.data() + kHeadIndexOffset, 0);
  bytes.resize(bytes.size() > cutTail ? bytes.size() - cutTail : 0);
  *size = bytes.size();
  return WriteFileBytes(path, bytes);
}

std::vector<uint8_t> HeadNaming(uint32_t audioCoder) {
  std::vector<uint8_t> head(grec::kHeadLength, 0);
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  grec::FillHead(head.data(), local);
  WriteU32(head.data() + grec::kOffAudioCodec, audioCoder);
  return head;
}

}  // namespace

GrecResult WriteGrecFile(const std::string& path, const std::vector<TaggedFrame>& frames, const GrecOptions& options) {
  GrecResult result;
  auto writer = std::make_unique<CRecWriterGrec>();
  const int opened = options.append ? writer->OpenWriterEx(path.c_str(), &result.recordedMs, CRecWriter::kNarrowPath)
                                    : writer->OpenWriter(path.c_str(), CRecWriter::kNarrowPath);
  if (opened != 0) {
    return result;
  }
  const std::vector<uint8_t> head =
      options.head.empty() && !options.append && options.audioCoder != 0 ? HeadNaming(options.audioCoder) : options.head;
  if (!head.empty() && writer->SetFileHead(head.data(), static_cast<uint32_t>(head.size())) != 0) {
    return result;
  }
  result.payloadOffsets.reserve(frames.size() * options.repeat);
  for (uint32_t k = 0; k < options.repeat; ++k) {
    const uint64_t shift = k * options.repeatPeriodUs;
    for (const TaggedFrame& f : frames) {
      uint32_t payload = 0;
      if (writer->WriteFrame(f.data.data(), static_cast<uint32_t>(f.data.size()), f.tag, f.stampUs + shift, &payload,
                             nullptr) != 0) {
        return result;
      }
      result.payloadOffsets.push_back(payload);
    }
  }
  writer->CloseWriter();
  writer.reset();
  if (options.unfinished) {
    result.ok = MakeUnfinished(path, options.cutTail, &result.fileSize);
    return result;
  }
  std::vector<uint8_t> bytes;
  result.ok = ReadWholeFile(path, &bytes);
  result.fileSize = bytes.size();
  return result;
}

}  // namespace zp::samples
