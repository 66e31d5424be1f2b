#include "video/IHW265D.h"

#include <new>

#include "video/AvDecoderCore.h"

namespace zp {

struct IHW265D_Core {
  IHW265D_INIT_PARAM param;
  AvDecoderCore core;
};

int32_t IHW265D_Create(IHW265D_HANDLE* phDecoder, const IHW265D_INIT_PARAM* pParam) {
  if (phDecoder == nullptr || pParam == nullptr || pParam->MallocFxn == nullptr ||
      pParam->FreeFxn == nullptr || pParam->uiMaxWidth == 0 || pParam->uiMaxHeight == 0) {
    return IHW265D_INVALID_ARGUMENT;
  }
  void* memory = pParam->MallocFxn(pParam->uiChannelID, sizeof(IHW265D_Core));
  if (memory == nullptr) {
    return IHW265D_NO_MEMORY;
  }
  auto* decoder = new (memory) IHW265D_Core{*pParam, {}};
  const int threads = pParam->uiThreadType == 1 ? 0 : 1;
  if (!decoder->core.Open(AV_CODEC_ID_HEVC, threads, pParam->uiMaxWidth, pParam->uiMaxHeight)) {
    if (pParam->LogFxn != nullptr) {
      pParam->LogFxn(pParam->uiChannelID, 2, "IHW265D_Create: HEVC decoder did not open");
    }
    IHW265D_Delete(decoder);
    return IHW265D_NO_MEMORY;
  }
  *phDecoder = decoder;
  return IHW265D_OK;
}

int32_t IHW265D_Decode(IHW265D_HANDLE hDecoder, const IHW265D_INARGS* pIn, IHW265D_OUTARGS* pOut) {
  if (hDecoder == nullptr || pIn == nullptr || pOut == nullptr) {
    return IHW265D_INVALID_ARGUMENT;
  }
  *pOut = IHW265D_OUTARGS{};
  pOut->eDecodeStatus = IHW265D_NO_PICTURE;
  const int64_t pts = static_cast<int64_t>(pIn->uiTimeStamp);
  const int got = hDecoder->core.Decode(pIn->pStream, pIn->uiStreamLen, pts);
  pOut->uiBytsConsumed = pIn->uiStreamLen;
  if (got == AvDecoderCore::kRefused) {
    return IHW265D_PICTURE_TOO_LARGE;
  }
  if (AvDecoderCore::NoPictureYet(got)) {
    return IHW265D_OK;
  }
  if (got != 1) {
    return IHW265D_DECODE_ERROR;
  }
  const AVFrame* f = hDecoder->core.Frame();
  pOut->eDecodeStatus = IHW265D_GETDISPLAY;
  pOut->uiDecWidth = static_cast<uint32_t>(f->width);
  pOut->uiDecHeight = static_cast<uint32_t>(f->height);
  pOut->uiYStride = static_cast<uint32_t>(f->linesize[0]);
  pOut->uiUVStride = static_cast<uint32_t>(f->linesize[1]);
  for (int i = 0; i < 3; ++i) {
    pOut->pucOutYUV[i] = f->data[i];
  }
  pOut->uiTimeStamp = static_cast<uint64_t>(f->pts);
  pOut->bIsIntraPic = f->key_frame != 0 ? 1 : 0;
  return IHW265D_OK;
}

int32_t IHW265D_Delete(IHW265D_HANDLE hDecoder) {
  if (hDecoder == nullptr) {
    return IHW265D_INVALID_ARGUMENT;
  }
  const IHW265D_FREE freeFxn = hDecoder->param.FreeFxn;
  const uint32_t channel = hDecoder->param.uiChannelID;
  hDecoder->~IHW265D_Core();
  freeFxn(channel, hDecoder);
  return IHW265D_OK;
}

}  // namespace zp
