#include "player/CBasePlayer.h"

#include <cstring>
#include <new>

#include "common/CAutoLock.h"
#include "common/CLibraryConfig.h"
#include "common/LogAccess.h"
#include "common/Settings.h"
#include "video/CVDECH264.h"
#include "video/CVDECHi265.h"
#include "video/CVDECHis.h"

namespace zp {

namespace {

constexpr uint32_t kKeyFrameKind = 0x63643000;
constexpr uint32_t kUserDataKind = 0x63643900;
constexpr uint32_t kDataGroup = 0x63643930;
constexpr uint32_t kEmptyRingWaitMs = 20;
constexpr uint32_t kDecodeWaitMs = 1;
// Waits for room in the ring or for a queued frame end early on the signal that brings it (a
// picture taken, a clear, a frame queued, a stop), so a long timeout only bounds a lost signal
// and keeps a paused or starved player from waking a thousand times a second.
constexpr uint32_t kSignalledWaitMs = 100;

// The player whose thread (play, decode) this is, or whose callback runs on it.
thread_local const CBasePlayer* t_pOwnPlayer = nullptr;

bool IsKeyKind(uint32_t nType) { return (nType & 0xFFFFFF00u) == kKeyFrameKind; }
bool IsUserDataKind(uint32_t nType) { return (nType & 0xFFFFFF00u) == kUserDataKind; }
bool IsDataGroup(uint32_t nType) { return (nType & 0xFFFFFFF0u) == kDataGroup; }

}  // namespace

CBasePlayer::CBasePlayer()
    : m_pPictureRef(av_frame_alloc()),
      m_pWorkBuffer(new (std::nothrow) uint8_t[kWorkBufferSize]()),
      m_nWorkBufferSize(m_pWorkBuffer != nullptr ? kWorkBufferSize : 0) {}

CBasePlayer::~CBasePlayer() {
  StopThreads();
  CBasePlayer::ReleasePlay();
  CloseDecoders();
  av_frame_free(&m_pPictureRef);
}

// ---- slots ------------------------------------------------------------------------------

int CBasePlayer::Pause(uint32_t nFlag) {
  CAutoLock lock(&m_PlayLock);
  SetPausedLocked(nFlag != 0);
  return 0;
}

void CBasePlayer::SetPausedLocked(bool bPaused) {
  m_nPause = bPaused ? 1 : 0;
  if (m_nSoundOn != 0) {
    m_WaveOut.SetSilence(bPaused);
  }
  if (!bPaused) {
    ResetPacing();
  }
  m_playWake.Notify();
}

int CBasePlayer::OneByOne() {
  CAutoLock lock(&m_PlayLock);
  if (m_nPause == 0) {
    Pause(1);
  }
  ShowNextPicture();
  return 0;
}

int CBasePlayer::SetPlayRate(int32_t nRate) {
  CAutoLock lock(&m_PlayLock);
  if (m_nPause != 0) {
    m_nPause = 0;
    ResetPacing();
  }
  if (CPlayTiming::RateChangeResetsPacing(m_nPlayRate, nRate)) {
    ResetPacing();
  }
  m_nPlayRate = nRate;
  if (m_nSoundOn != 0) {
    // Sound only at the normal rate; the sound-on flag stays so that rate 0 brings it back.
    if (nRate != 0) {
      m_WaveOut.Stop();
    } else {
      m_WaveOut.Start();
    }
  }
  m_playWake.Notify();
  return 0;
}

int CBasePlayer::GetPlayTime(uint32_t* pMinSecond) {
  if (pMinSecond != nullptr) {
    *pMinSecond = 0;
  }
  return 1;
}

int CBasePlayer::PlaySound() {
  CAutoLock lock(&m_PlayLock);
  if (m_nSoundOn != 0) {
    return 1;
  }
  // The sound starts where the picture is.
  const uint64_t stamp = m_u64CurStamp;
  uint64_t head = 0;
  while (m_AudioFrames.PeekStamp(&head) != 0 && head < stamp) {
    m_AudioFrames.Pop(nullptr, nullptr);
  }
  m_WaveOut.SetReferenceTime(stamp);
  m_WaveOut.Start();
  m_u64LastShowStamp = stamp;
  m_nSoundOn = 1;
  return 0;
}

int CBasePlayer::StopSound() {
  CAutoLock lock(&m_PlayLock);
  if (m_nSoundOn == 0) {
    return 1;
  }
  m_WaveOut.Stop();
  m_nSoundOn = 0;
  return 0;
}

int CBasePlayer::SetVolume(uint16_t nVolume) {
  m_WaveOut.SetVolume(nVolume);
  return 0;
}

int CBasePlayer::SetGain(double dGain) {
  m_WaveOut.SetGain(dGain);
  return 0;
}

int CBasePlayer::CaptureBMP(const char* pPath) { return CaptureWith(pPath, false); }

int CBasePlayer::CaptureJPEG(const char* pPath) { return CaptureWith(pPath, true); }

int CBasePlayer::CaptureWith(const char* pPath, bool bJpeg) {
  if (pPath == nullptr) {
    return -1;
  }
  // The shown picture first (its show lock keeps its planes in place), then the decoder's.
  const int shown = bJpeg ? m_ShowData.CaptureJPEG(pPath) : m_ShowData.CaptureBMP(pPath);
  if (shown != 0) {
    return 0;
  }
  CAutoLock lock(&m_DecoderLock);
  if (m_pVDecoder == nullptr || !m_pVDecoder->IsInit()) {
    return -1;
  }
  const int saved = bJpeg ? m_pVDecoder->CaptureJPEG(pPath) : m_pVDecoder->CaptureBMP(pPath);
  return saved != 0 ? 0 : -1;
}

int CBasePlayer::SetPlayIFrame(uint32_t nFlag) {
  m_nPlayIFrame = nFlag;
  return 0;
}

int CBasePlayer::IsSkipToKeyFrame(uint32_t /*nFlag*/) { return 0; }

int CBasePlayer::PlayThread() { return 0; }

void CBasePlayer::ReleasePlay() {}

int CBasePlayer::SetPlayBackIFrame(uint32_t nFlag) {
  m_nPlayBackIFrame = nFlag;
  return 0;
}

void CBasePlayer::SetDecodeVideo(uint32_t nFlag) {
  if (m_nDecodeVideo.exchange(nFlag) != nFlag) {
    m_nDecodeVideoChanged = 1;
  }
}

// ---- callbacks --------------------------------------------------------------------------

int CBasePlayer::SetDecCallBack(uint64_t u64User, ZEPHPLAY_DecCallBack pfn) {
  {
    CAutoLock slot(&m_DecCB.lock);
    m_DecCB.pfn = reinterpret_cast<void*>(pfn);
    m_DecCB.u64User = u64User;
  }
  CAutoLock lock(&m_DecoderLock);
  if (m_pVDecoder != nullptr) {
    m_pVDecoder->SetDecCallBack(u64User, pfn);
  }
  return 0;
}

int CBasePlayer::SetUsrDataBack(uint64_t u64User, UsrDataCallBack pfn) {
  CAutoLock slot(&m_UsrDataCB.lock);
  m_UsrDataCB.pfn = reinterpret_cast<void*>(pfn);
  m_UsrDataCB.u64User = u64User;
  return 0;
}

int CBasePlayer::SetDisplayCallBack(uint64_t u64User, ZEPHPLAY_DisplayCallBack pfn) {
  {
    CAutoLock slot(&m_DisplayCB.lock);
    m_DisplayCB.pfn = reinterpret_cast<void*>(pfn);
    m_DisplayCB.u64User = u64User;
  }
  m_Draw.SetDisplayCB(&CBasePlayer::DisplayHook, this);
  return 0;
}

int CBasePlayer::SetDecCBEx(uint64_t u64User, ZEPHPLAY_DecCBEx pfn) {
  {
    CAutoLock slot(&m_DecCBEx.lock);
    m_DecCBEx.pfn = reinterpret_cast<void*>(pfn);
    m_DecCBEx.u64User = u64User;
  }
  m_Draw.SetDecCB(&CBasePlayer::DecodeHook, this);
  return 0;
}

int CBasePlayer::SetAudioDecDataCallBack(PcmCallback pfn, uint64_t u64User) {
  CAutoLock slot(&m_PcmCB.lock);
  m_PcmCB.pfn = reinterpret_cast<void*>(pfn);
  m_PcmCB.u64User = u64User;
  return 0;
}

int CBasePlayer::SetSizeCallBack(ZEPHPLAY_SizeCallBack pfn, uint64_t u64User) {
  {
    CAutoLock slot(&m_SizeCB.lock);
    m_SizeCB.pfn = reinterpret_cast<void*>(pfn);
    m_SizeCB.u64User = u64User;
  }
  CAutoLock lock(&m_DecoderLock);
  if (m_pVDecoder != nullptr) {
    m_pVDecoder->SetSizeCallBack(pfn, u64User);
  }
  return 0;
}

void CBasePlayer::DisplayHook(uint32_t /*nIndex*/, uint64_t u64Window, uint32_t nWidth,
                              uint32_t nHeight, uint64_t u64Stamp, uint32_t nShownWidth,
                              uint32_t nShownHeight, uint32_t /*nDrawMs*/, void* pPlayer) {
  auto* self = static_cast<CBasePlayer*>(pPlayer);
  const CallerCodeScope callerCode(self);
  CAutoLock slot(&self->m_DisplayCB.lock);
  auto pfn = reinterpret_cast<ZEPHPLAY_DisplayCallBack>(self->m_DisplayCB.pfn);
  if (pfn != nullptr) {
    pfn(u64Window, nWidth, nHeight, u64Stamp, nShownWidth, nShownHeight, self->m_DisplayCB.u64User);
  }
}

void CBasePlayer::DecodeHook(uint64_t u64Stamp, uint32_t nWidth, uint32_t nHeight,
                             uint32_t nYStride, uint32_t nUVStride, uint32_t nIndex,
                             void* pPlayer) {
  auto* self = static_cast<CBasePlayer*>(pPlayer);
  const CallerCodeScope callerCode(self);
  CAutoLock slot(&self->m_DecCBEx.lock);
  auto pfn = reinterpret_cast<ZEPHPLAY_DecCBEx>(self->m_DecCBEx.pfn);
  if (pfn != nullptr) {
    pfn(u64Stamp, nWidth, nHeight, nYStride, nUVStride, nIndex, self->m_DecCBEx.u64User);
  }
}

void CBasePlayer::PcmHook(const int16_t* pcm, uint32_t samples, uint32_t channels, uint32_t bits,
                          uint32_t rate, uint64_t stamp, uint64_t user) {
  auto* self = reinterpret_cast<CBasePlayer*>(user);
  const CallerCodeScope callerCode(self);  // runs on the sound thread
  CAutoLock slot(&self->m_PcmCB.lock);
  auto pfn = reinterpret_cast<PcmCallback>(self->m_PcmCB.pfn);
  if (pfn != nullptr) {
    pfn(pcm, samples, channels, bits, rate, stamp, self->m_PcmCB.u64User);
  }
}

CBasePlayer::CallerCodeScope::CallerCodeScope(const CBasePlayer* pPlayer) : m_pOuter(t_pOwnPlayer) {
  t_pOwnPlayer = pPlayer;
}

CBasePlayer::CallerCodeScope::~CallerCodeScope() { t_pOwnPlayer = m_pOuter; }

// ---- window and drawing -------------------------------------------------------------------

int CBasePlayer::SetPlayWnd(void* hWnd) {
  m_hWnd = hWnd;
  m_Draw.SetHwnd(hWnd);
  return 0;
}

int CBasePlayer::SetPlayWndEx(void* hWnd, uint64_t u64Value, uint32_t nValue) {
  m_hWnd = hWnd;
  return m_Draw.SetHwndEx(hWnd, u64Value, nValue);
}

int CBasePlayer::AdjustedWndRect() { return m_Draw.AdjustedWnd(); }

int CBasePlayer::FlashWnd() {
  CAutoLock lock(&m_DecoderLock);
  if (m_pVDecoder == nullptr) {
    return -1;
  }
  Repaint(true);
  return 0;
}

// The timing is asked first, so that a play loop that finds nothing due never waits for a
// decode under way.
void CBasePlayer::Repaint(bool bMarkPending) {
  {
    CAutoLock timing(&m_TimingLock);
    if (!m_Timing.FlashDue(bMarkPending)) {
      return;
    }
    m_Timing.NoteDraw();
  }
  RedrawIfDecoder();
}

void CBasePlayer::ServiceRepaint() {
  {
    CAutoLock timing(&m_TimingLock);
    if (!m_Timing.TakePendingFlash()) {
      return;
    }
    m_Timing.NoteDraw();
  }
  RedrawIfDecoder();
}

void CBasePlayer::RedrawIfDecoder() {
  CAutoLock lock(&m_DecoderLock);
  if (m_pVDecoder != nullptr) {
    RedrawLocked();
  }
}

void CBasePlayer::SetPacingLag(uint32_t nLagMs) {
  CAutoLock timing(&m_TimingLock);
  m_Timing.SetCarry(nLagMs);
}

// The decoder lock is held.
void CBasePlayer::RedrawLocked() {
  if (m_pVDecoder->IsInit() && m_pVDecoder->IsDxvaInUse()) {
    m_pVDecoder->Refresh();  // a hardware picture never reaches the ring
    return;
  }
  m_ShowData.DrawFrame(&m_Draw);
}

int CBasePlayer::SetColorParams(uint32_t nBrightness, uint32_t nContrast, uint32_t nSaturation,
                                uint32_t nHue, uint32_t nReset) {
  return m_Draw.SetColorParams(nBrightness, nContrast, nSaturation, nHue, nReset);
}

int CBasePlayer::GetColorParams(uint32_t* pBrightness, uint32_t* pContrast,
                                uint32_t* pSaturation, uint32_t* pHue) {
  return m_Draw.GetColorParams(pBrightness, pContrast, pSaturation, pHue);
}

int CBasePlayer::ShowOSDText(uint32_t nIndex, const char* pText, uint32_t nX, uint32_t nY,
                             uint32_t nColor, uint32_t nSize, uint32_t nFlags) {
  {
    CAutoLock lock(&m_DecoderLock);
    // A software decoder answers nonzero: its pictures are drawn here, so is its text.
    if (m_pVDecoder != nullptr && m_pVDecoder->IsInit() &&
        m_pVDecoder->HwSetOSDText(nIndex, pText, nX, nY, nColor, nSize, nFlags) == 0) {
      return 0;
    }
  }
  m_Draw.SetOSDText(nIndex, pText, nX, nY, nColor, nSize, nFlags);
  return 0;
}

int CBasePlayer::SetMirrorMode(uint32_t nMode) { return m_Draw.SetMirrorMode(nMode); }

int CBasePlayer::SetZoom(uint32_t nPercent, uint32_t nCenterX, uint32_t nCenterY) {
  return m_Draw.SetZoom(nPercent, nCenterX, nCenterY);
}

int CBasePlayer::SetOffsetStart(uint32_t nEnable, const ZEPHPLAY_POINT* pStart) {
  return m_Draw.SetOffsetStart(nEnable, pStart);
}

int CBasePlayer::SetOffsetEnd(const ZEPHPLAY_POINT* pEnd) { return m_Draw.SetOffsetEnd(pEnd); }

// ---- decoders -------------------------------------------------------------------------------

int CBasePlayer::CreateVDecoder(uint32_t nType, uint32_t nHis, void* /*pParam1*/,
                                void* /*pParam2*/, uint8_t nOption) {
  static const char* const kFn = "CBasePlayer::CreateVDecoder";
  CVDEC* decoder = nullptr;
  if (nHis != 0) {
    decoder = new (std::nothrow) CVDECHis();
    LogInfo("%s His1", kFn);
  } else {
    const int32_t fixed = Settings::nFixedDecoder;
    if (nType != 3 && nType != 4 && (fixed == 0 || fixed == 1)) {
      nType = static_cast<uint32_t>(fixed);
    }
    if (nType == 1) {
      decoder = new (std::nothrow) CVDECHis();
    } else if (nType == 3) {
      decoder = new (std::nothrow) CVDECHi265();
      LogInfo("%s Hi265", kFn);
    } else if (nType == 4) {
      decoder = new (std::nothrow) CVDECH264(true, &m_hWnd);
      LogInfo("%s H265", kFn);
    } else {
      decoder = new (std::nothrow) CVDECH264(false, &m_hWnd);
      LogInfo("%s H264", kFn);
    }
  }
  if (decoder == nullptr) {
    LogError("%s new CVDEC Fail!", kFn);
    return 0;
  }
  if (nOption != 0) {
    decoder->SetWatermarkOption(static_cast<int8_t>(nOption));
  }
  // The adapters take their limits from the picture class, not from the two parameters.
  decoder->InitDecoder(0);
  decoder->SetDecoderType(nType);
  uint64_t decUser = 0;
  uint64_t sizeUser = 0;
  void* decFn = nullptr;
  void* sizeFn = nullptr;
  {
    CAutoLock slot(&m_DecCB.lock);
    decFn = m_DecCB.pfn;
    decUser = m_DecCB.u64User;
  }
  {
    CAutoLock slot(&m_SizeCB.lock);
    sizeFn = m_SizeCB.pfn;
    sizeUser = m_SizeCB.u64User;
  }
  decoder->SetDecCallBack(decUser, reinterpret_cast<ZEPHPLAY_DecCallBack>(decFn));
  decoder->SetSizeCallBack(reinterpret_cast<ZEPHPLAY_SizeCallBack>(sizeFn), sizeUser);
  CAutoLock lock(&m_DecoderLock);
  CloseVDecoderLocked();
  m_pVDecoder = decoder;
  return 1;
}

int CBasePlayer::CreateADecoder(uint32_t nCodecId, uint32_t nValue1, uint32_t /*nValue2*/,
                                uint32_t /*nValue3*/) {
  if (nCodecId == 0) {
    nCodecId = static_cast<uint32_t>(CLibraryConfig::Instance().DefaultAudioCoder());
  }
  CAutoLock lock(&m_AudioLock);
  CloseADecoderLocked();
  CADEC* decoder = CADEC::S_InitAudioDecoder(nCodecId, 0);
  if (decoder == nullptr) {
    return 1;
  }
  decoder->InitDecoder(nValue1);  // a decoder that fails here plays nothing
  decoder->SetPcmCallback(&CBasePlayer::PcmHook, reinterpret_cast<uint64_t>(this));
  m_pADecoder = decoder;
  m_WaveOut.SetFrameBuffer(&m_AudioFrames);
  m_WaveOut.SetDecoder(decoder);
  if (m_nSoundOn != 0 && m_nPlayRate == 0) {
    m_WaveOut.Start();
  }
  return 1;
}

void CBasePlayer::CloseVDecoderLocked() {
  if (m_pVDecoder == nullptr) {
    return;
  }
  m_pVDecoder->UnInit();
  delete m_pVDecoder;
  m_pVDecoder = nullptr;
}

void CBasePlayer::CloseADecoderLocked() {
  if (m_pADecoder == nullptr) {
    return;
  }
  m_WaveOut.SetDecoder(nullptr);
  m_WaveOut.Stop();
  m_pADecoder->ReleaseDecoder();
  delete m_pADecoder;
  m_pADecoder = nullptr;
}

void CBasePlayer::CloseDecoders() {
  {
    CAutoLock lock(&m_DecoderLock);
    CloseVDecoderLocked();
  }
  CAutoLock lock(&m_AudioLock);
  CloseADecoderLocked();
}

bool CBasePlayer::HasVDecoder() {
  CAutoLock lock(&m_DecoderLock);
  return m_pVDecoder != nullptr;
}

// ---- threads -----------------------------------------------------------------------------

bool CBasePlayer::IsOwnThread() const { return t_pOwnPlayer == this; }

bool CBasePlayer::StartThreads() {
  const bool play = m_PlayThread.Start(&CBasePlayer::PlayThreadEntry, this);
  const bool decode = m_DecodeThread.Start(&CBasePlayer::DecodeThreadEntry, this);
  return play && decode;
}

bool CBasePlayer::StopThreads() {
  if (IsOwnThread()) {
    LogError("%s refused on the player's own thread", "CBasePlayer::StopThreads");
    return false;
  }
  // The stop first, then the wake-ups: a loop woken before the stop is set would wait again.
  m_PlayThread.RequestStop();
  m_DecodeThread.RequestStop();
  m_playWake.Notify();
  m_decodeWake.Notify();
  m_PlayThread.Stop(platform::kInfinite);
  m_DecodeThread.Stop(platform::kInfinite);
  return true;
}

uint32_t CBasePlayer::PlayThreadEntry(void* pPlayer) {
  auto* self = static_cast<CBasePlayer*>(pPlayer);
  t_pOwnPlayer = self;
  return static_cast<uint32_t>(self->PlayThread());
}

uint32_t CBasePlayer::DecodeThreadEntry(void* pPlayer) {
  auto* self = static_cast<CBasePlayer*>(pPlayer);
  t_pOwnPlayer = self;
  return self->DecodeLoop();
}

// ---- decode loop ---------------------------------------------------------------------------

uint32_t CBasePlayer::DecodeLoop() {
  while (!m_DecodeThread.WaitStop(0)) {
    if (!DecodePass()) {
      return 1;
    }
  }
  return 0;
}

bool CBasePlayer::DropToKeyFrame() {
  uint32_t type = 0;
  while (m_VideoFrames.PeekType(&type) != 0) {
    if (IsKeyKind(type)) {
      return true;
    }
    m_VideoFrames.Pop(nullptr, nullptr);
  }
  return false;
}

// The ring is full: either catch up to a key frame, or let only key frames and data through.
bool CBasePlayer::RingFullPass() {
  if (IsSkipToKeyFrame(1) != 0 || m_nSkipToKeyFrame != 0 || IsSkipToKeyFrame(0) != 0) {
    m_nSkipToKeyFrame = DropToKeyFrame() ? 0 : 1;
    return false;
  }
  uint32_t type = 0;
  return m_VideoFrames.PeekType(&type) != 0 && (IsKeyKind(type) || IsDataGroup(type));
}

bool CBasePlayer::DecodePass() {
  // A full ring that lets nothing through waits for room alone: that wait outlasts the 1 ms
  // one, so skipping the latter spares a sleep and a wake-up for every picture played.
  if (m_PictureRing.IsFull() && !RingFullPass()) {
    if (m_PictureRing.IsFull()) {
      m_decodeWake.Wait(kSignalledWaitMs);
    }
    return true;
  }
  if (!m_PictureRing.IsEmpty()) {
    m_decodeWake.Wait(kDecodeWaitMs);
  }
  if (m_nSkipToKeyFrame != 0) {
    if (!DropToKeyFrame()) {
      return true;
    }
    m_nSkipToKeyFrame = 0;
  }
  if (m_VideoFrames.GetFrameNum() == 0) {
    if (!DrainAtEnd()) {
      m_decodeWake.Wait(kSignalledWaitMs);
    }
    return true;
  }
  QueueFrameHead head;
  bool grown = false;
  if (!ReadIntoWorkBuffer(&head, &grown)) {
    return grown;  // false only when the buffer could not grow
  }
  if (IsUserDataKind(head.nType)) {
    DeliverUserData(head);
  } else {
    DecodeVideoFrame(head);
  }
  return true;
}

// False when no frame was taken; *pGrown then tells whether the loop may go on.
bool CBasePlayer::ReadIntoWorkBuffer(QueueFrameHead* pHead, bool* pGrown) {
  uint32_t size = m_nWorkBufferSize;
  if (m_VideoFrames.PopIfFits(pHead, m_pWorkBuffer.get(), &size) != 0) {
    return true;
  }
  *pGrown = true;
  if (size <= m_nWorkBufferSize) {
    return false;  // the queue was emptied meanwhile
  }
  // The frame stays queued; the next pass reads it into the larger buffer.
  const uint32_t grownSize = (size & ~3u) + 1024;
  std::unique_ptr<uint8_t[]> buffer(new (std::nothrow) uint8_t[grownSize]());
  if (buffer == nullptr) {
    LogError("%s work buffer of %u bytes not allocated", "CBasePlayer::DecodeLoop", grownSize);
    *pGrown = false;
    return false;
  }
  m_pWorkBuffer = std::move(buffer);
  m_nWorkBufferSize = grownSize;
  return false;
}

void CBasePlayer::DeliverUserData(const QueueFrameHead& head) {
  const CallerCodeScope callerCode(this);
  CAutoLock slot(&m_UsrDataCB.lock);
  auto pfn = reinterpret_cast<UsrDataCallBack>(m_UsrDataCB.pfn);
  if (pfn != nullptr) {
    pfn(m_pWorkBuffer.get(), head.nLength, head.nType, head.u64Stamp, m_UsrDataCB.u64User);
  }
}

void CBasePlayer::DecodeVideoFrame(const QueueFrameHead& head) {
  const bool key = IsKeyKind(head.nType);
  if (m_nDecodeVideo == 0) {
    m_nSkipToKeyFrame = 1;
    return;
  }
  if (m_nPlayIFrame != 0 || m_nDecodeVideoChanged != 0) {
    if (!key) {
      m_nSkipToKeyFrame = 1;
      return;
    }
    m_nDecodeVideoChanged = 0;
  }
  if (head.nLength >= 4) {
    static const uint8_t kStartCode[4] = {0, 0, 0, 1};
    std::memcpy(m_pWorkBuffer.get(), kStartCode, sizeof kStartCode);
  }
  const bool late = m_VideoFrames.GetFrameNum() >= kLateFrameCount;
  m_u64PrevInStamp = m_u64LastInStamp;
  m_u64LastInStamp = head.u64Stamp;
  const uint32_t generation = m_PictureRing.Generation();
  PictureInfo picture;
  bool decoded = false;
  {
    CAutoLock lock(&m_DecoderLock);
    if (m_pVDecoder == nullptr) {
      return;
    }
    m_pVDecoder->SetLate(late);
    decoded = m_pVDecoder->DecodeOneFrame(head.nType, m_pWorkBuffer.get(), head.nLength,
                                          head.u64Stamp) == 1 &&
              TakePictureLocked(&picture);
  }
  // Only this thread decodes, so the planes stay valid until its next decode.
  if (decoded) {
    PushWhenRoom(picture, generation);
  }
}

bool CBasePlayer::TakePictureLocked(PictureInfo* pPicture) {
  if (!m_pVDecoder->GetPicture(pPicture)) {
    return false;
  }
  // Without a reference (other decoders, or out of memory) the ring copies the planes.
  if (m_pPictureRef != nullptr) {
    m_pVDecoder->RefPicture(m_pPictureRef);
  }
  return true;
}

// Waits for room outside the decoder lock, so that redraws and captures are never held up by
// a paused player. A clear of the ring meanwhile (a seek) drops the picture.
void CBasePlayer::PushWhenRoom(const PictureInfo& picture, uint32_t nGeneration) {
  using Result = CPictureRing::PushResult;
  Result result = m_PictureRing.Push(picture, picture.u64Stamp, nGeneration, m_pPictureRef);
  while (result == Result::kFull && !m_DecodeThread.WaitStop(0)) {
    m_decodeWake.Wait(kSignalledWaitMs);
    result = m_PictureRing.Push(picture, picture.u64Stamp, nGeneration, m_pPictureRef);
  }
  if (result != Result::kPushed) {
    av_frame_unref(m_pPictureRef);
    return;
  }
  m_playWake.Notify();
}

// The pictures a decoder holds back for reordering come out only when its input ends, with the
// stamps their units brought; one without (none came in) is stamped on from the last input at
// the input's own spacing.
bool CBasePlayer::DrainAtEnd() {
  const uint32_t seq = m_nInputSeq;
  if (m_nEndOfInput == 0 || m_nDrainedSeq == seq) {
    return false;
  }
  const uint64_t step = m_u64LastInStamp > m_u64PrevInStamp ? m_u64LastInStamp - m_u64PrevInStamp : 40000;
  uint64_t stamp = m_u64LastInStamp;
  bool reorders = false;  // only the libavcodec decoders hold pictures back
  for (;;) {
    const uint32_t generation = m_PictureRing.Generation();
    PictureInfo picture;
    {
      CAutoLock lock(&m_DecoderLock);
      auto* decoder = dynamic_cast<CVDECH264*>(m_pVDecoder);
      reorders = decoder != nullptr;
      stamp += step;
      if (!reorders || decoder->DrainOnePicture(stamp) != 1 || !TakePictureLocked(&picture)) {
        break;
      }
    }
    PushWhenRoom(picture, generation);
    if (m_DecodeThread.WaitStop(0)) {
      return true;
    }
  }
  if (reorders) {
    ResetVDecoder();
  }
  m_nDrainedSeq = seq;
  m_playWake.Notify();
  return true;
}

void CBasePlayer::ResetVDecoder() {
  CAutoLock lock(&m_DecoderLock);
  if (m_pVDecoder != nullptr) {
    m_pVDecoder->UnInit();
    m_pVDecoder->InitDecoder(0);
  }
}

// The decode loop sleeps on the queue only when it is empty, or when its ring is full and only
// a key frame or data may pass. Waking it for every frame of a burst made it take the queue's
// lock against the writer each time: the input path ran at half its speed.
void CBasePlayer::NotifyVideoQueued(uint32_t nType, bool bWasEmpty) {
  ++m_nInputSeq;
  WakeDecodeFor(nType, bWasEmpty);
}

void CBasePlayer::WakeDecodeFor(uint32_t nType, bool bWasEmpty) {
  if (bWasEmpty || IsKeyKind(nType) || IsDataGroup(nType)) {
    m_decodeWake.Notify();
  }
}

bool CBasePlayer::IsInputDrained() {
  return m_nEndOfInput != 0 && m_nDrainedSeq == m_nInputSeq && m_VideoFrames.GetFrameNum() == 0 &&
         m_PictureRing.IsEmpty();
}

// ---- showing -------------------------------------------------------------------------------

// The shown picture's place is freed by Advance only under the show lock, so a capture or a
// draw that holds it never sees the decode thread write into the planes it reads.
bool CBasePlayer::AdvanceShown(uint64_t* pStamp) {
  CAutoLock show(m_ShowData.Lock());
  CAutoLock ring(m_PictureRing.Lock());
  PictureInfo picture;
  if (!m_PictureRing.Advance() || !m_PictureRing.Current(&picture)) {
    return false;
  }
  m_decodeWake.Notify();
  m_ShowFrame.pY = picture.pY;
  m_ShowFrame.pU = picture.pU;
  m_ShowFrame.pV = picture.pV;
  m_ShowFrame.uWidth = picture.nWidth;
  m_ShowFrame.uHeight = picture.nHeight;
  m_ShowFrame.uYStride = picture.nYStride;
  m_ShowFrame.uUVStride = picture.nUVStride;
  m_ShowFrame.ullPTS = picture.u64Stamp;
  m_ShowFrame.bIsKeyFrame = picture.nKey;
  m_ShowData.SetPicture(kPictureHi264, &m_ShowFrame, picture.u64Stamp);
  *pStamp = picture.u64Stamp;
  return true;
}

bool CBasePlayer::ShowNextPicture() {
  if (m_PictureRing.IsEmpty()) {
    m_playWake.Wait(kEmptyRingWaitMs);
  }
  uint64_t stamp = 0;
  if (!AdvanceShown(&stamp)) {
    return false;
  }
  // Uploaded under the show lock, presented after it: a slow window never holds up a push.
  m_ShowData.DrawFrame(&m_Draw);
  m_u64CurStamp = stamp;
  {
    CAutoLock timing(&m_TimingLock);
    m_Timing.NoteDraw();
  }
  m_u64LastShowStamp = stamp;
  m_WaveOut.SetSilence(m_nPause != 0);
  m_WaveOut.SetReferenceTime(stamp);
  return true;
}

void CBasePlayer::ClearPictures() {
  CAutoLock show(m_ShowData.Lock());
  CAutoLock ring(m_PictureRing.Lock());
  m_PictureRing.Clear();
  m_ShowData.SetPicture(kPictureNone, nullptr, 0);
  m_decodeWake.Notify();
}

void CBasePlayer::ResetPacing() {
  CAutoLock timing(&m_TimingLock);
  m_Timing.ResetPacing();
}

bool CBasePlayer::IsDue(uint32_t nIntervalMs) {
  CAutoLock timing(&m_TimingLock);
  return m_Timing.IsDue(nIntervalMs);
}

uint32_t CBasePlayer::MsUntilDue(uint32_t nIntervalMs) {
  CAutoLock timing(&m_TimingLock);
  return m_Timing.MsUntilDue(nIntervalMs);
}

bool CBasePlayer::NextInterval(uint32_t* pIntervalMs) {
  uint64_t next = 0;
  if (!m_PictureRing.NextStamp(&next)) {
    return false;
  }
  *pIntervalMs = CPlayTiming::GeneralInterval(m_u64CurStamp, next, m_nPlayRate,
                                              m_nPlayBackIFrame != 0);
  return true;
}

bool CBasePlayer::IsKeyFrameOnly() const {
  return CPlayTiming::IsKeyFrameOnly(m_nPlayRate, m_nPlayBackIFrame != 0);
}

}  // namespace zp
