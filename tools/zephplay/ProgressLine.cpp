#include "ProgressLine.h"

#include <unistd.h>

#include <cstdarg>
#include <cstdio>

ProgressLine::ProgressLine() : m_terminal(isatty(STDERR_FILENO) != 0) {}

void ProgressLine::Print(bool last, const char* format, ...) {
  if (!m_terminal) {
    return;
  }
  std::fprintf(stderr, "\r\033[K");
  va_list args;
  va_start(args, format);
  std::vfprintf(stderr, format, args);
  va_end(args);
  m_shown = !last;
  if (last) {
    std::fprintf(stderr, "\n");
  }
}

void ProgressLine::Clear() {
  if (m_shown) {
    std::fprintf(stderr, "\r\033[K");
    m_shown = false;
  }
}
