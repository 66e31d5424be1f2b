#include "video/Hi264Dec.h"

#include <new>

#include "video/AvDecoderCore.h"

namespace zp {

struct Hi264Dec_Core {
  AvDecoderCore core;
};

HI264DEC_HANDLE Hi264DecCreate(const HI264DEC_ATTR* pAttr) {
  if (pAttr == nullptr || pAttr->uPicWidthInMB == 0 || pAttr->uPicHeightInMB == 0 ||
      pAttr->uPictureFormat != 0) {
    return nullptr;
  }
  auto* decoder = new (std::nothrow) Hi264Dec_Core();
  if (decoder == nullptr) {
    return nullptr;
  }
  const int threads = pAttr->uWorkMode == 0 ? 1 : 0;
  if (!decoder->core.Open(AV_CODEC_ID_H264, threads, pAttr->uPicWidthInMB * 16,
                          pAttr->uPicHeightInMB * 16)) {
    delete decoder;
    return nullptr;
  }
  return decoder;
}

int32_t Hi264DecFrame(HI264DEC_HANDLE hDec, const uint8_t* pStream, uint32_t uLength,
                      uint64_t ullPTS, HI264DEC_FRAME* pOut, uint32_t /*uFlags*/) {
  if (hDec == nullptr || pOut == nullptr) {
    return HI264DEC_ERR_HANDLE;
  }
  *pOut = HI264DEC_FRAME{};
  const int got = hDec->core.Decode(pStream, uLength, static_cast<int64_t>(ullPTS));
  if (got == AvDecoderCore::kRefused) {
    return HI264DEC_ERR_PIC_SIZE;
  }
  if (AvDecoderCore::NoPictureYet(got)) {
    return pStream != nullptr && uLength > 0 ? HI264DEC_NEED_MORE_BITS : HI264DEC_NO_PICTURE;
  }
  if (got != 1) {
    pOut->bError = 1;
    return HI264DEC_NO_PICTURE;
  }
  const AVFrame* f = hDec->core.Frame();
  pOut->pY = f->data[0];
  pOut->pU = f->data[1];
  pOut->pV = f->data[2];
  pOut->uWidth = static_cast<uint32_t>(f->width);
  pOut->uHeight = static_cast<uint32_t>(f->height);
  pOut->uYStride = static_cast<uint32_t>(f->linesize[0]);
  pOut->uUVStride = static_cast<uint32_t>(f->linesize[1]);
  pOut->ullPTS = static_cast<uint64_t>(f->pts);
  pOut->bIsKeyFrame = f->key_frame != 0 ? 1 : 0;
  return HI264DEC_OK;
}

void Hi264DecDestroy(HI264DEC_HANDLE hDec) { delete hDec; }

}  // namespace zp
