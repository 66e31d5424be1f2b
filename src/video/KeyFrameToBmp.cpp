#include "video/KeyFrameToBmp.h"

#include "common/LogAccess.h"
#include "video/CVDECH264.h"
#include "video/PictureCapture.h"

namespace zp {

bool SaveKeyFrameAsBmp(const uint8_t* pFrame, uint32_t nLength, const char* pPath) {
  // No window, so no hardware path.
  CVDECH264 decoder(false, nullptr);
  if (decoder.InitDecoder(0) == 0) {
    return false;
  }
  // A stream that allows reordering keeps its picture back until the end of the stream.
  if (decoder.DecodeOneFrame(CVDEC::kKeyFrameType, pFrame, nLength, 0) != 1 &&
      decoder.DrainOnePicture(0) != 1) {
    LogError("%s no picture", "SaveKeyFrameAsBmp");
    return false;
  }
  PictureInfo picture;
  const bool saved =
      decoder.GetPicture(&picture) && SavePictureBMP(picture, pPath) == CaptureResult::kWritten;
  decoder.UnInit();
  return saved;
}

}  // namespace zp
