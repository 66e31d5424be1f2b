#include <gtest/gtest.h>

#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <ctime>
#include <string>
#include <vector>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include "AvReference.h"
#include "SampleEncoder.h"
#include "StreamWriter.h"
#include "common/ByteOrder.h"
#include "common/TempDir.h"
#include "media/CRecWriterMp4.h"
#include "media/FrameFormat.h"
#include "media/GrecFormat.h"
#include "player/CRecAudioTranscoder.h"

using namespace zp;
using samples::EncodedFrame;
using samples::VideoCodec;
using test::Picture;

namespace {

constexpr uint64_t kBase = 5000000000ull;  // recorders' stamps do not start at 0

struct Mp4Read {
  AVCodecID codec = AV_CODEC_ID_NONE;
  int width = 0, height = 0;
  int packets = 0;
  int64_t durationUs = 0;
  std::string creationTime;
  std::vector<Picture> pictures;
  AVCodecID soundCodec = AV_CODEC_ID_NONE;
  int sampleRate = 0;
  std::vector<int16_t> sound;  // mono
};

// What libavformat reads from the file, every packet decoded by libavcodec.
Mp4Read ReadMp4(const std::string& path) {
  Mp4Read r;
  AVFormatContext* fmt = nullptr;
  if (avformat_open_input(&fmt, path.c_str(), nullptr, nullptr) < 0) {
    return r;
  }
  if (const AVDictionaryEntry* e = av_dict_get(fmt->metadata, "creation_time", nullptr, 0)) {
    r.creationTime = e->value;
  }
  std::vector<AVCodecContext*> ctx(fmt->nb_streams);
  for (unsigned i = 0; i < fmt->nb_streams; ++i) {
    const AVCodecParameters* par = fmt->streams[i]->codecpar;
    (par->codec_type == AVMEDIA_TYPE_VIDEO ? r.codec : r.soundCodec) = par->codec_id;
    r.width = par->width ? par->width : r.width;
    r.height = par->height ? par->height : r.height;
    r.sampleRate = par->sample_rate ? par->sample_rate : r.sampleRate;
    ctx[i] = avcodec_alloc_context3(avcodec_find_decoder(par->codec_id));
    avcodec_parameters_to_context(ctx[i], par);
    avcodec_open2(ctx[i], nullptr, nullptr);
  }
  AVPacket* pkt = av_packet_alloc();
  AVFrame* frame = av_frame_alloc();
  auto drain = [&](AVCodecContext* c) {
    while (avcodec_receive_frame(c, frame) == 0) {
      if (c->codec_type == AVMEDIA_TYPE_VIDEO) {
        r.pictures.push_back(test::PackPicture(frame->data[0], frame->data[1], frame->data[2], frame->linesize[0],
                                               frame->linesize[1], frame->width, frame->height));
        continue;
      }
      const auto* s = reinterpret_cast<const float*>(frame->data[0]);  // AAC decodes to planar float
      for (int k = 0; k < frame->nb_samples; ++k) {
        r.sound.push_back(static_cast<int16_t>(std::lrint(std::clamp(s[k] * 32768.0f, -32768.0f, 32767.0f))));
      }
    }
  };
  int64_t first = AV_NOPTS_VALUE, end = 0;
  while (av_read_frame(fmt, pkt) >= 0) {
    AVStream* st = fmt->streams[pkt->stream_index];
    if (st->codecpar->codec_type == AVMEDIA_TYPE_VIDEO) {
      ++r.packets;
      first = first == AV_NOPTS_VALUE ? pkt->pts : first;
      end = pkt->pts + pkt->duration;
      r.durationUs = av_rescale_q(end - first, st->time_base, AVRational{1, 1000000});
    }
    avcodec_send_packet(ctx[pkt->stream_index], pkt);
    drain(ctx[pkt->stream_index]);
    av_packet_unref(pkt);
  }
  for (AVCodecContext*& c : ctx) {
    avcodec_send_packet(c, nullptr);
    drain(c);
    avcodec_free_context(&c);
  }
  av_frame_free(&frame);
  av_packet_free(&pkt);
  avformat_close_input(&fmt);
  return r;
}

std::vector<EncodedFrame> Encode(VideoCodec codec, int width, int height, int frames, int gop) {
  samples::VideoParams p;
  p.codec = codec;
  p.width = width;
  p.height = height;
  p.frames = frames;
  p.gop = gop;
  return samples::EncodeVideo(p);
}

int Write(CRecWriter* w, const EncodedFrame& f, uint64_t offsetUs = 0) {
  return w->WriteFrame(f.data.data(), static_cast<uint32_t>(f.data.size()), f.key ? FRAME_TAG_I : FRAME_TAG_P,
                       kBase + offsetUs + f.stampUs, nullptr, nullptr);
}

const char* DecoderName(VideoCodec c) { return c == VideoCodec::H264 ? "h264" : "hevc"; }

// Video is stored as received from the first key frame on: the frames before it are left out,
// sound does not disturb it, and what libavformat reads decodes to the source's pictures.
TEST(Mp4Writer, StoresVideoFromFirstKeyFrameAsReceived) {
  struct Case {
    VideoCodec codec;
    AVCodecID id;
    int width, height;
  } cases[] = {{VideoCodec::H264, AV_CODEC_ID_H264, 352, 288}, {VideoCodec::H265, AV_CODEC_ID_HEVC, 320, 240}};
  TempDir dir;
  for (const Case& c : cases) {
    const std::vector<EncodedFrame> frames = Encode(c.codec, c.width, c.height, 40, 10);
    ASSERT_EQ(frames.size(), 40u);
    const std::string path = (dir.path() / "clip.mp4").string();
    CRecWriterMp4 w;
    ASSERT_EQ(w.OpenWriter(path.c_str(), CRecWriter::kNarrowPath), 0);
    const uint8_t sound[160] = {};
    for (size_t i = 3; i < frames.size(); ++i) {  // 3 to 9 come before the first key frame
      EXPECT_EQ(Write(&w, frames[i]), 0) << i;
      EXPECT_EQ(w.WriteFrame(sound, sizeof sound, FRAME_TAG_WAVE, kBase + frames[i].stampUs, nullptr, nullptr), 0);
    }
    EXPECT_EQ(w.CloseWriter(), 0);
    const Mp4Read r = ReadMp4(path);
    EXPECT_EQ(r.codec, c.id);
    EXPECT_EQ(r.width, c.width);
    EXPECT_EQ(r.height, c.height);
    EXPECT_EQ(r.packets, 30);
    EXPECT_NEAR(r.durationUs, 30 * 40000, 40000);
    const std::vector<Picture> expected = test::DecodeAllPictures(DecoderName(c.codec), frames, 10);
    ASSERT_EQ(expected.size(), 30u);
    EXPECT_TRUE(r.pictures == expected);
  }
}

// A key frame whose parameter sets change the codec or the size is refused, and so is the
// video after it; what came before stays readable.
TEST(Mp4Writer, RefusesVideoThatChangesCodecOrSize) {
  struct Case {
    VideoCodec codec;
    int width, height;
  } cases[] = {{VideoCodec::H264, 176, 144}, {VideoCodec::H265, 352, 288}};
  const std::vector<EncodedFrame> first = Encode(VideoCodec::H264, 352, 288, 20, 10);
  TempDir dir;
  for (const Case& c : cases) {
    const std::vector<EncodedFrame> second = Encode(c.codec, c.width, c.height, 10, 10);
    const std::string path = (dir.path() / "change.mp4").string();
    CRecWriterMp4 w;
    ASSERT_EQ(w.OpenWriter(path.c_str(), CRecWriter::kNarrowPath), 0);
    for (const EncodedFrame& f : first) {
      EXPECT_EQ(Write(&w, f), 0);
    }
    for (const EncodedFrame& f : second) {
      EXPECT_EQ(Write(&w, f, 800000), -1);
    }
    EXPECT_EQ(Write(&w, first[0], 1200000), -1);
    w.CloseWriter();
    const Mp4Read r = ReadMp4(path);
    EXPECT_EQ(r.codec, AV_CODEC_ID_H264);
    EXPECT_EQ(r.width, 352);
    EXPECT_EQ(r.packets, 20);
  }
}

// Sound from the source's coder type comes back as mono AAC at the source's AAC rate (8000 Hz
// otherwise), close to the source sound; the encoder's priming delay is found, not assumed.
TEST(Mp4Writer, ReencodesSoundToAac) {
  struct Case {
    samples::AudioCodec codec;
    int rate;
    int frames;
    double minSnrDb;
  } cases[] = {{samples::AudioCodec::G711A, 8000, 75, 22.0}, {samples::AudioCodec::AacAdts, 16000, 24, 17.0}};
  CRecAudioTranscoder::Register();
  const std::vector<EncodedFrame> video = Encode(VideoCodec::H264, 176, 144, 38, 50);
  TempDir dir;
  for (const Case& c : cases) {
    samples::AudioParams a;
    a.codec = c.codec;
    a.sampleRate = c.rate;
    a.frames = c.frames;
    const std::vector<samples::TaggedFrame> frames = samples::MergeFrames(video, samples::EncodeAudio(a), FRAME_TAG_WAVE);
    uint8_t head[grec::kHeadLength] = {};
    WriteU32(head + grec::kOffStreamKind, samples::CoderTypeOf(a));
    const std::string path = (dir.path() / "sound.mp4").string();
    CRecWriterMp4 w;
    ASSERT_EQ(w.OpenWriter(path.c_str(), CRecWriter::kNarrowPath), 0);
    ASSERT_EQ(w.SetFileHead(head, sizeof head), 0);
    for (const samples::TaggedFrame& f : frames) {
      EXPECT_EQ(w.WriteFrame(f.data.data(), static_cast<uint32_t>(f.data.size()), f.tag, kBase + f.stampUs, nullptr,
                             nullptr), 0);
    }
    w.CloseWriter();
    const Mp4Read r = ReadMp4(path);
    EXPECT_EQ(r.soundCodec, AV_CODEC_ID_AAC);
    EXPECT_EQ(r.sampleRate, c.rate);
    EXPECT_EQ(r.packets, 38);
    std::vector<int16_t> source;
    samples::MakeSound(0, c.rate, c.rate, 1, &source);
    const size_t n = static_cast<size_t>(c.rate) / 2;
    ASSERT_GE(r.sound.size(), n + 2048);
    double best = -100;
    for (size_t lag = 0; lag <= 2048; ++lag) {
      best = std::max(best, test::SnrDb(source.data(), r.sound.data() + lag, n));
    }
    EXPECT_GT(best, c.minSnrDb) << c.rate;
  }
}

std::string ExpectedUtc(int year, int month, int day, int hour, int minute, int second) {
  std::tm t{};
  t.tm_year = year - 1900;
  t.tm_mon = month - 1;
  t.tm_mday = day;
  t.tm_hour = hour;
  t.tm_min = minute;
  t.tm_sec = second;
  t.tm_isdst = -1;
  const std::time_t when = std::mktime(&t);
  std::tm utc{};
  gmtime_r(&when, &utc);
  char text[40];
  std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S.000000Z", &utc);
  return text;
}

// The creation time comes from SetFileBeginTime when in use, else from the head's start time.
TEST(Mp4Writer, CreationTimeFromBeginTimeOrHead) {
  const std::vector<EncodedFrame> frames = Encode(VideoCodec::H264, 176, 144, 5, 5);
  uint8_t head[grec::kHeadLength] = {};
  const uint8_t start[6] = {24, 2, 29, 23, 59, 58};
  std::copy(start, start + 6, head + grec::kOffStartTime);
  struct Case {
    uint32_t use;
    std::string expected;
  } cases[] = {{1, ExpectedUtc(2025, 7, 4, 1, 2, 3)}, {0, ExpectedUtc(2024, 2, 29, 23, 59, 58)}};
  TempDir dir;
  for (const Case& c : cases) {
    const std::string path = (dir.path() / "time.mp4").string();
    CRecWriterMp4 w;
    ASSERT_EQ(w.OpenWriter(path.c_str(), CRecWriter::kNarrowPath), 0);
    EXPECT_EQ(w.SetFileBeginTime(c.use, 2025, 7, 4, 3600 + 120 + 3), 0);
    EXPECT_EQ(w.SetFileHead(head, sizeof head), 0);
    for (const EncodedFrame& f : frames) {
      EXPECT_EQ(Write(&w, f), 0);
    }
    EXPECT_EQ(w.SetFileHead(head, sizeof head), -1);  // the MP4 head is written by now
    w.CloseWriter();
    EXPECT_EQ(ReadMp4(path).creationTime, c.expected) << c.use;
  }
}

// A writer killed mid-recording leaves every fragment closed before the kill readable: a
// fragment closes when the next key frame arrives.
TEST(Mp4Writer, KilledRecordingReadsToLastClosedFragment) {
  const std::vector<EncodedFrame> frames = Encode(VideoCodec::H264, 352, 288, 60, 10);
  ASSERT_EQ(frames.size(), 60u);
  TempDir dir;
  const std::string path = (dir.path() / "killed.mp4").string();
  int ready[2];
  ASSERT_EQ(pipe(ready), 0);
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    CRecWriterMp4 w;
    int ok = w.OpenWriter(path.c_str(), CRecWriter::kNarrowPath) == 0;
    for (size_t i = 0; i <= 30; ++i) {  // key frames 0, 10, 20, 30: three fragments closed
      ok = ok && Write(&w, frames[i]) == 0;
    }
    const char byte = ok ? 'y' : 'n';
    (void)!write(ready[1], &byte, 1);
    pause();
    _exit(0);
  }
  pollfd pfd{ready[0], POLLIN, 0};
  char byte = 0;
  const bool signalled = poll(&pfd, 1, 60000) == 1 && read(ready[0], &byte, 1) == 1;
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
  close(ready[0]);
  close(ready[1]);
  ASSERT_TRUE(signalled);
  ASSERT_EQ(byte, 'y');
  const Mp4Read r = ReadMp4(path);
  EXPECT_EQ(r.codec, AV_CODEC_ID_H264);
  EXPECT_EQ(r.packets, 30);
  const std::vector<EncodedFrame> closed(frames.begin(), frames.begin() + 30);
  EXPECT_TRUE(r.pictures == test::DecodeAllPictures("h264", closed));
}

}  // namespace
