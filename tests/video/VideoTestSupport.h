#pragma once
// Outside judges for the video tests: libavcodec's decoder (AvReference.h), an independent BMP reader,
// libjpeg reading back JPEGs, a BT.601 reference conversion, PSNR, and Xvfb with a real X window.
#include <X11/Xlib.h>
#include <poll.h>
#include <signal.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

extern "C" {
#include <jpeglib.h>
}

#include "ImageReference.h"
#include "SampleEncoder.h"
#include "common/LogAccess.h"
#include "common/TempDir.h"
#include "support/Deadline.h"
#include "video/CVDEC.h"
#include "video/PictureInfo.h"

namespace zp::videotest {

using test::PackPicture;

inline test::Picture PackPicture(const PictureInfo& info) {
  return PackPicture(info.pY, info.pU, info.pV, static_cast<int>(info.nYStride),
                     static_cast<int>(info.nUVStride), static_cast<int>(info.nWidth),
                     static_cast<int>(info.nHeight));
}

// A packed 4:2:0 buffer (as MakePicture makes it) seen as a picture.
inline PictureInfo ViewPicture(const std::vector<uint8_t>& yuv, int width, int height) {
  PictureInfo p;
  p.nWidth = static_cast<uint32_t>(width);
  p.nHeight = static_cast<uint32_t>(height);
  p.pY = yuv.data();
  p.pU = p.pY + static_cast<size_t>(width) * height;
  p.pV = p.pU + static_cast<size_t>(width / 2) * (height / 2);
  p.nYStride = static_cast<uint32_t>(width);
  p.nUVStride = static_cast<uint32_t>(width / 2);
  return p;
}

// The type a stream's tag gives an encoded frame, and the frame through a decoder.
inline uint32_t FrameType(const samples::EncodedFrame& f) { return f.key ? CVDEC::kKeyFrameType : 0x63643100; }
inline int DecodeFrame(CVDEC* dec, const samples::EncodedFrame& f) {
  return dec->DecodeOneFrame(FrameType(f), f.data.data(), static_cast<uint32_t>(f.data.size()), f.stampUs);
}

using test::Psnr;

inline std::vector<uint8_t> ReferenceRgb(const PictureInfo& p) { return test::ReferenceRgb(PackPicture(p)); }

// An independent BMP reader to top-down RGB. It takes only what a caller can count on: a 54-byte
// header (40-byte info header), one plane of 24 bits, no compression, rows either way up.
struct BmpImage {
  int width = 0, height = 0;
  std::vector<uint8_t> rgb;
};

inline BmpImage ReadBmp(const std::string& path) {
  BmpImage img;
  const std::vector<uint8_t> d = test::ReadBytes(path);
  auto u32 = [&](size_t o) { return d[o] | d[o + 1] << 8 | d[o + 2] << 16 | static_cast<uint32_t>(d[o + 3]) << 24; };
  if (d.size() < 54 || d[0] != 'B' || d[1] != 'M' || u32(10) != 54 || u32(14) != 40 || u32(26) != (24u << 16 | 1) ||
      u32(30) != 0) {
    return img;
  }
  const int32_t w = static_cast<int32_t>(u32(18));
  const int32_t h = static_cast<int32_t>(u32(22));
  const size_t stride = (static_cast<size_t>(w) * 3 + 3) & ~size_t{3};
  const int rows = h < 0 ? -h : h;
  if (d.size() != 54 + stride * rows) {
    return img;
  }
  img.width = w;
  img.height = rows;
  img.rgb.resize(static_cast<size_t>(w) * rows * 3);
  for (int r = 0; r < rows; ++r) {
    const uint8_t* src = d.data() + 54 + stride * (h < 0 ? r : rows - 1 - r);
    for (int c = 0; c < w; ++c) {
      uint8_t* px = &img.rgb[(static_cast<size_t>(r) * w + c) * 3];
      px[0] = src[c * 3 + 2];
      px[1] = src[c * 3 + 1];
      px[2] = src[c * 3 + 0];
    }
  }
  return img;
}

struct JpegImage {
  int width = 0, height = 0;
  int hSamp[3] = {0, 0, 0}, vSamp[3] = {0, 0, 0};
  std::string comment;
  std::vector<uint8_t> rgb;
};

inline JpegImage ReadJpeg(const std::string& path) {
  JpegImage img;
  std::FILE* f = std::fopen(path.c_str(), "rb");
  if (f == nullptr) {
    return img;
  }
  jpeg_decompress_struct cinfo{};
  jpeg_error_mgr err{};
  cinfo.err = jpeg_std_error(&err);
  jpeg_create_decompress(&cinfo);
  jpeg_stdio_src(&cinfo, f);
  jpeg_save_markers(&cinfo, JPEG_COM, 0xFFFF);
  jpeg_read_header(&cinfo, TRUE);
  for (jpeg_saved_marker_ptr m = cinfo.marker_list; m != nullptr; m = m->next) {
    if (m->marker == JPEG_COM) {
      img.comment.assign(reinterpret_cast<const char*>(m->data), m->data_length);
    }
  }
  for (int c = 0; c < 3 && c < cinfo.num_components; ++c) {
    img.hSamp[c] = cinfo.comp_info[c].h_samp_factor;
    img.vSamp[c] = cinfo.comp_info[c].v_samp_factor;
  }
  cinfo.out_color_space = JCS_RGB;
  jpeg_start_decompress(&cinfo);
  img.width = static_cast<int>(cinfo.output_width);
  img.height = static_cast<int>(cinfo.output_height);
  img.rgb.resize(static_cast<size_t>(img.width) * img.height * 3);
  while (cinfo.output_scanline < cinfo.output_height) {
    JSAMPROW row = &img.rgb[static_cast<size_t>(cinfo.output_scanline) * img.width * 3];
    jpeg_read_scanlines(&cinfo, &row, 1);
  }
  jpeg_finish_decompress(&cinfo);
  jpeg_destroy_decompress(&cinfo);
  std::fclose(f);
  return img;
}

// How often a line stands in the library's log file (shared by every test program writing into
// the log dir, so callers compare counts before and after).
inline size_t LogCount(const std::string& what) {
  const std::string text = test::ReadText(LogFile(true)->FilePath());
  size_t n = 0;
  for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) {
    ++n;
  }
  return n;
}

// An Xvfb of the test program's own, on a display number the server picks itself (-displayfd,
// so parallel test programs never clash), stopped at the end. DISPLAY points at it.
class XServer {
 public:
  XServer() {
    // The shell prints its pid and becomes the server, which prints its display number once it
    // accepts connections (waited for 15 s at most, unbuffered so that poll sees what is to come).
    m_pipe = popen("echo $$; exec Xvfb -displayfd 1 -screen 0 800x600x24 -nolisten tcp -noreset 2> /dev/null", "r");
    char line[32] = {};
    if (m_pipe == nullptr || setvbuf(m_pipe, nullptr, _IONBF, 0) != 0 || !std::fgets(line, sizeof line, m_pipe)) {
      return;
    }
    m_pid = std::atoi(line);
    pollfd ready{fileno(m_pipe), POLLIN, 0};
    if (poll(&ready, 1, 15000) <= 0 || std::fgets(line, sizeof line, m_pipe) == nullptr) {
      return;
    }
    const std::string display = ":" + std::to_string(std::atoi(line));
    if (Display* d = XOpenDisplay(display.c_str())) {
      XCloseDisplay(d);
      setenv("DISPLAY", display.c_str(), 1);
      m_ok = true;
    }
  }
  ~XServer() {
    if (m_pid > 0) {
      kill(m_pid, SIGTERM);
    }
    if (m_pipe != nullptr) {
      pclose(m_pipe);
    }
  }
  bool Available() const { return m_ok; }
  // One server for the whole test program, stopped at exit.
  static XServer& Shared() {
    static XServer server;
    return server;
  }

 private:
  FILE* m_pipe = nullptr;
  pid_t m_pid = -1;
  bool m_ok = false;
};

// A plain mapped X window of the given size.
class XWindow {
 public:
  XWindow(int width, int height) : m_width(width), m_height(height) {
    m_display = XOpenDisplay(nullptr);
    if (m_display == nullptr) {
      return;
    }
    const int screen = DefaultScreen(m_display);
    m_window = XCreateSimpleWindow(m_display, RootWindow(m_display, screen), 0, 0,
                                   static_cast<unsigned>(width), static_cast<unsigned>(height), 0,
                                   BlackPixel(m_display, screen), BlackPixel(m_display, screen));
    XSelectInput(m_display, m_window, StructureNotifyMask);
    XMapWindow(m_display, m_window);
    XEvent ev;
    do {
      XNextEvent(m_display, &ev);
    } while (ev.type != MapNotify);
    XSync(m_display, False);
  }
  ~XWindow() {
    if (m_display != nullptr) {
      XDestroyWindow(m_display, m_window);
      XCloseDisplay(m_display);
    }
  }
  bool Ok() const { return m_display != nullptr; }
  void* Handle() const { return reinterpret_cast<void*>(static_cast<uintptr_t>(m_window)); }

  // The window's pixels as top-down RGB, taken by ImageMagick's import (an outside tool).
  std::vector<uint8_t> Screenshot() {
    XSync(m_display, False);
    const std::string file = (m_dir.path() / "shot.rgb").string();
    char cmd[512];
    std::snprintf(cmd, sizeof(cmd), "import -window 0x%lx -depth 8 rgb:%s 2>/dev/null",
                  static_cast<unsigned long>(m_window), file.c_str());
    if (std::system(cmd) != 0) {
      return {};
    }
    std::vector<uint8_t> rgb = test::ReadBytes(file);
    return rgb.size() == static_cast<size_t>(m_width) * m_height * 3 ? rgb : std::vector<uint8_t>();
  }

 private:
  TempDir m_dir;
  Display* m_display = nullptr;
  Window m_window = 0;
  int m_width, m_height;
};

}  // namespace zp::videotest
