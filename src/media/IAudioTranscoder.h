#pragma once
#include <cstdint>

namespace zp {

// Sound for recordings that store it re-encoded (MP4): the source's frames decoded and encoded
// again as raw AAC-LC, mono. The codecs live in the audio floor, which the media floor cannot
// reach, so the implementation sits above both and registers its maker when the library loads;
// without a maker, recordings that need it store no sound.
class IAudioTranscoder {
 public:
  using Maker = IAudioTranscoder* (*)();

  virtual ~IAudioTranscoder() = default;

  // Prepares for sound of the library's audio coder type; *sampleRate receives the AAC rate,
  // the source's when it is an AAC rate. False when there is no decoder or encoder for it.
  virtual bool Open(uint32_t nCoderType, uint32_t* sampleRate) = 0;
  // Decodes one source payload and keeps its sound for NextFrame. False when the payload gave
  // nothing.
  virtual bool Decode(const uint8_t* data, uint32_t length) = 0;
  // The next raw AAC frame (1024 samples) of the sound kept, valid until the next call; false
  // when the sound kept does not fill another frame.
  virtual bool NextFrame(const uint8_t** frame, uint32_t* length) = 0;
  // The sound has ended: what is kept is padded with silence to a whole frame, and NextFrame
  // then also gives the frames the encoder still holds, so that the end of the sound is kept.
  // No Decode may follow.
  virtual void Finish() = 0;

  static void SetMaker(Maker maker);
  // A new transcoder, null without a maker or memory.
  static IAudioTranscoder* Make();
};

}  // namespace zp
