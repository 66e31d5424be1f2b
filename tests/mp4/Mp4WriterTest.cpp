#include <gtest/gtest.h>

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavcodec/bsf.h>
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
#include "media/StreamAttr.h"
#include "player/CRecAudioTranscoder.h"

using namespace zp;
using samples::EncodedFrame;
using samples::VideoCodec;

namespace {

constexpr uint64_t kBase = 5000000000ull;  // recorders' stamps do not start at 0

struct Mp4Read {
  AVCodecID codec = AV_CODEC_ID_NONE, soundCodec = AV_CODEC_ID_NONE;
  int width = 0, height = 0, sampleRate = 0;
  int64_t durationUs = 0;
  std::string creationTime;
  std::vector<uint8_t> record;  // the video's decoder configuration
  std::vector<test::Picture> pictures;
  std::vector<int16_t> sound;  // mono
  int64_t soundBytes = 0;
  std::vector<int64_t> videoPtsUs;  // from the first packet's
};

// What libavformat reads from the file, every packet decoded by libavcodec.
Mp4Read ReadMp4(const std::string& path) {
  Mp4Read r;
  AVFormatContext* fmt = nullptr;
  if (avformat_open_input(&fmt, ("file:" + path).c_str(), nullptr, nullptr) < 0) {
    return r;
  }
  if (const AVDictionaryEntry* e = av_dict_get(fmt->metadata, "creation_time", nullptr, 0)) {
    r.creationTime = e->value;
  }
  std::vector<AVCodecContext*> ctx(fmt->nb_streams);
  for (unsigned i = 0; i < fmt->nb_streams; ++i) {
    const AVCodecParameters* par = fmt->streams[i]->codecpar;
    (par->codec_type == AVMEDIA_TYPE_VIDEO ? r.codec : r.soundCodec) = par->codec_id;
    if (par->codec_type == AVMEDIA_TYPE_VIDEO) {
      r.record.assign(par->extradata, par->extradata + par->extradata_size);
    }
    r.width = std::max(r.width, par->width), r.height = std::max(r.height, par->height);
    r.sampleRate = std::max(r.sampleRate, par->sample_rate);
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
      }
      const auto* s = reinterpret_cast<const float*>(frame->data[0]);  // AAC decodes to planar float
      for (int k = 0; c->codec_type == AVMEDIA_TYPE_AUDIO && k < frame->nb_samples; ++k) {
        r.sound.push_back(static_cast<int16_t>(std::lrint(std::clamp(s[k] * 32768.0f, -32768.0f, 32767.0f))));
      }
    }
  };
  int64_t first = AV_NOPTS_VALUE;
  while (av_read_frame(fmt, pkt) >= 0) {
    AVStream* st = fmt->streams[pkt->stream_index];
    if (st->codecpar->codec_type == AVMEDIA_TYPE_VIDEO) {
      first = first == AV_NOPTS_VALUE ? pkt->pts : first;
      r.durationUs = av_rescale_q(pkt->pts + pkt->duration - first, st->time_base, AVRational{1, 1000000});
      r.videoPtsUs.push_back(av_rescale_q(pkt->pts - first, st->time_base, AVRational{1, 1000000}));
    }
    r.soundBytes += st->codecpar->codec_type == AVMEDIA_TYPE_AUDIO ? pkt->size : 0;
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

// The decoder configuration libavformat's muxer makes itself from the parameter sets of a key
// frame (which libavcodec's extract_extradata filter takes out of it).
std::vector<uint8_t> LibavformatRecord(AVCodecID id, const EncodedFrame& key, const std::string& path) {
  AVBSFContext* bsf = nullptr;
  av_bsf_alloc(av_bsf_get_by_name("extract_extradata"), &bsf);
  bsf->par_in->codec_id = id;
  av_bsf_init(bsf);
  AVPacket* pkt = av_packet_alloc();
  av_new_packet(pkt, static_cast<int>(key.data.size()));
  std::copy(key.data.begin(), key.data.end(), pkt->data);
  av_bsf_send_packet(bsf, pkt);
  av_bsf_receive_packet(bsf, pkt);
  size_t size = 0;
  const uint8_t* sets = av_packet_get_side_data(pkt, AV_PKT_DATA_NEW_EXTRADATA, &size);
  AVFormatContext* fmt = nullptr;
  avformat_alloc_output_context2(&fmt, nullptr, "mp4", path.c_str());
  AVCodecParameters* par = avformat_new_stream(fmt, nullptr)->codecpar;
  par->codec_type = AVMEDIA_TYPE_VIDEO, par->codec_id = id, par->width = 16, par->height = 16;
  par->extradata = static_cast<uint8_t*>(av_mallocz(size + AV_INPUT_BUFFER_PADDING_SIZE));
  std::copy(sets, sets + size, par->extradata);
  par->extradata_size = static_cast<int>(size);
  AVDictionary* options = nullptr;
  av_dict_set(&options, "movflags", "frag_keyframe+empty_moov", 0);
  avio_open(&fmt->pb, path.c_str(), AVIO_FLAG_WRITE);
  if (avformat_write_header(fmt, &options) >= 0) {
    av_write_trailer(fmt);
  }
  avio_closep(&fmt->pb);
  av_dict_free(&options);
  avformat_free_context(fmt);
  av_packet_free(&pkt);
  av_bsf_free(&bsf);
  return ReadMp4(path).record;
}

int Write(CRecWriter* w, const EncodedFrame& f, uint64_t offsetUs = 0) {
  return w->WriteFrame(f.data.data(), static_cast<uint32_t>(f.data.size()), f.key ? FRAME_TAG_I : FRAME_TAG_P,
                       kBase + offsetUs + f.stampUs, nullptr, nullptr);
}

// Video is stored as received from the first key frame on: the frames before it are left out,
// sound does not disturb it, every frame is stored in the order received and presented at its
// own stamp (B-frames come in decode order, their stamps out of order), what libavformat reads
// decodes to the source's pictures, and the decoder configuration is the one libavformat makes
// itself from the parameter sets (High profile's also names the chroma format and bit depths).
// The creation time is SetFileBeginTime's when in use, else the head's start time. A key frame
// that changes the codec or the size is refused, and so is the video after it.
TEST(Mp4Writer, StoresVideoFromFirstKeyFrameAsReceived) {
  // Local time three hours east of UTC: local time taken for UTC shows, and the begin time's
  // date goes back a day.
  setenv("TZ", "UTC-3", 1);
  tzset();
  const std::string headTime = "2024-02-29T20:59:58.000000Z";
  struct Case {
    samples::VideoParams video;
    AVCodecID id;
    uint32_t useBeginTime;
    std::string creationTime;
    samples::VideoParams changed;  // a key frame of another codec or size
  } cases[] = {{{.frames = 40, .gop = 10}, AV_CODEC_ID_H264, 1, "2025-07-03T22:02:03.000000Z",
                {.codec = VideoCodec::H265, .frames = 1}},
               {{.codec = VideoCodec::H265, .width = 320, .height = 240, .frames = 40, .gop = 10}, AV_CODEC_ID_HEVC, 0,
                headTime, {.codec = VideoCodec::H265, .width = 176, .height = 240, .frames = 1}},
               {{.frames = 40, .gop = 20, .bFrames = true, .preset = "veryfast"}, AV_CODEC_ID_H264, 0, headTime,
                {.width = 176, .frames = 1}}};
  uint8_t head[grec::kHeadLength] = {};
  std::memcpy(head + grec::kOffStartTime, "\x18\x02\x1d\x17\x3b\x3a", 6);  // (20)24-02-29 23:59:58
  TempDir dir;
  std::filesystem::current_path(dir.path());  // a relative name with a colon, as callers give them
  const std::string path = "cam:1.mp4";
  for (const Case& c : cases) {
    const std::vector<EncodedFrame> frames = samples::EncodeVideo(c.video);
    const size_t key = static_cast<size_t>(c.video.gop);  // the first key frame written
    CRecWriterMp4 w;
    ASSERT_EQ(w.OpenWriter(path.c_str(), CRecWriter::kNarrowPath), 0);
    EXPECT_EQ(w.SetFileBeginTime(c.useBeginTime, 2025, 7, 4, 3600 + 120 + 3), 0);
    EXPECT_EQ(w.SetFileHead(head, sizeof head), 0);
    const uint8_t sound[160] = {};
    for (size_t i = 3; i < frames.size(); ++i) {
      EXPECT_EQ(Write(&w, frames[i]), 0) << i;
      EXPECT_EQ(w.WriteFrame(sound, sizeof sound, FRAME_TAG_WAVE, kBase + frames[i].stampUs, nullptr, nullptr), 0);
    }
    EXPECT_EQ(w.SetFileHead(head, sizeof head), -1);  // the MP4 head is written by now
    EXPECT_EQ(Write(&w, samples::EncodeVideo({c.changed})[0], 2000000), -1);
    EXPECT_EQ(Write(&w, frames[key], 2100000), -1);
    EXPECT_EQ(w.CloseWriter(), 0);
    const Mp4Read r = ReadMp4(path);
    EXPECT_EQ(r.codec, c.id);
    EXPECT_EQ(std::pair(r.width, r.height), std::pair(c.video.width, c.video.height));
    std::vector<int64_t> stamps;
    for (size_t i = key; i < frames.size(); ++i) {
      stamps.push_back(static_cast<int64_t>(frames[i].stampUs - frames[key].stampUs));
    }
    EXPECT_EQ(r.videoPtsUs, stamps);
    EXPECT_NEAR(r.durationUs, stamps.size() * 40000, 40000);
    EXPECT_EQ(r.creationTime, c.creationTime);
    EXPECT_EQ(r.record, LibavformatRecord(c.id, frames[key], (dir.path() / "reference.mp4").string()));
    const auto expected = test::DecodeAllPictures(c.id == AV_CODEC_ID_H264 ? "h264" : "hevc", frames, key);
    ASSERT_EQ(expected.size(), frames.size() - key);
    EXPECT_TRUE(r.pictures == expected);
  }
}

// Sound from the source's coder type (named by a file head or by a live stream's attribute)
// comes back as mono AAC at the source's AAC rate (8000 Hz otherwise), at about two bits a
// sample, close to the source sound to its end (at least 28 dB SNR from G.711, 22 dB from AAC,
// which loses twice); the encoder's priming delay is found, not assumed.
TEST(Mp4Writer, ReencodesSoundToAac) {
  struct Case {
    samples::AudioCodec codec;
    int rate, frames;
    double minSnrDb;
    bool fromStreamAttr;
  } cases[] = {{samples::AudioCodec::G711A, 8000, 75, 28.0, true},
               {samples::AudioCodec::AacAdts, 16000, 24, 22.0, false}};
  CRecAudioTranscoder::Register();
  const auto video = samples::EncodeVideo({.width = 176, .height = 144, .frames = 38, .gop = 50});
  TempDir dir;
  for (const Case& c : cases) {
    const samples::AudioParams a{.codec = c.codec, .sampleRate = c.rate, .frames = c.frames};
    const std::vector<samples::TaggedFrame> frames = samples::MergeFrames(video, samples::EncodeAudio(a), FRAME_TAG_WAVE);
    uint8_t head[grec::kHeadLength] = {}, attr[kStreamAttrSize] = {};
    WriteU32(head + grec::kOffStreamKind, samples::CoderTypeOf(a));
    WriteU32(attr, kStreamAttrMagic), WriteU32(attr + kStreamAttrAudioCodec, samples::CoderTypeOf(a));
    const std::string path = (dir.path() / "sound.mp4").string();
    CRecWriterMp4 w;
    ASSERT_EQ(w.OpenWriter(path.c_str(), CRecWriter::kNarrowPath), 0);
    ASSERT_EQ(c.fromStreamAttr ? w.SetStreamAttr(attr, sizeof attr) : w.SetFileHead(head, sizeof head), 0);
    for (const samples::TaggedFrame& f : frames) {
      EXPECT_EQ(w.WriteFrame(f.data.data(), static_cast<uint32_t>(f.data.size()), f.tag, kBase + f.stampUs, nullptr,
                             nullptr), 0);
    }
    w.CloseWriter();
    const Mp4Read r = ReadMp4(path);
    EXPECT_EQ(r.soundCodec, AV_CODEC_ID_AAC);
    EXPECT_EQ(r.sampleRate, c.rate);
    // The whole source, its last partial frame included (an AAC source holds one frame less:
    // its encoder was never drained).
    const bool aacSource = c.codec == samples::AudioCodec::AacAdts;
    std::vector<int16_t> source;
    const size_t n = static_cast<size_t>((c.frames - (aacSource ? 1 : 0)) * samples::SamplesPerEncodedFrame(a));
    samples::MakeSound(0, static_cast<int>(n), c.rate, 1, &source);
    double best = -100;
    for (size_t lag = 0; lag <= 2048 && lag + n <= r.sound.size(); ++lag) {
      best = std::max(best, test::SnrDb(source.data(), r.sound.data() + lag, n));
    }
    EXPECT_GT(best, c.minSnrDb) << c.rate;
    const double bitsPerSample = r.soundBytes * 8.0 / static_cast<double>(r.sound.size());
    EXPECT_NEAR(bitsPerSample, 2.0, 0.3) << c.rate;
  }
}

// A writer killed mid-recording leaves every fragment closed before the kill readable: a
// fragment closes when the next key frame arrives.
TEST(Mp4Writer, KilledRecordingReadsToLastClosedFragment) {
  const std::vector<EncodedFrame> frames = samples::EncodeVideo({.frames = 60, .gop = 10});
  TempDir dir;
  const std::string path = (dir.path() / "killed.mp4").string();
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    CRecWriterMp4 w;
    bool ok = w.OpenWriter(path.c_str(), CRecWriter::kNarrowPath) == 0;
    for (size_t i = 0; i <= 30; ++i) {  // key frames 0, 10, 20, 30: three fragments closed
      ok = ok && Write(&w, frames[i]) == 0;
    }
    _exit(ok ? raise(SIGKILL) : 1);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);
  const Mp4Read r = ReadMp4(path);
  const std::vector<EncodedFrame> closed(frames.begin(), frames.begin() + 30);
  EXPECT_TRUE(r.pictures == test::DecodeAllPictures("h264", closed));
}

}  // namespace
