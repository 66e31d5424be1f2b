#include "ToolWindow.h"

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <poll.h>

#include <cstdio>
#include <cstdlib>

namespace {

constexpr int kMapWaitMs = 2000;  // a window manager may take a while to map a new window

Display* Dpy(void* display) { return static_cast<Display*>(display); }

// Waits up to `timeoutMs` for the connection to have an event to read; true when one is there.
bool WaitReadable(Display* display, int timeoutMs) {
  if (XPending(display) > 0) {
    return true;
  }
  pollfd fd{ConnectionNumber(display), POLLIN, 0};
  return poll(&fd, 1, timeoutMs) > 0 && XPending(display) > 0;
}

}  // namespace

ToolWindow::~ToolWindow() {
  if (m_display == nullptr) {
    return;
  }
  if (m_window != 0) {
    XDestroyWindow(Dpy(m_display), m_window);
  }
  XCloseDisplay(Dpy(m_display));
}

bool ToolWindow::Open(const char* title, uint32_t width, uint32_t height, std::string* why) {
  m_display = XOpenDisplay(nullptr);
  if (m_display == nullptr) {
    *why = "cannot open the display";
    return false;
  }
  Display* d = Dpy(m_display);
  m_width = width != 0 ? static_cast<int>(width) : 640;
  m_height = height != 0 ? static_cast<int>(height) : 360;
  // No background: the server leaves the last picture up when the window is uncovered or
  // resized, until the player draws again, instead of clearing it to a flash of black.
  XSetWindowAttributes attributes{};
  attributes.background_pixmap = None;
  attributes.event_mask = KeyPressMask | StructureNotifyMask;
  m_window = XCreateWindow(d, DefaultRootWindow(d), 0, 0, static_cast<unsigned>(m_width),
                           static_cast<unsigned>(m_height), 0, CopyFromParent, InputOutput, CopyFromParent,
                           CWBackPixmap | CWEventMask, &attributes);
  XStoreName(d, m_window, title);
  Atom deleteAtom = XInternAtom(d, "WM_DELETE_WINDOW", False);
  m_deleteAtom = deleteAtom;
  XSetWMProtocols(d, m_window, &deleteAtom, 1);
  XMapWindow(d, m_window);
  // Drawing before the window is on screen would be lost until the next picture.
  XEvent event;
  for (int waited = 0; waited < kMapWaitMs; waited += 10) {
    if (XCheckTypedWindowEvent(d, m_window, MapNotify, &event)) {
      return true;
    }
    WaitReadable(d, 10);
  }
  *why = "the window was never mapped";
  return false;
}

void* ToolWindow::Native() const { return reinterpret_cast<void*>(static_cast<uintptr_t>(m_window)); }

ToolWindow::Event ToolWindow::Next(uint32_t timeoutMs) {
  Display* d = Dpy(m_display);
  // Events of no interest (mapping, moves) are passed over without waiting again.
  for (int wait = static_cast<int>(timeoutMs); WaitReadable(d, wait); wait = 0) {
    XEvent event;
    XNextEvent(d, &event);
    if (const Event out = Translate(&event); out.kind != Event::kNone) {
      return out;
    }
  }
  return {};
}

ToolWindow::Event ToolWindow::Translate(void* xevent) {
  auto* event = static_cast<XEvent*>(xevent);
  Event out;
  switch (event->type) {
    case KeyPress:
      out.kind = Event::kKey;
      out.keysym = XLookupKeysym(&event->xkey, 0);
      break;
    case ConfigureNotify:
      if (event->xconfigure.width != m_width || event->xconfigure.height != m_height) {
        m_width = event->xconfigure.width;
        m_height = event->xconfigure.height;
        out.kind = Event::kResized;
      }
      break;
    case ClientMessage:
      if (static_cast<unsigned long>(event->xclient.data.l[0]) == m_deleteAtom) {
        out.kind = Event::kClosed;
      }
      break;
    default:
      break;
  }
  return out;
}

void* OpenToolWindow(ToolWindow* window, bool headless, const char* title, uint32_t width, uint32_t height) {
  const char* display = std::getenv("DISPLAY");
  if (headless || display == nullptr || display[0] == '\0') {
    return nullptr;
  }
  std::string why;
  if (!window->Open(title, width, height, &why)) {
    std::fprintf(stderr, "zephplay: no window (%s), playing headless\n", why.c_str());
    return nullptr;
  }
  return window->Native();
}
