// `zephplay play` in its own window on an Xvfb display: paused at a known picture, the window is
// grabbed with xwd and ImageMagick and compared with libavcodec's decode of that picture.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "AvReference.h"
#include "GrecWriter.h"
#include "SampleEncoder.h"
#include "common/TempDir.h"

namespace {

using zp::test::Picture;

// A child process with its stdout on a pipe; killed and reaped at the end.
class Child {
 public:
  explicit Child(std::vector<std::string> args) {
    int fds[2];
    if (pipe(fds) != 0) {
      return;
    }
    m_pid = fork();
    if (m_pid == 0) {
      dup2(fds[1], 1);
      close(fds[0]);
      std::vector<char*> argv;
      for (std::string& a : args) {
        argv.push_back(a.data());
      }
      argv.push_back(nullptr);
      execvp(argv[0], argv.data());
      _exit(127);
    }
    close(fds[1]);
    m_out = fds[0];
  }
  ~Child() {
    Stop(SIGKILL);
    close(m_out);
  }
  // The next whole line of stdout, "" at the deadline or the end.
  std::string ReadLine(int timeoutMs) {
    std::string line;
    pollfd p{m_out, POLLIN, 0};
    char c = 0;
    while (poll(&p, 1, timeoutMs) > 0 && read(m_out, &c, 1) == 1 && c != '\n') {
      line += c;
    }
    return line;
  }
  // Signals it and waits up to 10 s; its exit status, or -1.
  int Stop(int signal) {
    if (m_pid <= 0) {
      return -1;
    }
    kill(m_pid, signal);
    int status = 0;
    for (int i = 0; i < 1000 && waitpid(m_pid, &status, WNOHANG) == 0; ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    if (waitpid(m_pid, &status, WNOHANG) == 0) {
      kill(m_pid, SIGKILL);
      waitpid(m_pid, &status, 0);
      status = -1;
    }
    m_pid = -1;
    return status;
  }

 private:
  pid_t m_pid = -1;
  int m_out = -1;
};

std::vector<uint8_t> Rgb(const Picture& p) {
  std::vector<uint8_t> rgb;
  for (int r = 0; r < p.height; ++r) {
    for (int c = 0; c < p.width; ++c) {
      const double y = 1.164383 * (p.y[r * p.width + c] - 16);
      const double u = p.u[(r / 2) * (p.width / 2) + c / 2] - 128.0;
      const double v = p.v[(r / 2) * (p.width / 2) + c / 2] - 128.0;
      for (const double x : {y + 1.596027 * v, y - 0.391762 * u - 0.812968 * v, y + 2.017232 * u}) {
        rgb.push_back(static_cast<uint8_t>(std::lround(std::min(255.0, std::max(0.0, x)))));
      }
    }
  }
  return rgb;
}

double Psnr(const std::vector<uint8_t>& a, const std::vector<uint8_t>& b) {
  double sum = 0;
  for (size_t i = 0; i < a.size() && a.size() == b.size(); ++i) {
    sum += (a[i] - b[i]) * (a[i] - b[i]);
  }
  return a.size() != b.size() ? 0.0 : 10.0 * std::log10(255.0 * 255.0 * static_cast<double>(a.size()) / (sum + 1));
}

TEST(ToolWindow, PausedPictureOnScreenIsTheDecodedOne) {
  if (std::system("command -v Xvfb > /dev/null 2>&1") != 0) {
    GTEST_SKIP() << "no Xvfb";
  }
  TempDir dir;
  zp::samples::VideoParams params;
  params.frames = 75;
  const auto video = zp::samples::EncodeVideo(params);
  const std::string file = (dir.path() / "window.grec").string();
  ASSERT_TRUE(zp::samples::WriteGrecFile(file, zp::samples::MergeFrames(video, {}, zp::samples::kFileAudioTag), {}).ok);
  const auto reference = zp::test::DecodeAllPictures("h264", video);
  ASSERT_EQ(reference.size(), video.size());

  Child xvfb({"Xvfb", "-displayfd", "1", "-screen", "0", "800x600x24", "-nolisten", "tcp"});
  const std::string display = ":" + xvfb.ReadLine(15000);
  ASSERT_NE(display, ":") << "Xvfb did not start";
  setenv("DISPLAY", display.c_str(), 1);
  setenv("SDL_AUDIODRIVER", "dummy", 1);
  Child tool({ZEPHPLAY_PATH, "play", file, "--mute", "--pause-at", "1.5"});
  const std::string paused = tool.ReadLine(30000);
  unsigned ms = 0;
  ASSERT_EQ(std::sscanf(paused.c_str(), "paused at %u ms", &ms), 1) << paused;
  std::this_thread::sleep_for(std::chrono::milliseconds(300));  // the server draws what it was sent
  const std::string shot = (dir.path() / "shot.rgb").string();
  const std::string grab = "xwd -silent -display " + display + " -name '" + file + "' | convert xwd:- -depth 8 rgb:" + shot;
  ASSERT_EQ(std::system(grab.c_str()), 0);
  EXPECT_EQ(tool.Stop(SIGINT), 0) << "the tool ends on Ctrl-C";

  std::ifstream in(shot, std::ios::binary);
  const std::vector<uint8_t> screen{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  size_t shown = 0;
  while (shown < reference.size() && reference[shown].pts != static_cast<int64_t>(ms) * 1000) {
    ++shown;
  }
  ASSERT_LT(shown, reference.size()) << "no picture at " << ms << " ms";
  ASSERT_GE(shown, 10u);
  const double psnr = Psnr(Rgb(reference[shown]), screen);
  EXPECT_GE(psnr, 30.0) << "picture " << shown << " (" << ms << " ms)";
  EXPECT_LT(Psnr(Rgb(reference[shown - 10]), screen), psnr - 3.0) << "another picture matches as well";
}

}  // namespace
