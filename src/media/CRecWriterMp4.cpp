#include "media/CRecWriterMp4.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <string>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/mathematics.h>
}

#include "common/ByteOrder.h"
#include "common/CAutoLock.h"
#include "common/CLibraryConfig.h"
#include "common/LogAccess.h"
#include "media/FrameFormat.h"
#include "media/GrecFormat.h"
#include "media/StreamAttr.h"
#include "platform/LocalTime.h"

namespace zp {

namespace {

constexpr int kTimeScale = 90000;
constexpr uint32_t kMaxPacket = INT32_MAX - AV_INPUT_BUFFER_PADDING_SIZE;
// A fragment per key frame, the head written before any sample: what makes a killed recording
// readable up to its last closed fragment.
constexpr const char* kMovFlags = "frag_keyframe+empty_moov+default_base_moof";
constexpr uint8_t kStartCode[4] = {0, 0, 0, 1};

constexpr int kH264Sps = 7;
constexpr int kHevcSps = 33;
// Of a key frame's first picture unit, the parser reads no more than its slice header.
constexpr uint32_t kSliceHeadBytes = 1024;

// The codec whose sequence parameter set the access unit carries: HEVC (type 33, temporal id 0)
// is tested first, its header bytes being the more specific.
AVCodecID DetectCodec(const CNalUnits& units) {
  bool h264 = false;
  for (size_t i = 0; i < units.Count(); ++i) {
    if (units.Type(i, true) == kHevcSps && units.Unit(i)[1] == 1) {
      return AV_CODEC_ID_HEVC;
    }
    h264 = h264 || units.Type(i, false) == kH264Sps;
  }
  return h264 ? AV_CODEC_ID_H264 : AV_CODEC_ID_NONE;
}

bool IsPicture(const CNalUnits& units, size_t i, bool hevc) {
  const int type = units.Type(i, hevc);
  return hevc ? type >= 0 && type <= 31 : type >= 1 && type <= 5;
}

// The index of the first unit that holds picture data: the parameter sets come before it.
size_t FirstPicture(const CNalUnits& units, bool hevc) {
  size_t i = 0;
  while (i < units.Count() && !IsPicture(units, i, hevc)) {
    ++i;
  }
  return i;
}

constexpr int kAacFrameSamples = 1024;
// How long the writer sleeps when the sound worker's queue is full; it wakes sooner as the
// worker gives a frame.
constexpr uint32_t kSoundWaitMs = 10;

// The AAC-LC AudioSpecificConfig of mono sound at `rate`: 2 bytes for a listed rate, 5 with the
// rate written out.
int WriteAacConfig(uint32_t rate, uint8_t* out) {
  static const uint32_t kRates[] = {96000, 88200, 64000, 48000, 44100, 32000, 24000,
                                    22050, 16000, 12000, 11025, 8000,  7350};
  uint32_t index = 15;
  for (uint32_t i = 0; i < sizeof kRates / sizeof kRates[0]; ++i) {
    index = kRates[i] == rate ? i : index;
  }
  uint64_t bits = 2;  // AAC-LC
  int count = 5;
  bits = bits << 4 | index;
  count += 4;
  if (index == 15) {
    bits = bits << 24 | rate;
    count += 24;
  }
  bits = bits << 4 | 1;  // one channel
  count += 4;
  const int bytes = (count + 3 + 7) / 8;  // three zero flag bits follow
  bits <<= bytes * 8 - count;
  for (int i = 0; i < bytes; ++i) {
    out[i] = static_cast<uint8_t>(bits >> (8 * (bytes - 1 - i)));
  }
  return bytes;
}

const char* CodecName(int codecId) { return codecId == AV_CODEC_ID_HEVC ? "HEVC" : "H.264"; }

}  // namespace

CRecWriterMp4::~CRecWriterMp4() {
  CAutoLock lock(&m_WriterLock);
  CloseLocked();
}

int CRecWriterMp4::OpenWriter(const char* path, int /*pathKind*/) {
  CAutoLock lock(&m_WriterLock);
  return OpenLocked(path);
}

int CRecWriterMp4::OpenWriterEx(const char* path, uint32_t* recordedMs, int /*pathKind*/) {
  CAutoLock lock(&m_WriterLock);
  if (recordedMs != nullptr) {
    *recordedMs = 0;
  }
  return OpenLocked(path);
}

int CRecWriterMp4::OpenLocked(const char* path) {
  CloseLocked();
  if (path == nullptr) {
    return -1;
  }
  if (avformat_alloc_output_context2(&m_pFormat, nullptr, "mp4", path) < 0 || m_pFormat == nullptr) {
    LogError("%s no MP4 muxer for %s", "CRecWriterMp4::OpenWriter", path);
    return -1;
  }
  m_pPacket = av_packet_alloc();
  // Named as a file outright: "cam:1.mp4" or "C:\\rec.mp4" would otherwise be taken for a
  // protocol's address.
  const std::string url = std::string("file:") + path;
  if (m_pPacket == nullptr || avio_open(&m_pFormat->pb, url.c_str(), AVIO_FLAG_WRITE) < 0) {
    LogError("%s cannot create %s", "CRecWriterMp4::OpenWriter", path);
    CloseLocked();
    return -1;
  }
  // Every packet reaches the file at once: a fragment is complete on disk when the next starts.
  m_pFormat->flush_packets = 1;
  // Our stamps never go below 0. Left to itself the muxer would move every track by the first
  // packet's time, which is sound's while the first video frames are held.
  m_pFormat->avoid_negative_ts = AVFMT_AVOID_NEG_TS_DISABLED;
  return 0;
}

int CRecWriterMp4::SetFileHead(const uint8_t* head, uint32_t length) {
  CAutoLock lock(&m_WriterLock);
  if (m_pFormat == nullptr || m_bStarted || head == nullptr || length < grec::kHeadFieldsLength) {
    return -1;
  }
  std::memcpy(m_HeadStart, head + grec::kOffStartTime, sizeof m_HeadStart);
  m_bHeadStart = true;
  m_nSoundCoder = ReadU32(head + grec::kOffStreamKind);
  return 0;
}

int CRecWriterMp4::SetStreamAttr(const uint8_t* attr, uint32_t length) {
  CAutoLock lock(&m_WriterLock);
  if (m_pFormat == nullptr || m_bStarted || attr == nullptr || length < kStreamAttrSize ||
      ReadU32(attr) != kStreamAttrMagic) {
    return -1;
  }
  m_nSoundCoder = ReadU32(attr + kStreamAttrAudioCodec);
  return 0;
}

int CRecWriterMp4::WriteFrame(const uint8_t* data, uint32_t length, uint32_t tag, uint64_t stamp,
                              uint32_t* payloadOffset, uint32_t* nextOffset) {
  CAutoLock lock(&m_WriterLock);
  // The muxer counts a packet's bytes in an int, padding included.
  if (m_pFormat == nullptr || (data == nullptr && length != 0) || length > kMaxPacket) {
    return -1;
  }
  int result = 0;
  if (IsVideoKind(tag)) {
    result = WriteVideo(data, length, IsKeyFrame(tag), stamp);
  } else if (IsAudioKind(tag)) {
    result = WriteSound(data, length, stamp);
  }
  if (payloadOffset != nullptr) {
    *payloadOffset = 0;
  }
  if (nextOffset != nullptr) {
    *nextOffset = static_cast<uint32_t>(avio_tell(m_pFormat->pb));
  }
  return result;
}

int CRecWriterMp4::WriteVideo(const uint8_t* data, uint32_t length, bool key, uint64_t stamp) {
  if (m_bRefused) {
    return -1;
  }
  if (!m_bStarted && !key) {
    return 0;
  }
  // The muxer gets the units length-prefixed, as MP4 holds them, and copies them as they are.
  if (!m_Units.Convert(data, length) || m_Units.Size() > kMaxPacket) {
    LogError("%s video frame without NAL units, or too large, left out", "CRecWriterMp4::WriteFrame");
    return m_bStarted ? -1 : 0;
  }
  if (key && !AcceptKeyFrame()) {
    return m_bStarted ? -1 : 0;
  }
  if (!m_bFirstStamp) {
    m_u64FirstStamp = stamp;
    m_bFirstStamp = true;
  }
  if (stamp < m_u64FirstStamp) {
    LogError("%s stamp %llu before the first frame's, frame left out", "CRecWriterMp4::WriteFrame",
             static_cast<unsigned long long>(stamp));
    return -1;
  }
  const int64_t pts = av_rescale(static_cast<int64_t>(stamp - m_u64FirstStamp), kTimeScale, 1000000);
  return PassVideo(m_Units.Data(), m_Units.Size(), key, pts);
}

int CRecWriterMp4::PassVideo(const uint8_t* data, uint32_t length, bool key, int64_t pts) {
  int result = 0;
  if (key && m_nHeldCount != 0) {
    // Whatever came before a key frame is shown before it: all of it goes now, so that the
    // fragment closes with this key frame as it does without B-frames.
    DecideReorderDelay();
    result = ReleaseHeld(0);
  }
  if (m_nReorderDelay == 0 || (key && m_nReorderDelay > 0)) {
    const int written = WriteVideoPacket(data, length, key, pts, pts - m_nReorderDelay);
    return result != 0 ? result : written;
  }
  Hold(data, length, key, pts);
  if (m_nHeldCount < kReorderWindow) {
    return result;
  }
  DecideReorderDelay();
  const int released = ReleaseHeld(m_nReorderDelay == 0 ? 0 : kReorderWindow - 1);
  return result != 0 ? result : released;
}

void CRecWriterMp4::Hold(const uint8_t* data, uint32_t length, bool key, int64_t pts) {
  // PassVideo releases frames as soon as the ring is full, so a place is always free here.
  HeldVideo& held = HeldAt(m_nHeldCount++);
  held.data.assign(data, data + length);
  held.nPts = pts;
  held.bKey = key;
  m_UnusedPts.push(pts);
}

void CRecWriterMp4::DecideReorderDelay() {
  if (m_nReorderDelay >= 0) {
    return;
  }
  int64_t sorted[kReorderWindow];
  for (size_t i = 0; i < m_nHeldCount; ++i) {
    sorted[i] = HeldAt(i).nPts;
  }
  std::sort(sorted, sorted + m_nHeldCount);
  m_nReorderDelay = 0;
  for (size_t i = 0; i < m_nHeldCount; ++i) {
    m_nReorderDelay = std::max(m_nReorderDelay, sorted[i] - HeldAt(i).nPts);
  }
}

int CRecWriterMp4::ReleaseHeld(size_t keep) {
  int result = 0;
  while (m_nHeldCount > keep) {
    const HeldVideo& held = HeldAt(0);
    // The smallest stamp not yet given out, moved back by the delay, is the next decode stamp:
    // rising, and at most the frame's own stamp while the reordering stays within the delay.
    const int64_t dts = std::min(m_UnusedPts.top() - m_nReorderDelay, held.nPts);
    m_UnusedPts.pop();
    if (WriteVideoPacket(held.data.data(), static_cast<uint32_t>(held.data.size()), held.bKey, held.nPts, dts) != 0) {
      result = -1;
    }
    m_nHeldFirst = (m_nHeldFirst + 1) % kReorderWindow;
    --m_nHeldCount;
  }
  return result;
}

int CRecWriterMp4::WriteVideoPacket(const uint8_t* data, uint32_t length, bool key, int64_t pts, int64_t wantedDts) {
  // Decode times start at 0: the first frames' are pressed together where the delay would put
  // them below it. A fragmented file's head, written first, has no edit list to take a negative
  // start back, so readers would show every picture the delay after its sound.
  const int64_t dts = std::max({wantedDts, m_nLastDts == kNoDts ? 0 : m_nLastDts + 1, int64_t{0}});
  if (dts > pts) {
    LogError("%s stamp %lld us too far out of order, frame left out", "CRecWriterMp4::WriteFrame",
             static_cast<long long>(av_rescale(pts, 1000000, kTimeScale)));
    return -1;
  }
  if (m_nLastDts != kNoDts) {
    m_nLastGap = dts - m_nLastDts;
  }
  m_nLastDts = dts;
  // The coming frame's distance is unknown yet: the last one stands for it.
  return WritePacket(m_pVideo, data, length, pts, dts, m_nLastGap, key);
}

int CRecWriterMp4::WriteSound(const uint8_t* data, uint32_t length, uint64_t stamp) {
  if (m_pSoundWorker == nullptr || m_pSound == nullptr) {
    return 0;
  }
  if (length > CAudioTranscodeWorker::kMaxPayload) {
    LogError("%s sound frame of %u bytes left out", "CRecWriterMp4::WriteFrame", length);
    return 0;
  }
  // A full queue only holds up a conversion, which writes faster than the sound is encoded:
  // the frames ready meanwhile go into the file, which makes room.
  while (!m_pSoundWorker->Put(data, length, stamp)) {
    if (WriteSoundFrames() != 0) {
      return -1;
    }
    m_pSoundWorker->Wait(kSoundWaitMs);
  }
  return WriteSoundFrames();
}

int CRecWriterMp4::WriteSoundFrames() {
  uint32_t frameLength = 0;
  uint64_t firstStamp = 0;
  while (m_pSoundWorker->Take(m_pSoundFrame.get(), &frameLength, &firstStamp)) {
    if (m_nSoundPts < 0) {
      const uint64_t offset = firstStamp > m_u64FirstStamp ? firstStamp - m_u64FirstStamp : 0;
      m_nSoundPts = av_rescale(static_cast<int64_t>(offset), m_nSoundRate, 1000000);
    }
    if (WritePacket(m_pSound, m_pSoundFrame.get(), frameLength, m_nSoundPts, m_nSoundPts, kAacFrameSamples, true) !=
        0) {
      return -1;
    }
    m_nSoundPts += kAacFrameSamples;
  }
  return 0;
}

// The sound's last partial frame and the frame the encoder looks ahead by would be lost.
void CRecWriterMp4::FinishSound() {
  if (m_pSoundWorker == nullptr || m_pSound == nullptr) {
    return;
  }
  m_pSoundWorker->Finish();
  while (WriteSoundFrames() == 0 && !m_pSoundWorker->IsDone()) {
    m_pSoundWorker->Wait(kSoundWaitMs);
  }
}

int CRecWriterMp4::WritePacket(AVStream* stream, const uint8_t* data, uint32_t length, int64_t pts, int64_t dts,
                               int64_t duration, bool key) {
  // The payload is lent to the muxer, which copies it into the fragment: no copy of ours.
  m_pPacket->data = const_cast<uint8_t*>(data);
  m_pPacket->size = static_cast<int>(length);
  m_pPacket->pts = pts;
  m_pPacket->dts = dts;
  m_pPacket->duration = duration;
  m_pPacket->flags = key ? AV_PKT_FLAG_KEY : 0;
  m_pPacket->stream_index = stream->index;
  const int ret = av_write_frame(m_pFormat, m_pPacket);
  m_pPacket->data = nullptr;
  m_pPacket->size = 0;
  if (ret < 0) {
    LogError("%s writing a frame to %s failed (%d)", "CRecWriterMp4::WriteFrame", m_pFormat->url, ret);
    return -1;
  }
  return 0;
}

bool CRecWriterMp4::AcceptKeyFrame() {
  VideoHead head;
  if (!ReadVideoHead(&head)) {
    if (!m_bStarted) {
      LogError("%s key frame without readable parameter sets left out", "CRecWriterMp4::WriteFrame");
    }
    // A later key frame without parameter sets keeps those of the track.
    return m_bStarted;
  }
  if (!m_bStarted) {
    // A muxer that failed to start keeps its half-made tracks: nothing more goes in.
    m_bRefused = !StartMuxer(head);
    return !m_bRefused;
  }
  if (head.nCodecId != m_VideoHead.nCodecId || head.nWidth != m_VideoHead.nWidth ||
      head.nHeight != m_VideoHead.nHeight) {
    LogError("%s key frame changes the video from %s %dx%d to %s %dx%d, video after it refused",
             "CRecWriterMp4::WriteFrame", CodecName(m_VideoHead.nCodecId), m_VideoHead.nWidth, m_VideoHead.nHeight,
             CodecName(head.nCodecId), head.nWidth, head.nHeight);
    m_bRefused = true;
    return false;
  }
  return true;
}

bool CRecWriterMp4::ReadVideoHead(VideoHead* head) {
  const AVCodecID codec = DetectCodec(m_Units);
  if (codec == AV_CODEC_ID_NONE) {
    return false;
  }
  head->nCodecId = codec;
  if (m_bStarted && m_VideoHead.nCodecId != codec) {
    return true;  // another codec: refused whatever its size
  }
  const bool hevc = codec == AV_CODEC_ID_HEVC;
  if (!m_bStarted && (!OpenParser(codec) || !m_Config.Make(hevc, m_Units, FirstPicture(m_Units, hevc)))) {
    return false;
  }
  const int front = CopyFront(FirstPicture(m_Units, hevc));
  uint8_t* out = nullptr;
  int outSize = 0;
  av_parser_parse2(m_pParser, m_pParseCodec, &out, &outSize, m_KeyFront.data(), front, AV_NOPTS_VALUE,
                   AV_NOPTS_VALUE, 0);
  head->nWidth = m_pParser->width;
  head->nHeight = m_pParser->height;
  return head->nWidth > 0 && head->nHeight > 0;
}

// Until the track starts, each key frame is read afresh, whatever codec came before.
bool CRecWriterMp4::OpenParser(int codecId) {
  av_parser_close(m_pParser);
  avcodec_free_context(&m_pParseCodec);
  m_pParser = av_parser_init(codecId);
  m_pParseCodec = avcodec_alloc_context3(nullptr);
  if (m_pParser == nullptr || m_pParseCodec == nullptr) {
    return false;
  }
  // Each call is one whole access unit: parse it now rather than wait for the next.
  m_pParser->flags |= PARSER_FLAG_COMPLETE_FRAMES;
  return true;
}

// The parser needs the parameter sets and the first slice header, in Annex B form and followed
// by the padding it reads past the end: the key frame's front is copied for it, not the frame.
int CRecWriterMp4::CopyFront(size_t firstPicture) {
  m_KeyFront.clear();
  for (size_t i = 0; i <= firstPicture && i < m_Units.Count(); ++i) {
    const uint32_t size = i == firstPicture ? std::min(m_Units.UnitSize(i), kSliceHeadBytes) : m_Units.UnitSize(i);
    m_KeyFront.insert(m_KeyFront.end(), kStartCode, kStartCode + sizeof kStartCode);
    m_KeyFront.insert(m_KeyFront.end(), m_Units.Unit(i), m_Units.Unit(i) + size);
  }
  const size_t length = m_KeyFront.size();
  m_KeyFront.resize(length + AV_INPUT_BUFFER_PADDING_SIZE, 0);
  return static_cast<int>(length);
}

bool CRecWriterMp4::StartMuxer(const VideoHead& head) {
  const std::vector<uint8_t>& record = m_Config.Record();
  m_pVideo = avformat_new_stream(m_pFormat, nullptr);
  if (m_pVideo == nullptr) {
    return false;
  }
  AVCodecParameters* par = m_pVideo->codecpar;
  par->extradata = static_cast<uint8_t*>(av_mallocz(record.size() + AV_INPUT_BUFFER_PADDING_SIZE));
  if (par->extradata == nullptr) {
    return false;
  }
  std::memcpy(par->extradata, record.data(), record.size());
  par->extradata_size = static_cast<int>(record.size());
  par->codec_type = AVMEDIA_TYPE_VIDEO;
  par->codec_id = static_cast<AVCodecID>(head.nCodecId);
  par->width = head.nWidth;
  par->height = head.nHeight;
  m_pVideo->time_base = AVRational{1, kTimeScale};
  if (!AddSoundTrack()) {
    return false;
  }
  SetCreationTime();
  AVDictionary* options = nullptr;
  av_dict_set(&options, "movflags", kMovFlags, 0);
  const int ret = avformat_write_header(m_pFormat, &options);
  av_dict_free(&options);
  if (ret < 0) {
    LogError("%s writing the head of %s failed (%d)", "CRecWriterMp4::WriteFrame", m_pFormat->url, ret);
    m_bRefused = true;
    return false;
  }
  m_VideoHead = head;
  m_bStarted = true;
  LogInfo("%s %s %s %dx%d", "CRecWriterMp4::WriteFrame", m_pFormat->url, CodecName(head.nCodecId), head.nWidth,
          head.nHeight);
  return true;
}

// The sound track, when a transcoder takes the sound's coder type; false only without memory.
bool CRecWriterMp4::AddSoundTrack() {
  std::unique_ptr<IAudioTranscoder> transcoder(IAudioTranscoder::Make());
  const uint32_t coder =
      m_nSoundCoder != 0 ? m_nSoundCoder : static_cast<uint32_t>(CLibraryConfig::Instance().DefaultAudioCoder());
  if (transcoder == nullptr || !transcoder->Open(coder, &m_nSoundRate)) {
    LogInfo("%s no sound track in %s (audio coder %u)", "CRecWriterMp4::WriteFrame", m_pFormat->url, coder);
    return true;
  }
  m_pSoundFrame.reset(new (std::nothrow) uint8_t[CAudioTranscodeWorker::kMaxFrame]);
  m_pSoundWorker = std::make_unique<CAudioTranscodeWorker>(std::move(transcoder));
  if (m_pSoundFrame == nullptr || !m_pSoundWorker->Start()) {
    LogError("%s no sound track in %s: its worker did not start", "CRecWriterMp4::WriteFrame", m_pFormat->url);
    m_pSoundWorker.reset();
    return true;
  }
  m_pSound = avformat_new_stream(m_pFormat, nullptr);
  if (m_pSound == nullptr) {
    return false;
  }
  AVCodecParameters* par = m_pSound->codecpar;
  par->extradata = static_cast<uint8_t*>(av_mallocz(8 + AV_INPUT_BUFFER_PADDING_SIZE));
  if (par->extradata == nullptr) {
    return false;
  }
  par->extradata_size = WriteAacConfig(m_nSoundRate, par->extradata);
  par->codec_type = AVMEDIA_TYPE_AUDIO;
  par->codec_id = AV_CODEC_ID_AAC;
  par->profile = FF_PROFILE_AAC_LOW;
  par->sample_rate = static_cast<int>(m_nSoundRate);
  par->frame_size = kAacFrameSamples;
  av_channel_layout_default(&par->ch_layout, 1);
  m_pSound->time_base = AVRational{1, static_cast<int>(m_nSoundRate)};
  return true;
}

// The recording's creation time, as local wall-clock time: SetFileBeginTime's when in use, else
// the application head's start time, else now.
void CRecWriterMp4::SetCreationTime() {
  std::tm t = platform::LocalTimeNow();
  if (m_nUseBeginTime != 0) {
    t.tm_year = static_cast<int>(m_nBeginYear) - 1900;
    t.tm_mon = static_cast<int>(m_nBeginMonth) - 1;
    t.tm_mday = static_cast<int>(m_nBeginDay);
    t.tm_hour = static_cast<int>(m_nBeginHour);
    t.tm_min = static_cast<int>(m_nBeginMinute);
    t.tm_sec = static_cast<int>(m_nBeginSecond);
  } else if (m_bHeadStart) {
    t.tm_year = m_HeadStart[0] + 100;
    t.tm_mon = m_HeadStart[1] - 1;
    t.tm_mday = m_HeadStart[2];
    t.tm_hour = m_HeadStart[3];
    t.tm_min = m_HeadStart[4];
    t.tm_sec = m_HeadStart[5];
  }
  // Without a trailing 'Z' the muxer reads the time as local time.
  char text[64];
  std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", t.tm_year + 1900, t.tm_mon + 1, t.tm_mday,
                t.tm_hour, t.tm_min, t.tm_sec);
  av_dict_set(&m_pFormat->metadata, "creation_time", text, 0);
}

int CRecWriterMp4::CloseWriter() {
  CAutoLock lock(&m_WriterLock);
  CloseLocked();
  return 0;
}

void CRecWriterMp4::CloseLocked() {
  if (m_pFormat != nullptr) {
    DecideReorderDelay();
    ReleaseHeld(0);
    FinishSound();
    if (m_bStarted && av_write_trailer(m_pFormat) < 0) {
      LogError("%s writing the end of %s failed", "CRecWriterMp4::CloseWriter", m_pFormat->url);
    }
    avio_closep(&m_pFormat->pb);
    avformat_free_context(m_pFormat);
    m_pFormat = nullptr;
  }
  av_packet_free(&m_pPacket);
  av_parser_close(m_pParser);
  m_pParser = nullptr;
  avcodec_free_context(&m_pParseCodec);
  m_pVideo = nullptr;
  m_pSound = nullptr;
  m_pSoundWorker.reset();
  m_nSoundCoder = 0;
  m_nSoundRate = 0;
  m_nSoundPts = -1;
  m_VideoHead = VideoHead{};
  m_bStarted = false;
  m_bRefused = false;
  m_u64FirstStamp = 0;
  m_bFirstStamp = false;
  m_nLastDts = kNoDts;
  m_nLastGap = 0;
  m_nReorderDelay = -1;
  m_nHeldFirst = 0;
  m_nHeldCount = 0;
  m_UnusedPts = {};
  m_bHeadStart = false;
}

}  // namespace zp
