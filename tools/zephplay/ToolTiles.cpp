#include "ToolTiles.h"

#include <X11/Xlib.h>

namespace {

constexpr unsigned int kGap = 2;  // pixels of the parent's black between tiles

Display* Dpy(void* display) { return static_cast<Display*>(display); }

}  // namespace

ToolTiles::~ToolTiles() {
  if (m_display == nullptr) {
    return;
  }
  for (unsigned long tile : m_tiles) {
    XDestroyWindow(Dpy(m_display), tile);
  }
  XCloseDisplay(Dpy(m_display));
}

void ToolTiles::Grid(uint32_t count, uint32_t* columns, uint32_t* rows) {
  uint32_t c = 1;
  while (c * c < count) {
    ++c;
  }
  *columns = c;
  *rows = (count + c - 1) / c;
}

bool ToolTiles::Open(void* parent, uint32_t count) {
  // A connection of its own: the window's belongs to the main loop's event reading.
  m_display = XOpenDisplay(nullptr);
  if (m_display == nullptr) {
    return false;
  }
  m_parent = static_cast<unsigned long>(reinterpret_cast<uintptr_t>(parent));
  const unsigned long black = BlackPixel(Dpy(m_display), DefaultScreen(Dpy(m_display)));
  for (uint32_t i = 0; i < count; ++i) {
    m_tiles.push_back(XCreateSimpleWindow(Dpy(m_display), m_parent, 0, 0, 16, 16, 0, black, black));
    XMapWindow(Dpy(m_display), m_tiles.back());
  }
  Layout();
  return true;
}

void ToolTiles::Layout() {
  XWindowAttributes attributes;
  if (m_display == nullptr || XGetWindowAttributes(Dpy(m_display), m_parent, &attributes) == 0) {
    return;
  }
  uint32_t columns = 1;
  uint32_t rows = 1;
  Grid(static_cast<uint32_t>(m_tiles.size()), &columns, &rows);
  const unsigned int width = static_cast<unsigned int>(attributes.width) / columns;
  const unsigned int height = static_cast<unsigned int>(attributes.height) / rows;
  for (size_t i = 0; i < m_tiles.size(); ++i) {
    const int x = static_cast<int>((i % columns) * width);
    const int y = static_cast<int>((i / columns) * height);
    XMoveResizeWindow(Dpy(m_display), m_tiles[i], x, y, width > kGap ? width - kGap : 1,
                      height > kGap ? height - kGap : 1);
  }
  XSync(Dpy(m_display), False);
}

void* ToolTiles::Tile(uint32_t index) const {
  return index < m_tiles.size() ? reinterpret_cast<void*>(static_cast<uintptr_t>(m_tiles[index])) : nullptr;
}
