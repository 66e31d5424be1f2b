#include "video/PictureCapture.h"

#include <algorithm>
#include <cmath>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <memory>
#include <vector>

extern "C" {
#include <jpeglib.h>
}

#include "common/ColorTables.h"
#include "common/LogAccess.h"

namespace zp {

namespace {

constexpr int kJpegQuality = 90;
constexpr char kJpegComment[] = "libzephplay picture capture";
constexpr size_t kJpegBufferBytes = 64 * 1024;

constexpr uint32_t kRowsPerChunk = 16;

// Saturation by table: a converted value, shifted down, lies within [-512, 768).
struct ClipTable {
  static constexpr int kOffset = 512;
  uint8_t value[1280];
  ClipTable() {
    for (int i = 0; i < 1280; ++i) {
      const int v = i - kOffset;
      value[i] = static_cast<uint8_t>(v < 0 ? 0 : (v > 255 ? 255 : v));
    }
  }
};

const ClipTable g_clip;

inline uint8_t Clip(int v) { return g_clip.value[(v >> 13) + ClipTable::kOffset]; }

// One output row from one luma row and the chroma row it shares with its neighbour; the
// chroma terms are worked out once for each pair of pixels.
template <bool kBgr>
void ConvertRow(const ColorTables& t, const uint8_t* y, const uint8_t* u, const uint8_t* v,
                uint32_t width, uint8_t* out) {
  constexpr int ri = kBgr ? 2 : 0;
  constexpr int bi = kBgr ? 0 : 2;
  constexpr int kRound = 1 << 12;
  const uint32_t pairs = width / 2;
  for (uint32_t x = 0; x < pairs; ++x) {
    const int cu = u[x];
    const int cv = v[x];
    const int red = t.vToRed[cv] + kRound;
    const int green = kRound - t.vToGreen[cv] - t.uToGreen[cu];
    const int blue = t.uToBlue[cu] + kRound;
    const int l0 = t.luma[y[2 * x]];
    const int l1 = t.luma[y[2 * x + 1]];
    out[ri] = Clip(l0 + red);
    out[1] = Clip(l0 + green);
    out[bi] = Clip(l0 + blue);
    out[3 + ri] = Clip(l1 + red);
    out[4] = Clip(l1 + green);
    out[3 + bi] = Clip(l1 + blue);
    out += 6;
  }
  if ((width & 1) != 0) {
    const int cu = u[pairs];
    const int cv = v[pairs];
    const int l = t.luma[y[width - 1]] + kRound;
    out[ri] = Clip(l + t.vToRed[cv]);
    out[1] = Clip(l - t.vToGreen[cv] - t.uToGreen[cu]);
    out[bi] = Clip(l + t.uToBlue[cu]);
  }
}

// BT.601 limited range to the full range of JPEG's YCbCr.
struct FullRangeTables {
  uint8_t luma[256];
  uint8_t chroma[256];
  FullRangeTables() {
    for (int i = 0; i < 256; ++i) {
      const long yv = std::lround((i - 16) * 255.0 / 219.0);
      const long cv = std::lround((i - 128) * 255.0 / 224.0) + 128;
      luma[i] = static_cast<uint8_t>(yv < 0 ? 0 : (yv > 255 ? 255 : yv));
      chroma[i] = static_cast<uint8_t>(cv < 0 ? 0 : (cv > 255 ? 255 : cv));
    }
  }
};

const FullRangeTables& FullRange() {
  static const FullRangeTables tables;
  return tables;
}

// One interleaved full-range YCbCr row, chroma repeated for both pixels of a pair (4:4:4).
void ToJpegYcc(const PictureInfo& p, uint32_t row, uint8_t* out) {
  const FullRangeTables& t = FullRange();
  const uint8_t* y = p.pY + static_cast<size_t>(row) * p.nYStride;
  const uint8_t* u = p.pU + static_cast<size_t>(row >> 1) * p.nUVStride;
  const uint8_t* v = p.pV + static_cast<size_t>(row >> 1) * p.nUVStride;
  for (uint32_t x = 0; x < p.nWidth; ++x) {
    out[0] = t.luma[y[x]];
    out[1] = t.chroma[u[x >> 1]];
    out[2] = t.chroma[v[x >> 1]];
    out += 3;
  }
}

bool Usable(const PictureInfo& p) {
  return p.pY != nullptr && p.pU != nullptr && p.pV != nullptr && p.nWidth > 0 &&
         p.nHeight > 0 && p.nYStride >= p.nWidth && p.nUVStride >= (p.nWidth + 1) / 2;
}

void PutLe16(uint8_t* p, uint16_t v) {
  p[0] = static_cast<uint8_t>(v);
  p[1] = static_cast<uint8_t>(v >> 8);
}

void PutLe32(uint8_t* p, uint32_t v) {
  for (int i = 0; i < 4; ++i) {
    p[i] = static_cast<uint8_t>(v >> (8 * i));
  }
}

// The libjpeg destination manager: compressed bytes go through a fixed buffer into the stream.
struct StreamDestination {
  jpeg_destination_mgr mgr{};
  std::ofstream* stream = nullptr;
  std::unique_ptr<JOCTET[]> buffer;
  bool failed = false;

  static void Init(j_compress_ptr cinfo) {
    auto* self = reinterpret_cast<StreamDestination*>(cinfo->dest);
    self->mgr.next_output_byte = self->buffer.get();
    self->mgr.free_in_buffer = kJpegBufferBytes;
  }
  static boolean Empty(j_compress_ptr cinfo) {
    auto* self = reinterpret_cast<StreamDestination*>(cinfo->dest);
    self->Write(kJpegBufferBytes);
    Init(cinfo);
    return TRUE;
  }
  static void Term(j_compress_ptr cinfo) {
    auto* self = reinterpret_cast<StreamDestination*>(cinfo->dest);
    self->Write(kJpegBufferBytes - self->mgr.free_in_buffer);
    self->stream->flush();
  }
  void Write(size_t n) {
    stream->write(reinterpret_cast<const char*>(buffer.get()), static_cast<std::streamsize>(n));
    failed = failed || !stream->good();
  }
};

struct JpegError {
  jpeg_error_mgr mgr{};
  std::jmp_buf jump{};
  static void Exit(j_common_ptr cinfo) {
    char text[JMSG_LENGTH_MAX];
    (*cinfo->err->format_message)(cinfo, text);
    LogError("%s %s", "SavePictureJPEG", text);
    std::longjmp(reinterpret_cast<JpegError*>(cinfo->err)->jump, 1);
  }
};

// Kept free of C++ objects with destructors: libjpeg leaves through longjmp on an error.
// rows holds kRowsPerChunk rows of width * 3 bytes.
bool Compress(const PictureInfo& picture, uint8_t* rows, StreamDestination* dest) {
  jpeg_compress_struct cinfo{};
  JpegError error;
  cinfo.err = jpeg_std_error(&error.mgr);
  error.mgr.error_exit = &JpegError::Exit;
  if (setjmp(error.jump) != 0) {
    jpeg_destroy_compress(&cinfo);
    return false;
  }
  jpeg_create_compress(&cinfo);
  cinfo.dest = &dest->mgr;
  cinfo.image_width = picture.nWidth;
  cinfo.image_height = picture.nHeight;
  cinfo.input_components = 3;
  // The decoder's YCbCr goes in as it is (moved to full range): no round trip through RGB.
  cinfo.in_color_space = JCS_YCbCr;
  jpeg_set_defaults(&cinfo);
  jpeg_set_quality(&cinfo, kJpegQuality, TRUE);
  for (int c = 0; c < 3; ++c) {  // 4:4:4: every component at full resolution
    cinfo.comp_info[c].h_samp_factor = 1;
    cinfo.comp_info[c].v_samp_factor = 1;
  }
  cinfo.dct_method = JDCT_ISLOW;
  jpeg_start_compress(&cinfo, TRUE);
  jpeg_write_marker(&cinfo, JPEG_COM, reinterpret_cast<const JOCTET*>(kJpegComment),
                    sizeof(kJpegComment) - 1);
  const size_t rowBytes = static_cast<size_t>(picture.nWidth) * 3;
  JSAMPROW pointers[kRowsPerChunk];
  while (cinfo.next_scanline < cinfo.image_height) {
    const JDIMENSION left = cinfo.image_height - cinfo.next_scanline;
    const JDIMENSION n = left < kRowsPerChunk ? left : kRowsPerChunk;
    for (JDIMENSION i = 0; i < n; ++i) {
      pointers[i] = rows + i * rowBytes;
      ToJpegYcc(picture, cinfo.next_scanline + i, pointers[i]);
    }
    jpeg_write_scanlines(&cinfo, pointers, n);
  }
  jpeg_finish_compress(&cinfo);
  jpeg_destroy_compress(&cinfo);
  return true;
}

}  // namespace

void ConvertPictureToRgb(const PictureInfo& picture, uint8_t* dst, size_t rowBytes, bool bgr,
                         bool bottomUp) {
  const ColorTables& tables = GetColorTables();
  for (uint32_t row = 0; row < picture.nHeight; ++row) {
    const size_t chromaRow = static_cast<size_t>(row >> 1) * picture.nUVStride;
    uint8_t* out = dst + (bottomUp ? picture.nHeight - 1 - row : row) * rowBytes;
    const uint8_t* y = picture.pY + static_cast<size_t>(row) * picture.nYStride;
    if (bgr) {
      ConvertRow<true>(tables, y, picture.pU + chromaRow, picture.pV + chromaRow, picture.nWidth,
                       out);
    } else {
      ConvertRow<false>(tables, y, picture.pU + chromaRow, picture.pV + chromaRow, picture.nWidth,
                        out);
    }
  }
}

CaptureResult SavePictureBMP(const PictureInfo& picture, const char* path) {
  if (!Usable(picture) || path == nullptr) {
    return CaptureResult::kFailed;
  }
  std::FILE* file = std::fopen(path, "wb");
  if (file == nullptr) {
    return CaptureResult::kOpenFailed;
  }
  const size_t rowBytes = (static_cast<size_t>(picture.nWidth) * 3 + 3) & ~static_cast<size_t>(3);
  const size_t imageBytes = rowBytes * picture.nHeight;
  uint8_t h[54] = {'B', 'M'};
  PutLe32(h + 2, static_cast<uint32_t>(sizeof(h) + imageBytes));
  PutLe32(h + 10, sizeof(h));
  PutLe32(h + 14, 40);
  PutLe32(h + 18, picture.nWidth);
  PutLe32(h + 22, picture.nHeight);  // positive height: rows bottom-up
  PutLe16(h + 26, 1);
  PutLe16(h + 28, 24);
  bool ok = std::fwrite(h, 1, sizeof(h), file) == sizeof(h);
  // Converted and written a few rows at a time, from the bottom row up, through one small
  // buffer that stays in the cache.
  std::vector<uint8_t> chunk(rowBytes * kRowsPerChunk, 0);
  const ColorTables& tables = GetColorTables();
  for (uint32_t done = 0; ok && done < picture.nHeight;) {
    const uint32_t n = std::min(kRowsPerChunk, picture.nHeight - done);
    for (uint32_t i = 0; i < n; ++i) {
      const uint32_t row = picture.nHeight - 1 - (done + i);
      const size_t chromaRow = static_cast<size_t>(row >> 1) * picture.nUVStride;
      ConvertRow<true>(tables, picture.pY + static_cast<size_t>(row) * picture.nYStride,
                       picture.pU + chromaRow, picture.pV + chromaRow, picture.nWidth,
                       chunk.data() + i * rowBytes);
    }
    ok = std::fwrite(chunk.data(), 1, n * rowBytes, file) == n * rowBytes;
    done += n;
  }
  const bool closed = std::fclose(file) == 0;
  return ok && closed ? CaptureResult::kWritten : CaptureResult::kFailed;
}

CaptureResult SavePictureJPEG(const PictureInfo& picture, const char* path) {
  if (!Usable(picture) || path == nullptr) {
    return CaptureResult::kFailed;
  }
  std::ofstream stream(path, std::ios::binary | std::ios::trunc);
  if (!stream) {
    return CaptureResult::kOpenFailed;
  }
  const size_t rowsBytes = static_cast<size_t>(picture.nWidth) * 3 * kRowsPerChunk;
  std::unique_ptr<uint8_t[]> rows(new uint8_t[rowsBytes]);
  StreamDestination dest;
  dest.stream = &stream;
  dest.buffer.reset(new JOCTET[kJpegBufferBytes]);
  dest.mgr.init_destination = &StreamDestination::Init;
  dest.mgr.empty_output_buffer = &StreamDestination::Empty;
  dest.mgr.term_destination = &StreamDestination::Term;
  if (!Compress(picture, rows.get(), &dest) || dest.failed) {
    return CaptureResult::kFailed;
  }
  stream.close();
  return stream.fail() ? CaptureResult::kFailed : CaptureResult::kWritten;
}

}  // namespace zp
