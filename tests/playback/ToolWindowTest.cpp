// `zephplay play` in its own window on an Xvfb display: paused at a known picture, the window is
// grabbed with xwd and ImageMagick and compared with libavcodec's decode of that picture.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "ImageReference.h"
#include "GrecWriter.h"
#include "SampleEncoder.h"
#include "common/TempDir.h"
#include "support/Deadline.h"

namespace {

using zp::test::Psnr;
using zp::test::ReferenceRgb;

// Starts an Xvfb of its own (on the display number the server picks, so parallel tests never
// clash), runs the tool there until it pauses at 1.5 s, grabs its window (named after the file)
// and ends it with Ctrl-C. Prints the tool's output and its exit code.
constexpr char kScript[] = R"(
Xvfb -displayfd 1 -screen 0 800x600x24 -nolisten tcp > "$3.display" 2> /dev/null & X=$!
trap 'kill $X $P 2> /dev/null' EXIT
trap 'exit 1' TERM
for i in $(seq 150); do [ -s "$3.display" ] && break; sleep 0.1; done
export DISPLAY=:$(cat "$3.display") SDL_AUDIODRIVER=dummy
"$1" play "$2" --mute --pause-at 1.5 > "$3.out" & P=$!
for i in $(seq 300); do grep -q paused "$3.out" && break; sleep 0.1; done
sleep 1  # the tool draws the paused picture again after 0.6 s; the server draws what it was sent
xwd -silent -name "$2" | convert xwd:- -depth 8 "rgb:$3"
kill -INT $P; wait $P; echo "exit=$?"; cat "$3.out"
)";

TEST(ToolWindow, PausedPictureOnScreenIsTheDecodedOne) {
  if (std::system("command -v Xvfb > /dev/null 2>&1") != 0) {
    GTEST_SKIP() << "no Xvfb";
  }
  TempDir dir;
  const auto video = zp::samples::EncodeVideo({.frames = 75});
  const std::string file = (dir.path() / "window.grec").string();
  ASSERT_TRUE(zp::samples::WriteGrecFile(file, zp::samples::MergeFrames(video, {}, zp::samples::kFileAudioTag), {}).ok);
  const auto reference = zp::test::DecodeAllPictures("h264", video);
  ASSERT_EQ(reference.size(), video.size());

  const std::string script = dir.File("grab.sh", kScript);
  const std::string shot = (dir.path() / "shot.rgb").string();
  const std::string run = "timeout 60 sh " + script + " " ZEPHPLAY_PATH " " + file + " " + shot + " > " + shot + ".log";
  EXPECT_EQ(std::system(run.c_str()), 0);
  const std::string out = zp::test::ReadText(shot + ".log");
  const size_t at = out.find("paused at ");
  unsigned ms = 0;
  ASSERT_TRUE(at != std::string::npos && std::sscanf(out.c_str() + at, "paused at %u ms", &ms) == 1) << out;
  EXPECT_NE(out.find("exit=0"), std::string::npos) << "the tool ends on Ctrl-C: " << out;

  const std::vector<uint8_t> screen = zp::test::ReadBytes(shot);
  size_t shown = 0;
  while (shown < reference.size() && reference[shown].pts != static_cast<int64_t>(ms) * 1000) {
    ++shown;
  }
  ASSERT_LT(shown, reference.size()) << "no picture at " << ms << " ms";
  ASSERT_GE(shown, 10u);
  const double psnr = Psnr(ReferenceRgb(reference[shown]), screen);
  EXPECT_GE(psnr, 40.0) << "picture " << shown << " (" << ms << " ms)";
  EXPECT_LT(Psnr(ReferenceRgb(reference[shown - 10]), screen), psnr - 3.0) << "another picture matches as well";
}

}  // namespace
