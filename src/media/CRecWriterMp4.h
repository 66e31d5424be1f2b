#pragma once
#include <cstdint>
#include <functional>
#include <memory>
#include <queue>
#include <vector>

#include "media/CAudioTranscodeWorker.h"
#include "media/CDecoderConfig.h"
#include "media/CNalUnits.h"
#include "media/CRecWriter.h"
#include "media/IAudioTranscoder.h"

struct AVCodecContext;
struct AVCodecParserContext;
struct AVFormatContext;
struct AVPacket;
struct AVStream;

namespace zp {

// The MP4 recording writer. Video (H.264 or HEVC access units in Annex B form, as received) is
// stored without re-encoding, its NAL units length-prefixed; the codec, picture size and the
// sample description's decoder configuration come from the parameter sets at the front of the
// first key frame, and frames before it are left out. The file is fragmented, a fragment per key
// frame, and every packet is flushed, so a recorder killed mid-recording leaves a file that reads
// up to its last closed fragment. A later key frame that changes the codec or the picture size is
// refused, and so is the video after it: one track holds one codec and size.
// Sound from the first key frame on is decoded and stored again as mono AAC-LC through the
// registered IAudioTranscoder, on a thread of its own (CAudioTranscodeWorker), its coder type the application head's (byte 180) or the stream
// attribute's, whichever came last, or else the configured default; without a transcoder the
// file has no sound track. Data and auxiliary frames have no track.
// Video stamps are presentation times; decode times must rise. The first frames (up to
// kReorderWindow, or up to the second key frame) are held to see how far the stamps run out of
// order (B-frames): in order, every frame goes to the muxer as it comes, its decode time its
// stamp. Out of order, the last kReorderWindow - 1 frames stay held so that each frame's decode
// time can be the smallest stamp not yet used, moved back by that reorder delay; a key frame
// releases every held frame and goes at once, so fragments still close at key frames.
class CRecWriterMp4 : public CRecWriter {
 public:
  CRecWriterMp4() = default;
  ~CRecWriterMp4() override;

  // Opens `path` for a new recording; the MP4 head is written at the first key frame.
  int OpenWriter(const char* path, int pathKind) override;
  // An MP4 recording cannot be resumed: starts a new one, *recordedMs 0.
  int OpenWriterEx(const char* path, uint32_t* recordedMs, int pathKind) override;
  // Takes the head's start time as the recording's creation time (unless SetFileBeginTime gave
  // one) and its audio coder type as the sound's. Before the first key frame only: the MP4 head
  // is written then. 0, -1 when not open, the head short or already written.
  int SetFileHead(const uint8_t* head, uint32_t length) override;
  // Takes a live stream's audio coder type (0 for the configured default, as the stream player
  // plays it) as the sound's. Before the first key frame only. 0, -1 when not open, the record
  // short or not valid, or the head already written.
  int SetStreamAttr(const uint8_t* attr, uint32_t length) override;
  // Video: 0 when stored, held or left out before the first key frame, -1 when refused (a frame
  // without NAL units among them; a held frame refused later counts against the call that
  // releases it). Other kinds: 0.
  // *payloadOffset receives 0 (samples are placed by the muxer), *nextOffset the bytes written.
  int WriteFrame(const uint8_t* data, uint32_t length, uint32_t tag, uint64_t stamp, uint32_t* payloadOffset,
                 uint32_t* nextOffset) override;
  // Writes the last fragment and the trailer. 0.
  int CloseWriter() override;

 private:
  static constexpr size_t kReorderWindow = 8;
  static constexpr int64_t kNoDts = INT64_MIN;

  struct HeldVideo {
    std::vector<uint8_t> data;
    int64_t nPts = 0;
    bool bKey = false;
  };

  // What a key frame's parameter sets say.
  struct VideoHead {
    int nCodecId = 0;
    int nWidth = 0;
    int nHeight = 0;
  };

  int OpenLocked(const char* path);
  void CloseLocked();
  // Of the access unit in m_Units.
  bool ReadVideoHead(VideoHead* head);
  bool OpenParser(int codecId);
  // Copies units up to the first picture unit's slice header into m_KeyFront; the bytes copied.
  int CopyFront(size_t firstPicture);
  bool StartMuxer(const VideoHead& head);
  bool AcceptKeyFrame();
  int WriteVideo(const uint8_t* data, uint32_t length, bool key, uint64_t stamp);
  // Writes a frame, holds it, or both (see the class comment); pts in the time scale.
  int PassVideo(const uint8_t* data, uint32_t length, bool key, int64_t pts);
  void Hold(const uint8_t* data, uint32_t length, bool key, int64_t pts);
  // Sets the reorder delay from the frames held, once: the most any of them would be shown
  // before its place in decode order.
  void DecideReorderDelay();
  // Writes the held frames, oldest first, until `keep` remain; -1 when one was refused.
  int ReleaseHeld(size_t keep);
  HeldVideo& HeldAt(size_t i) { return m_Held[(m_nHeldFirst + i) % kReorderWindow]; }
  int WriteVideoPacket(const uint8_t* data, uint32_t length, bool key, int64_t pts, int64_t wantedDts);
  void SetCreationTime();
  bool AddSoundTrack();
  int WriteSound(const uint8_t* data, uint32_t length, uint64_t stamp);
  int WriteSoundFrames();
  void FinishSound();
  int WritePacket(AVStream* stream, const uint8_t* data, uint32_t length, int64_t pts, int64_t dts, int64_t duration,
                  bool key);

  AVFormatContext* m_pFormat = nullptr;
  AVStream* m_pVideo = nullptr;
  AVStream* m_pSound = nullptr;
  std::unique_ptr<CAudioTranscodeWorker> m_pSoundWorker;
  std::unique_ptr<uint8_t[]> m_pSoundFrame;  // the frame taken from the worker
  uint32_t m_nSoundCoder = 0;  // 0: the configured default
  uint32_t m_nSoundRate = 0;
  int64_t m_nSoundPts = -1;
  AVPacket* m_pPacket = nullptr;
  AVCodecContext* m_pParseCodec = nullptr;
  AVCodecParserContext* m_pParser = nullptr;
  VideoHead m_VideoHead;
  bool m_bStarted = false;
  bool m_bRefused = false;
  uint64_t m_u64FirstStamp = 0;
  bool m_bFirstStamp = false;
  int64_t m_nLastDts = kNoDts;
  int64_t m_nLastGap = 0;
  int64_t m_nReorderDelay = -1;  // in the time scale; -1 until the first frames have shown it
  // The held frames, a ring of kReorderWindow places whose buffers are kept between frames, so
  // that holding a frame does not allocate once the buffers have grown.
  HeldVideo m_Held[kReorderWindow];
  size_t m_nHeldFirst = 0;
  size_t m_nHeldCount = 0;
  std::priority_queue<int64_t, std::vector<int64_t>, std::greater<int64_t>> m_UnusedPts;
  uint8_t m_HeadStart[6] = {};
  bool m_bHeadStart = false;
  CNalUnits m_Units;  // the video frame being written
  CDecoderConfig m_Config;
  std::vector<uint8_t> m_KeyFront;
};

}  // namespace zp
