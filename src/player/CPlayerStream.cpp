#include "player/CPlayerStream.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "common/ByteOrder.h"
#include "common/CAutoLock.h"
#include "common/CLibraryConfig.h"
#include "common/LogAccess.h"
#include "common/Settings.h"
#include "media/FrameFormat.h"
#include "platform/Tick.h"

namespace zp {

namespace {

constexpr uint32_t kRefusedType = 2;
constexpr uint32_t kAttrType = 1;
constexpr uint32_t kKeyClass = 0x63643000;
constexpr uint32_t kPredictedClass = 0x63643100;
constexpr uint32_t kAudioClass = 0x63643200;
constexpr uint32_t kAuxClass = 0x63643900;
constexpr uint32_t kKeyWaitType = 0x63643030;
constexpr uint32_t kMinDelayFloorMs = 100;
constexpr uint32_t kMaxDelayCeilingMs = 60000;
constexpr uint32_t kIdleWaitMs = 20;
constexpr uint32_t kPausedWaitMs = 20;
constexpr uint32_t kSeekLagMs = 2000;
constexpr int kCachedReadAhead = 5;
constexpr int kAudioEntriesPerCycle = 10;
constexpr uint64_t kSeekSlackUs = 3000000;
// A refused queue never grows past this: the factor would otherwise overflow 32 bits.
constexpr uint64_t kMaxVideoQueueBytes = 1ull << 30;
// Audio cutting.
constexpr uint32_t kVoiceCutFrom = 325;
constexpr uint32_t kVoicePiece = 160;
constexpr uint8_t kVoiceHeader[4] = {0x00, 0x01, 0x50, 0x00};
constexpr uint32_t kPcmCoder = 20;
constexpr uint32_t kPcmPiece = 1280;
// The stream attribute's fields.
constexpr size_t kAttrVideoCodec = 4;
constexpr size_t kAttrAudio1 = 16;
constexpr size_t kAttrAudio2 = 20;
constexpr size_t kAttrAudio3 = 24;
constexpr size_t kAttrVideoOption = 28;
constexpr size_t kAttrVideoBlock1 = 32;
constexpr size_t kAttrVideoBlock2 = 64;
constexpr size_t kAttrPictureClass = 100;
constexpr uint32_t kQueueBytesD1 = 0x600000;
constexpr uint32_t kQueueBytes720P = 0xC00000;
constexpr uint32_t kQueueBytes1080P = 0x1800000;
const char* const kFnAttr = "CPlayerStream::SetStreamAttr";
const char* const kFnVideo = "CPlayerStream::InputVideoFrame";

uint32_t Class(uint32_t nType) { return nType & 0xFFFFFF00u; }
bool IsKey(uint32_t nType) { return Class(nType) == kKeyClass; }
bool IsValidAttr(const uint8_t* pAttr) { return ReadU32(pAttr) == kStreamAttrMagic; }
// Class 0 is read as 2.
uint8_t PictureClassOf(const uint8_t* pAttr) { return pAttr[kAttrPictureClass] == 0 ? 2 : pAttr[kAttrPictureClass]; }

// The parser's tag word as the player's frame type.
uint32_t MapParsedType(uint32_t nTag) {
  switch (nTag) {
    case 1:
    case 2:
    case 0x63643230:
      return nTag;
    case 0x63643000:
      return 0x63643030;
    case 0x63643100:
      return 0x63643130;
    case 0x63643939:
      return 0x63643930;
    default:
      return 0x63643939;
  }
}

}  // namespace

CPlayerStream::CPlayerStream() {
  const CLibraryConfig& config = CLibraryConfig::Instance();
  m_nMinDelay = static_cast<uint32_t>(config.VideoMinDelay());
  m_nMaxDelay = static_cast<uint32_t>(config.VideoMaxDelay());
  m_nDelayEnable = static_cast<uint32_t>(config.VideoDelayEnable());
}

CPlayerStream::~CPlayerStream() { CloseStream(); }

void CPlayerStream::ReleasePlay() { CloseStream(); }

int CPlayerStream::Open(uint32_t nVideoQueueBytes, uint32_t nUnpaced) {
  // The base option: delay control without hardware decoding.
  m_nUnpaced = nUnpaced;
  m_VideoFrames.Init(kQueueFrames, nVideoQueueBytes);
  m_AudioFrames.Init(kQueueFrames, kAudioQueueBytes);
  CreateVDecoder(0, 0, nullptr, nullptr, 0);  // a new decoder has picture class 2
  CreateADecoder(0, 0, 0, 0);
  if (m_nStreamMode != kModeCached) {
    m_WaveOut.SetLongClear(true);
  }
  {
    CAutoLock lock(&m_InputLock);
    m_Input.Reset();
  }
  CAutoLock threads(&m_ThreadsLock);
  StartThreads();
  m_nThreadsRunning = 1;
  return 0;
}

int CPlayerStream::CloseStream() {
  {
    CAutoLock threads(&m_ThreadsLock);
    if (!StopThreads()) {
      return -1;
    }
    m_nThreadsRunning = 0;
  }
  CloseDecoders();
  m_Cache.Close();
  StopPlayRecord();
  return 0;
}

int CPlayerStream::SetPlayBuffer(uint32_t nBytes) {
  m_VideoFrames.Resize(kQueueFrames, nBytes);
  return 0;
}

int CPlayerStream::SetStreamMode(uint32_t nMode) {
  CAutoLock play(&m_PlayLock);
  m_nStreamMode = nMode;
  ResetPacing();
  m_nPlaying = 0;
  m_Cache.Close();
  if (nMode == kModeCached) {
    if (!m_Cache.Open()) {
      LogError("%s cache file not created", "CPlayerStream::SetStreamMode");
    }
    m_WaveOut.SetLongClear(false);
  } else {
    // Deliberate: the configured and the set delays give way to the defaults at every change.
    m_nMinDelay = m_nDefaultMinDelay;
    m_nMaxDelay = m_nDefaultMaxDelay;
    m_WaveOut.SetLongClear(true);
  }
  WakePlay();
  return 0;
}

int CPlayerStream::SetDelayTime(uint32_t nMinMs, uint32_t nMaxMs) {
  if (m_nDelayEnable == 0) {
    return 0;
  }
  if (nMinMs < kMinDelayFloorMs || nMaxMs > kMaxDelayCeilingMs || nMaxMs <= nMinMs) {
    return 1;
  }
  CAutoLock play(&m_PlayLock);
  m_nDefaultMinDelay = nMinMs;
  m_nDefaultMaxDelay = nMaxMs;
  m_nMinDelay = nMinMs;
  m_nMaxDelay = nMaxMs;
  return 0;
}

// ---- stream attribute -------------------------------------------------------------------

int CPlayerStream::SetStreamAttr(const uint8_t* pAttr, uint32_t nLength) {
  if (pAttr == nullptr || nLength < kStreamAttrSize) {
    return 0;
  }
  {
    CAutoLock record(&m_RecordLock);
    CAutoLock attr(&m_AttrLock);
    if (m_pRecorder != nullptr) {
      // A recording runs on the attribute it started with: a second one ends it.
      if (!IsValidAttr(m_StreamAttr)) {
        m_pRecorder->SetStreamAttr(pAttr, kStreamAttrSize);
      } else {
        StopRecordLocked();
      }
    }
    std::memcpy(m_StreamAttr, pAttr, kStreamAttrSize);
  }
  if (!IsValidAttr(pAttr)) {
    return 0;
  }
  m_nAttrAudioCodec = ReadU32(pAttr + kStreamAttrAudioCodec);
  UpdateAudioDecoder(pAttr);
  bool changed = false;
  if (!VideoDecoderFits(pAttr)) {
    // The decode thread copies a decoder's picture outside the decoder lock, so a decoder is
    // replaced or re-initialised only while the threads stand still.
    CAutoLock threads(&m_ThreadsLock);
    const bool running = m_nThreadsRunning != 0;
    if (running && !StopThreads()) {
      return 0;  // on the player's own thread (logged): the decoder stays
    }
    UpdateVideoDecoder(pAttr, &changed);
    if (running) {
      StartThreads();
    }
  }
  SizeQueueForClass(PictureClassOf(pAttr), &changed);
  if (changed) {
    ResetStream();
  }
  return 0;
}

void CPlayerStream::UpdateAudioDecoder(const uint8_t* pAttr) {
  const uint32_t codec = ReadU32(pAttr + kStreamAttrAudioCodec);
  {
    CAutoLock lock(&m_AudioLock);
    if (m_pADecoder != nullptr && m_pADecoder->CoderType() == codec && codec >= 1 && codec <= 25) {
      return;
    }
  }
  CreateADecoder(codec, ReadU32(pAttr + kAttrAudio1), ReadU32(pAttr + kAttrAudio2), ReadU32(pAttr + kAttrAudio3));
}

bool CPlayerStream::KeepsVideoDecoder(const uint8_t* pAttr) {
  CAutoLock lock(&m_DecoderLock);
  return m_pVDecoder != nullptr && m_pVDecoder->DecoderType() == ReadU32(pAttr + kAttrVideoCodec) &&
         (Settings::nWaterEnable == 0 || m_pVDecoder->WatermarkOption() == static_cast<int8_t>(pAttr[kAttrVideoOption]));
}

bool CPlayerStream::VideoDecoderFits(const uint8_t* pAttr) {
  CAutoLock lock(&m_DecoderLock);
  return KeepsVideoDecoder(pAttr) && m_pVDecoder->PictureClass() == PictureClassOf(pAttr);
}

void CPlayerStream::UpdateVideoDecoder(const uint8_t* pAttr, bool* pChanged) {
  const auto option = static_cast<int8_t>(pAttr[kAttrVideoOption]);
  const uint8_t picClass = PictureClassOf(pAttr);
  CAutoLock lock(&m_DecoderLock);
  if (!KeepsVideoDecoder(pAttr)) {
    const uint32_t codec = ReadU32(pAttr + kAttrVideoCodec);
    // The two blocks go along as creation takes them; our decoders size themselves by the class.
    CreateVDecoder(codec, 0, const_cast<uint8_t*>(pAttr + kAttrVideoBlock1),
                   const_cast<uint8_t*>(pAttr + kAttrVideoBlock2), static_cast<uint8_t>(option));
    m_VideoFrames.Reset();
    *pChanged = true;
  }
  if (m_pVDecoder != nullptr && m_pVDecoder->PictureClass() != picClass) {
    m_pVDecoder->SetPictureClass(picClass);
    m_pVDecoder->UnInit();
    m_pVDecoder->InitDecoder(0);
    *pChanged = true;
  }
}

void CPlayerStream::SizeQueueForClass(uint8_t nClass, bool* pChanged) {
  uint32_t bytes = 0;
  const char* format = nullptr;
  switch (nClass) {
    case 4:
      bytes = kQueueBytesD1;
      format = "%s D1 Relloc Frame Buffer";
      break;
    case 5:
      bytes = kQueueBytes720P;
      format = "%s 720P Relloc Frame Buffer";
      break;
    case 6:
      bytes = kQueueBytes1080P;
      format = "%s 1080P Relloc Frame Buffer";
      break;
    default:
      return;
  }
  if (m_VideoFrames.Capacity() == bytes) {
    return;
  }
  // A refused resize (more held than fits, or no memory) still counts as a change.
  m_VideoFrames.Resize(kQueueFrames, bytes);
  LogInfo(format, kFnAttr);
  *pChanged = true;
}

// ---- input ------------------------------------------------------------------------------

int CPlayerStream::InputStreamData(const uint8_t* pData, uint32_t nLength) {
  if (pData == nullptr && nLength != 0) {
    return -1;
  }
  CAutoLock lock(&m_InputLock);
  return m_Input.Input(pData, nLength);
}

int CPlayerStream::PutFrame(uint32_t nTag, uint64_t u64Stamp, const uint8_t* pPart1, uint32_t nLength1,
                            const uint8_t* pPart2, uint32_t nLength2, bool bGrow) {
  const uint32_t type = MapParsedType(nTag);
  const uint32_t kind = Class(nTag);
  if (kind == kKeyClass || kind == kPredictedClass) {
    return InputVideoParts(pPart1, nLength1, pPart2, nLength2, type, u64Stamp, bGrow);
  }
  if (kind != kAudioClass) {
    return 0;
  }
  if (nLength2 != 0) {
    return -3;  // sound is cut into codec frames from one piece
  }
  return InputAudioFrame(pPart1, nLength1, type, u64Stamp);
}

int CPlayerStream::BeginFrame(uint32_t nTag, uint64_t u64Stamp, uint32_t nTotal, const uint8_t* pPart,
                              uint32_t nLength) {
  const uint32_t kind = Class(nTag);
  if (kind != kKeyClass && kind != kPredictedClass) {
    return -1;
  }
  const uint32_t type = MapParsedType(nTag);
  if (!PassKeyWait(type)) {
    return 0;
  }
  if (m_VideoFrames.BeginFrame({type, nTotal, u64Stamp}, pPart, nLength) == 0) {
    return -1;
  }
  m_nPartialType = type;
  return 1;
}

bool CPlayerStream::AppendFrame(const uint8_t* pPart, uint32_t nLength) {
  bool done = false;
  bool wasEmpty = false;
  if (m_VideoFrames.AppendFrame(pPart, nLength, &done, &wasEmpty) == 0) {
    return false;
  }
  if (done) {
    VideoQueued(m_nPartialType, wasEmpty);
  }
  return true;
}

int CPlayerStream::InputFrameData(const uint8_t* pData, uint32_t nLength, uint32_t nType, uint64_t u64Stamp,
                                  bool bFromCaller) {
  if (pData == nullptr) {
    return -1;
  }
  if (nType == kAttrType) {
    SetStreamAttr(pData, nLength);
    return 0;
  }
  if (nType == kRefusedType) {
    return -4;
  }
  if (m_nAudioOnly != 0 && IsKey(nType)) {
    m_nAudioOnly = 0;
  }
  if (bFromCaller && m_Cache.IsOpen()) {
    m_Cache.Append(pData, nLength, nType, u64Stamp);  // a write error only loses the frame
    WakePlay();
    return 0;
  }
  int result = -1;
  const uint32_t kind = Class(nType);
  if (kind == kKeyClass || kind == kPredictedClass) {
    m_u64LastVideoStamp = u64Stamp;
    result = InputVideoFrame(pData, nLength, nType, u64Stamp);
  } else if (kind == kAudioClass) {
    result = InputAudioFrame(pData, nLength, nType, u64Stamp);
  } else if (kind == kAuxClass) {
    // Auxiliary frames carry no time of their own: they belong to the picture before them.
    result = InputVideoFrame(pData, nLength, nType, m_u64LastVideoStamp);
  }
  CAutoLock record(&m_RecordLock);
  if (m_pRecorder != nullptr) {
    m_pRecorder->WriteFrame(pData, nLength, nType, u64Stamp, &m_nRecordStatus[0], &m_nRecordStatus[1]);
  }
  return result;
}

int CPlayerStream::InputVideoFrame(const uint8_t* pData, uint32_t nLength, uint32_t nType, uint64_t u64Stamp) {
  return InputVideoParts(pData, nLength, nullptr, 0, nType, u64Stamp, true);
}

int CPlayerStream::InputVideoParts(const uint8_t* pPart1, uint32_t nLength1, const uint8_t* pPart2,
                                   uint32_t nLength2, uint32_t nType, uint64_t u64Stamp, bool bGrow) {
  if (!PassKeyWait(nType)) {
    return 0;
  }
  const QueueFrameHead head{nType, nLength1 + nLength2, u64Stamp};
  bool wasEmpty = false;
  if (m_VideoFrames.WriteFrame2(head, pPart1, nLength1, pPart2, nLength2, &wasEmpty) == 0) {
    // Behind a frame still arriving the queue refuses whatever its room: growing is no help.
    if (!bGrow || m_VideoFrames.IsFrameUnderWay()) {
      return -3;
    }
    GrowVideoQueue();
    if (m_VideoFrames.WriteFrame2(head, pPart1, nLength1, pPart2, nLength2, &wasEmpty) == 0) {
      return -3;
    }
  }
  VideoQueued(nType, wasEmpty);
  return 0;
}

bool CPlayerStream::PassKeyWait(uint32_t nType) {
  if (m_nWaitKey == 0) {
    return true;
  }
  if ((nType & 0xFFFFFFF0u) != kKeyWaitType) {
    return false;
  }
  m_nWaitKey = 0;
  return true;
}

void CPlayerStream::VideoQueued(uint32_t nType, bool bWasEmpty) {
  WakeDecodeFor(nType, bWasEmpty);  // a stream's input has no end to drain at
  // Only the delay mode's buffering watches the queue itself; every other cycle waits for
  // pictures, whose push wakes it. A wake for every frame cost the input path a quarter.
  if (m_nStreamMode == kModeDelay && m_nPlaying == 0) {
    WakePlay();
  }
}

// Kept as it always was: the slot count goes in as the maximum frame count, and Resize makes
// one slot more than that, so every growth adds exactly one slot.
void CPlayerStream::GrowVideoQueue() {
  const auto frames = static_cast<uint32_t>(m_VideoFrames.GetFrameNum());
  const uint32_t slots = m_VideoFrames.SlotCount();
  const uint64_t total = static_cast<uint64_t>(m_VideoFrames.UsedBytes()) + m_VideoFrames.FreeBytes();
  const uint32_t factor = CStreamTiming::GrowthFactor(frames, slots);
  switch (factor) {
    case 8:
      LogInfo("%s ReAllocFrame <25%% x8", kFnVideo);
      break;
    case 4:
      LogInfo("%s ReAllocFrame <50%% x4", kFnVideo);
      break;
    case 2:
      LogInfo("%s ReAllocFrame <80%% x2", kFnVideo);
      break;
    default:
      LogInfo("%s ReAllocFrame >80%%", kFnVideo);
      return;
  }
  const uint64_t bytes = total * factor;
  if (bytes <= kMaxVideoQueueBytes) {
    m_VideoFrames.Resize(slots, static_cast<uint32_t>(bytes));
  }
}

int CPlayerStream::InputAudioFrame(const uint8_t* pData, uint32_t nLength, uint32_t nType, uint64_t u64Stamp) {
  {
    CAutoLock lock(&m_AudioLock);
    if (m_pADecoder != nullptr && m_pADecoder->InputFirstAudioData(pData, nLength)) {
      // A new audio format: what was queued in the old one is no use.
      m_AudioFrames.Reset();
      m_WaveOut.Stop();
      if (m_nSoundOn != 0) {
        m_WaveOut.Start();
      }
    }
  }
  if (m_AudioFrames.FreeBytes() < nLength) {
    return -3;
  }
  const uint32_t codec = m_nAttrAudioCodec;
  if (nLength >= 2 && pData[0] == 0x00 && pData[1] == 0x01) {
    uint32_t size = nLength >= 4 ? ReadU16(pData + 2) * 2u + 4u : nLength + 1;
    if (size > nLength) {
      size = nLength >= 3 ? pData[2] : 0;
      if (size == 0 || size > nLength) {
        size = nLength;
      }
    }
    if ((codec != 10 && codec != 11) || size < kVoiceCutFrom) {
      for (uint32_t i = 0; i < nLength / size; ++i) {
        PushAudio({nType, size, u64Stamp}, pData + i * size);
      }
      return 0;
    }
    // The voice engine of these coders takes 160-byte units: a long unit is cut into them.
    for (uint32_t i = 0; i < (size - 4) / kVoicePiece; ++i) {
      m_AudioFrames.WriteFrame2({nType, kVoicePiece + 4, u64Stamp}, kVoiceHeader, 4, pData + 4 + i * kVoicePiece,
                                kVoicePiece);
    }
    return 0;
  }
  if (codec == kPcmCoder && nLength > kPcmPiece) {
    uint32_t at = 0;
    for (; at + kPcmPiece <= nLength; at += kPcmPiece) {
      PushAudio({nType, kPcmPiece, u64Stamp}, pData + at);
    }
    if (at < nLength) {
      PushAudio({nType, nLength - at, u64Stamp}, pData + at);
    }
    return 0;
  }
  PushAudio({nType, nLength, u64Stamp}, pData);
  return 0;
}

// A refused piece is dropped: the sound goes on with the next.
void CPlayerStream::PushAudio(const QueueFrameHead& head, const uint8_t* pData) {
  m_AudioFrames.WriteFrame(head, pData);
}

// ---- reset, recording ---------------------------------------------------------------------

int CPlayerStream::ResetStream() {
  StopPlayRecord();
  {
    CAutoLock play(&m_PlayLock);
    ClearQueued();
    {
      CAutoLock input(&m_InputLock);
      m_Input.Reset();
    }
    m_Cache.Rewind();
  }
  m_nWaitKey = 1;
  return 0;
}

void CPlayerStream::ClearQueued() {
  m_u64LastShowStamp = 0;
  ClearPictures();
  m_VideoFrames.Reset();
  m_AudioFrames.Reset();
}

int CPlayerStream::StartPlayRecord(const char* pPath, uint32_t /*nType*/) {
  CAutoLock record(&m_RecordLock);
  if (m_pRecorder == nullptr && pPath != nullptr) {
    // Our paths are UTF-8 whatever the caller's type says: always the narrow kind.
    CRecWriter* writer = CRecWriter::CreateRecWriter(pPath, CRecWriter::kNarrowPath);
    if (writer != nullptr && writer->OpenWriter(pPath, CRecWriter::kNarrowPath) != 0) {
      delete writer;
      writer = nullptr;
    }
    m_pRecorder = writer;
    CAutoLock attr(&m_AttrLock);
    if (m_pRecorder != nullptr && IsValidAttr(m_StreamAttr)) {
      m_pRecorder->SetStreamAttr(m_StreamAttr, kStreamAttrSize);
    }
  }
  m_nRecordStatus[0] = 0;
  m_nRecordStatus[1] = 0;
  return m_pRecorder != nullptr ? 0 : 1;
}

int CPlayerStream::StopPlayRecord() {
  CAutoLock record(&m_RecordLock);
  if (m_pRecorder == nullptr) {
    return 1;
  }
  StopRecordLocked();
  return 0;
}

void CPlayerStream::StopRecordLocked() {
  delete m_pRecorder;  // the writer closes the recording as it goes
  m_pRecorder = nullptr;
}

int CPlayerStream::GetPlayRecordStatus() {
  CAutoLock record(&m_RecordLock);
  return m_pRecorder != nullptr ? static_cast<int>(m_nRecordStatus[1]) : -1;
}

int CPlayerStream::GetPlayStamp(uint64_t* pStamp) {
  if (pStamp != nullptr) {
    *pStamp = m_u64LastShowStamp;
  }
  return 0;
}

// ---- queries --------------------------------------------------------------------------------

int CPlayerStream::GetVideoFrameNum(uint32_t* pFrames) {
  CAutoLock index(m_Cache.IndexLock());
  const int left = m_Cache.Count() - m_Cache.Position();
  if (pFrames != nullptr) {
    *pFrames = static_cast<uint32_t>(left);
  }
  return left != 0 ? 0 : -1;
}

int CPlayerStream::GetSourceBufferRemain(uint32_t* pBytes) {
  if (pBytes != nullptr) {
    *pBytes = m_VideoFrames.FreeBytes();
  }
  return 0;
}

int CPlayerStream::GetPlayTime(uint32_t* pMinSecond) {
  uint32_t seconds = 0;
  const bool inside = m_Cache.PlayedSeconds(&seconds);
  if (pMinSecond != nullptr) {
    *pMinSecond = seconds;
  }
  return inside ? 0 : -1;
}

int CPlayerStream::GetBufferedSeconds(uint32_t* pSeconds) {
  return m_Cache.BufferedSeconds(pSeconds) ? 0 : -1;
}

CStreamTiming::Span CPlayerStream::VideoSpan(bool* pQueued) {
  uint32_t span = 0;
  const bool queued = m_VideoFrames.GetFrameSpan(&span) != 0;
  if (pQueued != nullptr) {
    *pQueued = queued;
  }
  return {queued && span != 0xFFFFFFFFu, span};
}

int CPlayerStream::IsSkipToKeyFrame(uint32_t nFlag) {
  return CStreamTiming::IsBufferFull(m_nStreamMode, nFlag != 0, m_VideoFrames.GetFrameNum(), VideoSpan(),
                                     m_nMaxDelay)
             ? 1
             : 0;
}

// ---- positioning ------------------------------------------------------------------------------
// Every path takes the play lock before the index lock, as the play cycles do; taking them the
// other way round here would deadlock against a mode-1 cycle.

void CPlayerStream::PlayFrom(int nEntry) {
  m_Cache.SetPosition(nEntry);
  ClearQueued();
  m_nWaitKey = 1;
  PlayNext(true);
}

int CPlayerStream::SetPlayTime(uint32_t nMinSecond) {
  CAutoLock play(&m_PlayLock);
  const bool wasPaused = IsPaused();
  if (!wasPaused) {
    Pause(1);
  }
  int result = -1;
  {
    CAutoLock index(m_Cache.IndexLock());
    uint64_t base = 0;
    if (m_Cache.BaseStamp(&base)) {
      const int entry = m_Cache.FindAtOrAfter(0, base + static_cast<uint64_t>(nMinSecond) * 1000, false);
      if (entry >= 0) {
        PlayFrom(entry);
        result = 0;
      }
    }
  }
  if (!wasPaused) {
    Pause(0);
  }
  return result;
}

int CPlayerStream::SeekIFramStamp(uint64_t u64Stamp) {
  CAutoLock play(&m_PlayLock);
  const uint32_t paused = m_nPause.exchange(1);
  m_WaveOut.SetSilence(true);
  int result = -1;
  {
    CAutoLock index(m_Cache.IndexLock());
    uint64_t first = 0;
    if (m_Cache.Count() > 0) {
      first = m_Cache.Entry(0).u64Stamp;
    }
    if (m_Cache.Count() > 0 && u64Stamp + kSeekSlackUs >= first) {
      const int entry = m_Cache.FindAtOrAfter(0, u64Stamp, m_nAudioOnly != 0);
      if (entry >= 0) {
        PlayFrom(entry);
        result = 0;
      }
    }
  }
  m_nPause = paused;
  return result;
}

int CPlayerStream::PlayOneFrameData(uint32_t nBackward, uint32_t nAllowNonKey) {
  CAutoLock play(&m_PlayLock);
  if (!IsPaused()) {
    Pause(1);
  }
  m_VideoFrames.Reset();
  ClearPictures();
  CAutoLock index(m_Cache.IndexLock());
  int entry = -1;
  if (nBackward != 0) {
    entry = m_Cache.FindKeyBackward(m_Cache.Position() - 2);
    if (entry >= 0 && !IsReversePlay()) {
      m_Cache.SetPosition(entry);
    }
  } else {
    // Kept as callers know it: allowNonKey 0 with key-frame-only play off stops at any picture.
    const bool nonKeyToo = nAllowNonKey == 0 && m_nPlayIFrame == 0;
    entry = m_Cache.FindForward(m_Cache.Position(), nonKeyToo);
    if (entry >= 0) {
      m_Cache.SetPosition(entry);
    }
  }
  if (entry < 0) {
    return -1;
  }
  PlayNext(true);
  return 0;
}

// ---- play loop ----------------------------------------------------------------------------------

bool CPlayerStream::PlayNext(bool bShow) {
  QueueFrameHead head;
  const uint8_t* data = nullptr;
  if (!m_Cache.ReadNext(&head, &data)) {
    return false;
  }
  InputFrameData(data, head.nLength, head.nType, head.u64Stamp, false);
  if (bShow) {
    ShowNextPicture();
  }
  return true;
}

int CPlayerStream::PlayThread() {
  ResetPacing();
  m_nPlaying = 0;
  while (!PlayThreadObject().WaitStop(0)) {
    const uint32_t waitMs = PlayCycle();
    if (waitMs != 0) {
      WaitPlayWake(waitMs);
    }
  }
  return 0;
}

uint32_t CPlayerStream::PlayCycle() {
  CAutoLock play(&m_PlayLock);
  uint32_t waitMs = kPausedWaitMs;
  if (!IsPaused()) {
    waitMs = ModeCycle();
  } else if (m_nWaitKey != 0) {
    // The first picture after a reset or a seek is shown even while paused.
    if (m_nStreamMode == kModeCached) {
      SetPacingLag(kSeekLagMs);
    }
    waitMs = ModeCycle();
  } else {
    Repaint(true);
  }
  Repaint(false);
  ServiceRepaint();
  return waitMs;
}

uint32_t CPlayerStream::ModeCycle() {
  switch (m_nStreamMode) {
    case kModeDelay:
      return DelayCycle();
    case kModeCached:
      return CachedCycle();
    default:
      return ImmediateCycle();
  }
}

// Shows the next picture; the wait for one happens inside, woken as it arrives.
uint32_t CPlayerStream::ImmediateCycle() {
  ShowNextPicture();
  return 0;
}

bool CPlayerStream::IsDelayControlled() {
  if (m_nUnpaced != 0) {
    return true;
  }
  CAutoLock lock(&m_DecoderLock);
  return m_pVDecoder != nullptr && (m_pVDecoder->DxvaActive() != 0 || m_pVDecoder->DxvaFailed() != 0);
}

void CPlayerStream::StartPlaying() {
  ResetPacing();
  m_nPlaying = 1;
  // The audio hold: the wave-out plays silence, without taking frames, while video buffers.
  m_WaveOut.SetSilence(false);
}

uint32_t CPlayerStream::DelayCycle() {
  if (!IsDelayControlled()) {
    return ImmediateCycle();
  }
  bool queued = false;
  const CStreamTiming::Span span = VideoSpan(&queued);
  if (m_nPlaying != 0) {
    m_nPlayRate = CStreamTiming::DelaySpeed(span, m_nMaxDelay, m_nPlayRate);
    uint32_t interval = 0;
    if (NextInterval(&interval)) {
      m_nNoPictureSince = 0;
      interval = CStreamTiming::PacedInterval(interval, m_nPlayRate);
      if (IsDue(interval)) {
        ShowNextPicture();
        return 0;
      }
      return std::max(1u, std::min(MsUntilDue(interval), kIdleWaitMs));
    }
    if (m_VideoFrames.GetFrameNum() != 0) {
      // The next picture is usually still being decoded when the shown one has just been
      // taken: only a decoder that has produced nothing for a while sends the player back to
      // buffering, since every restart drops the pacing carry and would make playback run slow.
      const uint32_t now = platform::TickCountMs();
      if (m_nNoPictureSince == 0) {
        m_nNoPictureSince = now == 0 ? 1 : now;
      }
      if (now - m_nNoPictureSince < kIdleWaitMs) {
        return kIdleWaitMs - (now - m_nNoPictureSince);  // a picture pushed ends the wait
      }
      m_nPlaying = 0;
      m_WaveOut.SetSilence(true);
    }
    m_nNoPictureSince = 0;
    return kIdleWaitMs;
  }
  // Whether video is queued comes from the same look as its span: counted apart, a first frame
  // pushed in between met an empty queue's unmeasurable span and started playback below the
  // minimum delay.
  if (!CStreamTiming::StartsPlaying(queued ? 1 : 0, m_AudioFrames.GetFrameNum(), span, m_nMinDelay)) {
    return kIdleWaitMs;
  }
  StartPlaying();
  return 0;
}

void CPlayerStream::RefillFromCache() {
  while (m_VideoFrames.GetFrameNum() < kCachedReadAhead) {
    if (IsReversePlay() && !m_Cache.StepBack()) {
      break;
    }
    if (!PlayNext(false)) {
      break;
    }
    if (IsReversePlay()) {
      // Back onto the entry just read, so that the next step back reaches the one before it.
      m_Cache.SetPosition(m_Cache.Position() - 1);
    }
  }
}

uint32_t CPlayerStream::CachedCycle() {
  if (m_nAudioOnly == 0) {
    RefillFromCache();
    if (IsReversePlay() || IsKeyFrameOnly() || m_nPlayIFrame != 0) {
      uint32_t type = 0;
      while (m_VideoFrames.GetFrameNum() >= 2 && m_VideoFrames.PeekType(&type) != 0 && !IsKey(type) &&
             Class(type) != kAuxClass) {
        m_VideoFrames.Pop(nullptr, nullptr);
      }
      m_nWaitKey = 1;
    }
  }
  if (m_pGroup != nullptr) {
    return GroupCycle();
  }
  if (m_nAudioOnly != 0) {
    return CachedAudioCycle();
  }
  uint32_t interval = 0;
  if (!NextInterval(&interval)) {
    ResetPacing();
    return kIdleWaitMs;
  }
  interval = CStreamTiming::CachedWait(interval);
  if (!IsDue(interval)) {
    // Re-checked after a quarter of the interval at most, and never past the moment the
    // picture is due: the carry would keep that lateness and later skip a picture for it.
    return std::max(1u, std::min(interval / 4, MsUntilDue(interval)));
  }
  ShowNextPicture();
  return 0;
}

// Audio-only streams are paced by their cached entries' stamps.
uint32_t CPlayerStream::CachedAudioCycle() {
  CAutoLock index(m_Cache.IndexLock());
  for (int i = 0; i < kAudioEntriesPerCycle && m_Cache.Position() < m_Cache.Count(); ++i) {
    const CacheIndexEntry entry = m_Cache.Entry(m_Cache.Position());
    const uint32_t wait = CStreamTiming::CachedWait(
        CPlayTiming::GeneralInterval(m_u64CurStamp, entry.u64Stamp, m_nPlayRate, m_nPlayBackIFrame != 0));
    if (!IsDue(wait)) {
      break;
    }
    if (m_nSoundOn != 0) {
      m_WaveOut.SetSilence(false);
      PlayNext(false);
    } else {
      m_WaveOut.SetSilence(true);
      m_Cache.SetPosition(m_Cache.Position() + 1);
    }
    m_u64CurStamp = entry.u64Stamp;
    m_u64LastShowStamp = entry.u64Stamp;
  }
  return kIdleWaitMs;
}

uint32_t CPlayerStream::GroupCycle() {
  if (m_nAudioOnly == 0) {
    // The picture about to be shown is offered rather than the video queue's head: the head is
    // a later frame, and none at all once the last frames are decoded, which held the last
    // pictures back until more input came.
    uint64_t next = 0;
    if (m_PictureRing.NextStamp(&next) && m_pGroup->Admit(next)) {
      ShowNextPicture();
      return 0;
    }
    return kIdleWaitMs;
  }
  CAutoLock index(m_Cache.IndexLock());
  for (int i = 0; i < kAudioEntriesPerCycle && m_Cache.Position() < m_Cache.Count(); ++i) {
    const CacheIndexEntry entry = m_Cache.Entry(m_Cache.Position());
    if (!m_pGroup->Admit(entry.u64Stamp)) {
      if (m_pGroup->IsPaused()) {
        m_WaveOut.SetSilence(true);
      }
      break;
    }
    PlayNext(false);
  }
  return kIdleWaitMs;
}

}  // namespace zp
