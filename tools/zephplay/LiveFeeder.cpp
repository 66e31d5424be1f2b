#include "LiveFeeder.h"

#include <unistd.h>

#include <algorithm>
#include <vector>

#include "ToolSession.h"

namespace {

constexpr uint32_t kReadWaitMs = 100;
constexpr uint32_t kRetryMs = 10;
// A file is read in pieces about the size of a burst of network packets; a connection or a
// pipe gives what has arrived.
constexpr size_t kFilePiece = 4096;
constexpr size_t kStreamPiece = 65536;
constexpr int32_t kTryAgainLater = -3;

// The player's frame types ("00dc", "01dc", "02dc", "09dc" as bytes), 0 for a kind it does not
// take whole (auxiliary frames).
uint32_t PlayerFrameType(const ScannedFrame& frame) {
  if (frame.video) {
    return frame.key ? 0x63643030 : 0x63643130;
  }
  if (frame.audio) {
    return 0x63643230;
  }
  return frame.data ? 0x63643930 : 0;
}

}  // namespace

void LiveFeeder::Start(ZEPHPLAY_PLAYHANDLE* handle) {
  m_handle = handle;
  m_thread = std::thread([this] { Run(); });
}

void LiveFeeder::StartGroup(ZEPHPLAY_MPBHANDLE group, uint32_t index) {
  m_group = group;
  m_channel = index;
  m_wholeFrames = true;
  m_thread = std::thread([this] { Run(); });
}

int32_t LiveFeeder::PushFrame(const uint8_t* data, uint32_t length, uint32_t type, uint64_t stampUs) {
  if (m_group != 0) {
    return ZEPHPLAY_MPBInputFrameData(m_group, m_channel, data, length, type, stampUs);
  }
  return ZEPHPLAY_InputFrameData(m_handle, data, length, type, stampUs);
}

void LiveFeeder::ResetPlayer() {
  if (m_group != 0) {
    ZEPHPLAY_MPBResetStream(m_group, m_channel);
  } else {
    ZEPHPLAY_ResetStream(m_handle);
  }
}

void LiveFeeder::Stop() {
  m_stop.store(true);
  if (m_thread.joinable()) {
    m_thread.join();
  }
}

void LiveFeeder::Run() {
  std::vector<uint8_t> buffer(m_source->IsFile() ? kFilePiece : kStreamPiece);
  std::string why;
  m_startMs = ToolNowMs();
  while (!m_stop.load()) {
    size_t got = 0;
    const StreamSource::Result result = m_source->Read(buffer.data(), buffer.size(), kReadWaitMs, &got, &why);
    if (result == StreamSource::Result::kEnd) {
      break;
    }
    if (result == StreamSource::Result::kIdle) {
      PassHeldFrames();
      continue;
    }
    if (!(m_wholeFrames ? FeedFrames(buffer.data(), got) : FeedBytes(buffer.data(), got))) {
      break;
    }
  }
  m_end = m_stop.load() ? "stopped" : why;
  m_done.store(true, std::memory_order_release);
  while (Sleep(kReadWaitMs)) {
    PassHeldFrames();
  }
}

void LiveFeeder::PassHeldFrames() {
  if (!m_wholeFrames) {
    ZEPHPLAY_InputStreamData(m_handle, nullptr, 0);
  }
}

bool LiveFeeder::FeedFrames(const uint8_t* data, size_t length) {
  for (size_t pos = 0, used = 0; pos < length; pos += used) {
    if (!m_assembler.Next(data + pos, length - pos, &used)) {
      continue;
    }
    const ScannedFrame& frame = m_assembler.Frame();
    const uint32_t type = PlayerFrameType(frame);
    if (type == 0) {
      continue;
    }
    if (!Pace(frame) ||
        !PushUntilTaken([&] { return PushFrame(m_assembler.Payload(), frame.length, type, frame.stampUs); })) {
      return false;
    }
    Publish(frame);
  }
  m_bytes.fetch_add(length);
  return true;
}

bool LiveFeeder::FeedBytes(const uint8_t* data, size_t length) {
  // Handed over up to the end of each whole frame in the piece, which a file's frame reaches
  // when its stamp is due; then the rest of the piece.
  const uint64_t pieceOffset = m_bytes.load();
  size_t handed = 0;
  for (size_t pos = 0, used = 0; pos < length; pos += used) {
    if (!m_assembler.Next(data + pos, length - pos, &used)) {
      continue;
    }
    const ScannedFrame frame = m_assembler.Frame();
    const size_t end = static_cast<size_t>(frame.End() - pieceOffset);
    if (!Pace(frame) || !PushBytes(data + handed, end - handed)) {
      return false;
    }
    handed = end;
    Publish(frame);
  }
  return PushBytes(data + handed, length - handed);
}

bool LiveFeeder::PushBytes(const uint8_t* data, size_t length) {
  if (length == 0) {
    return true;
  }
  if (!PushUntilTaken([&] { return ZEPHPLAY_InputStreamData(m_handle, data, static_cast<uint32_t>(length)); })) {
    return false;
  }
  m_bytes.fetch_add(length);
  return true;
}

void LiveFeeder::Publish(const ScannedFrame& frame) {
  if (frame.video) {
    m_videoFrames.fetch_add(1);
    m_latestVideoUs.store(frame.stampUs);
  }
  if (frame.audio) {
    m_audioFrames.fetch_add(1);
  }
  if (frame.HasStamp()) {
    uint64_t none = 0;
    m_firstUs.compare_exchange_strong(none, frame.stampUs);
  }
}

bool LiveFeeder::Pace(const ScannedFrame& frame) {
  if (!m_source->IsFile() || !frame.HasStamp()) {
    return true;
  }
  const uint64_t due = m_pacer.DueMs(frame.stampUs);
  for (uint32_t elapsed = ToolNowMs() - m_startMs; elapsed < due; elapsed = ToolNowMs() - m_startMs) {
    if (!Sleep(static_cast<uint32_t>(std::min<uint64_t>(due - elapsed, kReadWaitMs)))) {
      return false;
    }
  }
  return true;
}

template <typename Push>
bool LiveFeeder::PushUntilTaken(Push push) {
  uint32_t refusedSince = ToolNowMs();
  while (push() == kTryAgainLater) {
    if (ToolNowMs() - refusedSince > kStuckMs) {
      // What the player holds is lost, but this input and what follows get through.
      ResetPlayer();
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
