#include "LiveFeeder.h"

#include <unistd.h>

#include <algorithm>
#include <vector>

#include "ToolSession.h"

namespace {

constexpr uint32_t kReadWaitMs = 100;
constexpr uint32_t kRetryMs = 10;
// A file is read in pieces about the size of a network packet burst; a connection or a pipe
// gives what has arrived.
constexpr size_t kFilePiece = 4096;
constexpr size_t kStreamPiece = 65536;
constexpr int32_t kTryAgainLater = -3;

}  // namespace

void LiveFeeder::Start(ZEPHPLAY_PLAYHANDLE* handle) {
  m_handle = handle;
  m_thread = std::thread([this] { Run(); });
}

void LiveFeeder::Stop() {
  m_stop.store(true);
  if (m_thread.joinable()) {
    m_thread.join();
  }
}

void LiveFeeder::Run() {
  std::vector<uint8_t> buffer(m_source->IsFile() ? kFilePiece : kStreamPiece);
  std::string why = "stopped";
  m_startMs = ToolNowMs();
  while (!m_stop.load()) {
    size_t got = 0;
    const StreamSource::Result result = m_source->Read(buffer.data(), buffer.size(), kReadWaitMs, &got, &why);
    if (result == StreamSource::Result::kEnd) {
      break;
    }
    if (result == StreamSource::Result::kIdle) {
      continue;
    }
    const PieceScan scan = Scan(buffer.data(), got);
    if ((m_source->IsFile() && !Pace(scan)) || !Push(buffer.data(), got)) {
      why = "stopped";
      break;
    }
    Publish(scan, got);
  }
  m_end = why;
  m_done.store(true, std::memory_order_release);
}

LiveFeeder::PieceScan LiveFeeder::Scan(const uint8_t* data, size_t length) {
  PieceScan scan;
  ScannedFrame frame;
  size_t pos = 0;
  while (pos < length) {
    size_t used = 0;
    const bool found = m_scanner.Next(data + pos, length - pos, &used, &frame);
    pos += used;
    if (!found) {
      continue;
    }
    scan.video += frame.video ? 1 : 0;
    scan.audio += frame.audio ? 1 : 0;
    if (frame.video) {
      scan.latestVideoUs = frame.stampUs;
    }
    if (frame.HasStamp()) {
      scan.newestUs = scan.stamped ? std::max(scan.newestUs, frame.stampUs) : frame.stampUs;
      scan.stamped = true;
      uint64_t none = 0;
      m_firstUs.compare_exchange_strong(none, frame.stampUs);
    }
  }
  return scan;
}

void LiveFeeder::Publish(const PieceScan& scan, size_t length) {
  m_bytes.fetch_add(length);
  m_videoFrames.fetch_add(scan.video);
  m_audioFrames.fetch_add(scan.audio);
  if (scan.video > 0) {
    m_latestVideoUs.store(scan.latestVideoUs);
  }
}

bool LiveFeeder::Pace(const PieceScan& scan) {
  if (!scan.stamped) {
    return true;
  }
  const uint64_t due = m_pacer.DueMs(scan.newestUs);
  for (uint32_t elapsed = ToolNowMs() - m_startMs; elapsed < due; elapsed = ToolNowMs() - m_startMs) {
    if (!Sleep(static_cast<uint32_t>(std::min<uint64_t>(due - elapsed, kReadWaitMs)))) {
      return false;
    }
  }
  return true;
}

bool LiveFeeder::Push(const uint8_t* data, size_t length) {
  uint32_t refusedSince = ToolNowMs();
  while (ZEPHPLAY_InputStreamData(m_handle, data, static_cast<uint32_t>(length)) == kTryAgainLater) {
    if (ToolNowMs() - refusedSince > kStuckMs) {
      // What the player holds is lost, but this piece and those after it get through.
      ZEPHPLAY_ResetStream(m_handle);
      m_resets.fetch_add(1);
      refusedSince = ToolNowMs();
    }
    if (!Sleep(kRetryMs)) {
      return false;
    }
  }
  return true;
}

bool LiveFeeder::Sleep(uint32_t ms) const {
  usleep(ms * 1000);
  return !m_stop.load();
}
