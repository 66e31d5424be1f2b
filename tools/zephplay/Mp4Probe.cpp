#include "Mp4Probe.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

namespace {

// The names `info` uses for a recording's codecs.
std::string VideoCodecName(AVCodecID id) {
  if (id == AV_CODEC_ID_H264) {
    return "h264";
  }
  return id == AV_CODEC_ID_HEVC ? "h265" : avcodec_get_name(id);
}

// The container keeps creation time in UTC; a recording's start date is local time.
std::string LocalStart(const AVFormatContext* format) {
  const AVDictionaryEntry* entry = av_dict_get(format->metadata, "creation_time", nullptr, 0);
  std::tm t{};
  if (entry == nullptr || std::sscanf(entry->value, "%d-%d-%dT%d:%d:%d", &t.tm_year, &t.tm_mon, &t.tm_mday,
                                      &t.tm_hour, &t.tm_min, &t.tm_sec) != 6) {
    return "";
  }
  t.tm_year -= 1900;
  t.tm_mon -= 1;
  const std::time_t when = timegm(&t);
  char text[32];
  std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", localtime_r(&when, &t));
  return text;
}

uint64_t Microseconds(int64_t pts, AVRational timeBase) {
  return static_cast<uint64_t>(av_rescale_q(pts, timeBase, AVRational{1, 1000000}));
}

void CountPackets(AVFormatContext* format, int video, int audio, Mp4Probe::Result* r) {
  AVPacket* packet = av_packet_alloc();
  int64_t first = AV_NOPTS_VALUE;
  int64_t last = 0;
  int64_t end = 0;
  while (packet != nullptr && av_read_frame(format, packet) >= 0) {
    if (packet->stream_index == audio) {
      ++r->audioFrames;
    } else if (packet->stream_index == video && packet->pts != AV_NOPTS_VALUE) {
      ++r->videoFrames;
      r->keyFrames += (packet->flags & AV_PKT_FLAG_KEY) != 0;
      first = first == AV_NOPTS_VALUE ? packet->pts : std::min(first, packet->pts);
      last = std::max(last, packet->pts);
      end = std::max(end, packet->pts + packet->duration);
    }
    av_packet_unref(packet);
  }
  av_packet_free(&packet);
  if (first != AV_NOPTS_VALUE) {
    r->beginUs = Microseconds(first, format->streams[video]->time_base);
    r->endUs = Microseconds(last, format->streams[video]->time_base);
    r->trackMs = Microseconds(end - first, format->streams[video]->time_base) / 1000;
  }
}

}  // namespace

bool Mp4Probe::Probe(const char* path, Result* r) {
  AVFormatContext* format = nullptr;
  // A file, whatever its name: a colon would otherwise make it a protocol's address.
  const std::string url = std::string("file:") + path;
  if (avformat_open_input(&format, url.c_str(), nullptr, nullptr) < 0) {
    return false;
  }
  // One demuxer reads the whole family; only MP4 itself is asked for here.
  if (std::strstr(format->iformat->name, "mp4") == nullptr) {
    avformat_close_input(&format);
    return false;
  }
  r->start = LocalStart(format);
  const int video = av_find_best_stream(format, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
  const int audio = av_find_best_stream(format, AVMEDIA_TYPE_AUDIO, -1, -1, nullptr, 0);
  if (video >= 0) {
    const AVCodecParameters* par = format->streams[video]->codecpar;
    r->videoCodec = VideoCodecName(par->codec_id);
    r->width = static_cast<uint32_t>(par->width);
    r->height = static_cast<uint32_t>(par->height);
  }
  if (audio >= 0) {
    const AVCodecParameters* par = format->streams[audio]->codecpar;
    r->audioCodec = avcodec_get_name(par->codec_id);
    r->audioRate = static_cast<uint32_t>(par->sample_rate);
  }
  CountPackets(format, video, audio, r);
  avformat_close_input(&format);
  return true;
}
