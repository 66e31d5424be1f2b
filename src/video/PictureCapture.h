#pragma once
#include <cstddef>

#include "video/PictureInfo.h"

namespace zp {

// What a capture to a file came to.
enum class CaptureResult { kWritten, kOpenFailed, kFailed };

// Writes the picture as a 24-bit bottom-up BMP (14-byte file header, 40-byte info header),
// converted with the BT.601 tables of ColorTables.
CaptureResult SavePictureBMP(const PictureInfo& picture, const char* path);

// Writes the picture as a baseline JPEG: quality 90, no chroma subsampling, a comment marker.
CaptureResult SavePictureJPEG(const PictureInfo& picture, const char* path);

// Converts rows [0, height) into packed 24-bit pixels, BGR order when bgr is set, else RGB;
// rowBytes apart, bottom-up when bottomUp is set. dst holds rowBytes * height bytes.
void ConvertPictureToRgb(const PictureInfo& picture, uint8_t* dst, size_t rowBytes, bool bgr,
                         bool bottomUp);

}  // namespace zp
