#include "interface/exports/ExportSupport.h"
#include "video/CVDECH264.h"
#include "video/PictureCapture.h"

extern "C" {

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_IFrameToBMP(const uint8_t* frame, uint32_t length,
                                                        const char* path) {
  if (frame == nullptr || length == 0 || path == nullptr) {
    return -1;
  }
  return zp::Guarded("ZEPHPLAY_IFrameToBMP", [&]() -> int32_t {
    // A temporary software decoder: no window, so no hardware path.
    zp::CVDECH264 decoder(false, nullptr);
    if (decoder.InitDecoder(0) == 0) {
      return -1;
    }
    // A stream that allows reordering keeps its picture back until the end of the stream.
    if (decoder.DecodeOneFrame(zp::CVDEC::kKeyFrameType, frame, length, 0) != 1 &&
        decoder.DrainOnePicture(0) != 1) {
      zp::LogError("%s no picture", "ZEPHPLAY_IFrameToBMP");
      return -1;
    }
    zp::PictureInfo picture;
    if (!decoder.GetPicture(&picture) ||
        zp::SavePictureBMP(picture, path) != zp::CaptureResult::kWritten) {
      return -1;
    }
    decoder.UnInit();
    return 0;
  });
}

}  // extern "C"
