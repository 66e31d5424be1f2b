#include "player/CPlayerFile.h"

#include <algorithm>
#include <cstring>

#include "common/CAutoLock.h"
#include "common/LogAccess.h"
#include "media/CFileTembro.h"

namespace zp {

namespace {

constexpr uint32_t kUserDataType = 0x63643900;
constexpr uint32_t kUnknownDataType = 0x63643939;
// Pause, steps, seeks and the stop all wake the play loop, so a paused one only looks up now
// and then.
constexpr uint32_t kPlayPausedWaitMs = 100;
constexpr uint32_t kPlayIdleWaitMs = 10;
constexpr uint32_t kBackwardEndWaitMs = 100;
constexpr uint32_t kDecoderTypeH264 = 0;
constexpr uint32_t kDecoderTypeHevc = 4;
constexpr uint8_t kFileDecoderOption = 2;
constexpr int kProbeFrames = 64;

// The first NAL unit's header byte of an Annex-B access unit; -1 without a start code.
int FirstNalByte(const uint8_t* data, uint32_t len) {
  for (uint32_t i = 0; i + 3 < len; ++i) {
    if (data[i] == 0 && data[i + 1] == 0 && data[i + 2] == 1) {
      return data[i + 3];
    }
  }
  return -1;
}

// Recordings do not say which codec their video is in; the first NAL unit does. An HEVC
// parameter set or slice header (types 32 to 40) does not read as any H.264 unit that starts
// an access unit.
bool LooksLikeHevc(const uint8_t* data, uint32_t len) {
  const int nal = FirstNalByte(data, len);
  if (nal < 0) {
    return false;
  }
  const int h264Type = nal & 0x1F;
  const int hevcType = (nal >> 1) & 0x3F;
  const bool h264Start = h264Type == 1 || h264Type == 5 || h264Type == 6 || h264Type == 7 ||
                         h264Type == 9;
  return !h264Start && hevcType >= 32 && hevcType <= 40;
}

}  // namespace

CPlayerFile::CPlayerFile() = default;

CPlayerFile::~CPlayerFile() {
  StopThreads();
  delete m_pRecFile;
}

uint32_t CPlayerFile::ProbeDecoderType() {
  uint32_t type = kDecoderTypeH264;
  for (int i = 0; i < kProbeFrames; ++i) {
    FrameHead* frame = nullptr;
    if (m_pRecFile->ReadFrame(&frame) != 0 || frame == nullptr) {
      break;
    }
    const bool video = IsVideoKind(frame->nType);
    if (video && LooksLikeHevc(frame->pData, frame->nLength)) {
      type = kDecoderTypeHevc;
    }
    m_pRecFile->ReleaseFrame(frame);
    if (video) {
      break;
    }
  }
  Rewind();
  return type;
}

// The vendor reader's rewind starts past where a recording head would be (its files have
// none) and would lose the first frames; seeking to the begin time finds its first key frame.
void CPlayerFile::Rewind() {
  if (dynamic_cast<CFileTembro*>(m_pRecFile) == nullptr || m_pRecFile->SeekTime(0, 0) != 0) {
    m_pRecFile->SeekToBegin();
  }
}

int CPlayerFile::OpenFile(const char* pPath, uint32_t nDrawMode) {
  if (IsOwnThread()) {
    return 1;
  }
  Stop();
  {
    CAutoLock lock(&m_PlayLock);
    delete m_pRecFile;
    m_pRecFile = pPath != nullptr ? CRecFile::CreateRecFile(pPath) : nullptr;
  }
  if (m_pRecFile == nullptr) {
    LogInfo("%s m_pRecFile=NULL", "CPlayerFile::OpenFile");
    return 1;
  }
  m_Draw.SetDrawMode(nDrawMode);
  m_VideoFrames.Init(kVideoQueueFrames, kVideoQueueBytes);
  m_AudioFrames.Init(kAudioQueueFrames, kAudioQueueBytes);
  CreateVDecoder(ProbeDecoderType(), 0, nullptr, nullptr, kFileDecoderOption);
  // A recording whose head names no audio codec (vendor files, library-made heads) gives 0,
  // which takes the configured default.
  CreateADecoder(m_pRecFile->AudioCodec(), 0, 0, 0);
  return 0;
}

int CPlayerFile::Close() {
  if (Stop() != 0) {
    return -1;
  }
  {
    CAutoLock lock(&m_PlayLock);
    delete m_pRecFile;
    m_pRecFile = nullptr;
  }
  CloseDecoders();
  return 0;
}

int CPlayerFile::Play() {
  if (Stop() != 0) {
    return 1;
  }
  CAutoLock lock(&m_PlayLock);
  if (m_pRecFile == nullptr) {
    return 1;
  }
  Rewind();
  m_VideoFrames.Reset();
  m_AudioFrames.Reset();
  ClearPictures();
  ResetVDecoder();
  m_u64CurStamp = 0;
  ResetPacing();
  m_nPlayRate = 0;
  m_nPause = 0;
  m_nFileEnd = 0;
  SetEndOfInput(false);
  StartThreads();
  return 0;
}

int CPlayerFile::Stop() {
  if (!StopThreads()) {
    return 1;
  }
  CAutoLock lock(&m_PlayLock);
  if (m_nSoundOn != 0) {
    m_WaveOut.Stop();
    m_nSoundOn = 0;
  }
  return 0;
}

int CPlayerFile::GetFileInfo(void* pInfo) {
  CAutoLock lock(&m_PlayLock);
  if (m_pRecFile == nullptr || pInfo == nullptr) {
    return 1;
  }
  FileInfo info;
  m_pRecFile->GetFileInfo(&info);
  std::memcpy(pInfo, &info, kFileInfoCopyBytes);
  return 0;
}

int CPlayerFile::GetPlayTime(uint32_t* pMinSecond) {
  if (pMinSecond == nullptr) {
    return 1;
  }
  uint64_t begin = 0;
  uint64_t end = 0;
  {
    CAutoLock lock(&m_PlayLock);
    if (m_pRecFile != nullptr) {
      m_pRecFile->GetFilePts(&begin, &end);
    }
  }
  // Before the first picture this wraps; callers have always seen that value.
  *pMinSecond = static_cast<uint32_t>((m_u64CurStamp - begin) / 1000);
  return 0;
}

int CPlayerFile::SetPlayTime(uint32_t nMinSecond) {
  CAutoLock lock(&m_PlayLock);
  if (m_pRecFile == nullptr || m_pRecFile->SeekTime(static_cast<int32_t>(nMinSecond), 0) != 0) {
    return 1;
  }
  ResetPacing();
  m_VideoFrames.Reset();
  m_AudioFrames.Reset();
  // The ring first: a picture of the old position is never pushed after this.
  ClearPictures();
  ResetVDecoder();
  for (int i = 0; i < kPreRollFrames; ++i) {
    if (!ReadFrames(1) || ShowNextPicture()) {
      break;
    }
  }
  return 0;
}

int CPlayerFile::SetEndCallBack(uint64_t u64User, EndCallBack pfn) {
  CAutoLock lock(&m_EndLock);
  m_pfnEnd = pfn;
  m_u64EndUser = u64User;
  return 0;
}

void CPlayerFile::SetUserValues(uint32_t nValue, uint64_t u64Value) {
  CAutoLock lock(&m_ValueLock);
  m_nUserValue = nValue;
  m_u64UserValue = u64Value;
}

int CPlayerFile::OneByOne() {
  CAutoLock lock(&m_PlayLock);
  if (!IsPaused()) {
    Pause(1);
  }
  if (m_VideoFrames.GetFrameNum() < kReadAhead) {
    ReadFrames(kReadAhead);
  }
  ShowNextPicture();
  return 0;
}

int CPlayerFile::PlayOneIFrame(uint32_t nFlag) {
  CAutoLock lock(&m_PlayLock);
  if (!IsPaused()) {
    Pause(1);
  }
  m_VideoFrames.Reset();
  ClearPictures();
  if (!FetchKeyFrame(nFlag != 0)) {
    return -1;
  }
  // A lone key frame leaves the decoder only when its input ends; the step returns once it is
  // shown, or once the decoder has given all it will give.
  SetEndOfInput(true);
  ShowLoneKeyFrame();
  return 0;
}

bool CPlayerFile::ShowLoneKeyFrame() {
  for (int i = 0; i < kPreRollFrames; ++i) {
    if (ShowNextPicture()) {
      return true;
    }
    if (IsInputDrained()) {
      return false;
    }
  }
  return false;
}

// ---- reading ------------------------------------------------------------------------------

void CPlayerFile::ReArm() {
  {
    CAutoLock lock(&m_EndLock);
    m_nEndFired = 0;
  }
  m_nFileEnd = 0;
  SetEndOfInput(false);
}

void CPlayerFile::QueueVideo(const uint8_t* pData, uint32_t nLength, uint32_t nType,
                             uint64_t u64Stamp) {
  const QueueFrameHead head{nType, nLength, u64Stamp};
  bool wasEmpty = false;
  if (m_VideoFrames.WriteFrame(head, pData, &wasEmpty) == 0) {
    LogError("%s frame of %u bytes refused", "CPlayerFile::ReadFrame", nLength);
    return;
  }
  NotifyVideoQueued(nType, wasEmpty);
}

void CPlayerFile::QueueAudio(const FrameHead& frame) {
  CAutoLock lock(&m_AudioLock);
  if (m_pADecoder == nullptr) {
    return;
  }
  uint32_t position = 0;
  while (position < frame.nLength) {
    const uint32_t size = m_pADecoder->GetFrameSize(frame.pData + position, frame.nLength - position);
    if (size == 0 || size > frame.nLength - position) {
      break;
    }
    const QueueFrameHead head{frame.nType, size, frame.u64Stamp};
    // Nobody takes audio while the sound is off: the oldest makes room for the newest.
    if (m_AudioFrames.WriteFrame(head, frame.pData + position) == 0) {
      m_AudioFrames.Pop(nullptr, nullptr);
      m_AudioFrames.WriteFrame(head, frame.pData + position);
    }
    position += size;
  }
}

bool CPlayerFile::ReadFrames(int nCount) {
  if (m_pRecFile == nullptr) {
    return false;
  }
  int queued = 0;
  while (queued < nCount) {
    FrameHead* frame = nullptr;
    if (m_pRecFile->ReadFrame(&frame) != 0 || frame == nullptr) {
      m_nFileEnd = 1;
      SetEndOfInput(true);
      break;
    }
    if (frame->nType == FRAME_TAG_WAVE) {
      QueueAudio(*frame);
    } else if (frame->nType != kUserDataType && frame->nType != kUnknownDataType) {
      // Exact types: recordings deliver no user data, whatever the sub-code.
      QueueVideo(frame->pData, frame->nLength, frame->nType, frame->u64Stamp);
      ++queued;
    }
    m_pRecFile->ReleaseFrame(frame);
    ReArm();
  }
  return queued > 0;
}

bool CPlayerFile::FetchKeyFrame(bool bForward) {
  if (m_pRecFile == nullptr) {
    return false;
  }
  FrameHead* frame = nullptr;
  const int result = bForward ? m_pRecFile->ReadNextKeyFrame(&frame) : m_pRecFile->ReadPrevKeyFrame(&frame);
  if (result != 0 || frame == nullptr) {
    m_nFileEnd = 1;
    return false;
  }
  // Stepping hands the frame out with its 32-byte header in front; the decoder takes the payload.
  const uint32_t skip = frame->nLength >= kVideoHeadLength ? kVideoHeadLength : 0;
  QueueVideo(frame->pData + skip, frame->nLength - skip, frame->nType, frame->u64Stamp);
  ReArm();
  m_pRecFile->ReleaseFrame(frame);
  return true;
}

// ---- playing ------------------------------------------------------------------------------

void CPlayerFile::FireEnd(uint32_t nEndKind) {
  CAutoLock lock(&m_EndLock);
  if (m_pfnEnd == nullptr || m_nEndFired != 0) {
    return;
  }
  const CallerCodeScope callerCode(this);
  m_pfnEnd(nEndKind, m_u64EndUser);
  m_nEndFired = 1;
}

uint32_t CPlayerFile::ForwardStep() {
  if (!IsKeyFrameOnly()) {
    if (m_VideoFrames.GetFrameNum() < kReadAhead) {
      ReadFrames(kReadAhead);
    }
  } else if (m_VideoFrames.GetFrameNum() == 0) {
    if (FetchKeyFrame(true)) {
      SetEndOfInput(true);  // each key frame is shown on its own
    }
  }
  uint32_t interval = 0;
  if (NextInterval(&interval)) {
    if (IsDue(interval)) {
      return ShowNextPicture() ? 0 : kPlayIdleWaitMs;
    }
    return std::min(MsUntilDue(interval), kPlayIdleWaitMs);
  }
  // The end comes once the last frame read has been decoded and shown.
  if (m_nFileEnd != 0 && IsInputDrained()) {
    FireEnd(0);
  }
  return kPlayIdleWaitMs;
}

uint32_t CPlayerFile::BackwardStep() {
  if (m_VideoFrames.GetFrameNum() == 0 && FetchKeyFrame(false)) {
    SetEndOfInput(true);
  }
  uint64_t next = 0;
  if (m_PictureRing.NextStamp(&next)) {
    const uint32_t interval = CPlayTiming::FileInterval(m_u64CurStamp, next, m_nPlayRate);
    if (IsDue(interval)) {
      return ShowNextPicture() ? 0 : kPlayIdleWaitMs;
    }
    // A quarter of the interval at most, never past the moment the picture is due.
    return std::max(1u, std::min(interval / 4, MsUntilDue(interval)));
  }
  if (m_nFileEnd != 0 && IsInputDrained()) {
    FireEnd(1);
    return kBackwardEndWaitMs;
  }
  return kPlayIdleWaitMs;
}

// With play-back-I-frame set the file plays backwards, key frame by key frame.
int CPlayerFile::PlayThread() {
  ResetPacing();
  {
    CAutoLock timing(&m_TimingLock);
    m_Timing.NoteDraw();
  }
  while (!PlayThreadObject().WaitStop(0)) {
    uint32_t waitMs = kPlayPausedWaitMs;
    {
      CAutoLock lock(&m_PlayLock);
      if (!IsPaused()) {
        waitMs = m_nPlayBackIFrame != 0 ? BackwardStep() : ForwardStep();
      }
    }
    if (waitMs != 0) {
      WaitPlayWake(waitMs);
    }
  }
  return 0;
}

}  // namespace zp
