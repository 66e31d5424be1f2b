// zephplay: the command-line front end of libzephplay, a client of the public C API only.
//   zephplay COMMAND [ARGS...]    runs a subcommand (see Usage)
//   zephplay                      prints the version and the loaded configuration
#include <cstdio>
#include <cstring>

extern "C" {
#include <libavutil/log.h>
}

#include "Commands.h"

namespace {

struct Command {
  const char* name;
  int (*run)(int argc, char** argv);
  const char* usage;
};

constexpr Command kCommands[] = {
    {"play", RunPlay, "play FILE [OPTIONS]  plays a recording (play --help for the options and keys)"},
    {"info", RunInfo, "info [FILE [--json]] the version and the configuration loaded, or what FILE holds"},
    {"convert", RunConvert, "convert IN OUT       copies a recording into MP4 (OUT ending .mp4) or GREC, damage left out"},
    {"talk", RunTalk, "talk --codec NAME    capture, encode and write talk-back (--help for more)"},
    {"afp", RunAfp, "afp FILE.aac         plays an AAC (ADTS) file with a progress bar"},
    {"send", RunSend, "send FILE --port N   serves a tagged stream file on 127.0.0.1 as a recorder would (--help)"},
    {"live", RunLive, "live SOURCE          plays a live stream: tcp://HOST:PORT, a file or - (--help)"},
    {"wall", RunWall, "wall SOURCE...       plays up to 15 live sources in step, tiled in one window (--help)"},
};

int Usage() {
  std::fprintf(stderr, "usage: zephplay [--version | COMMAND [ARGS...]]\ncommands:\n");
  for (const Command& c : kCommands) {
    std::fprintf(stderr, "  %s\n", c.usage);
  }
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  // libav's warnings and notes (the library's recordings and decoders log through it) stay out
  // of the tool's output; its errors still show.
  av_log_set_level(AV_LOG_ERROR);
  if (argc < 2 || std::strcmp(argv[1], "--version") == 0) {
    return RunInfo(argc - 1, argv + 1);
  }
  for (const Command& c : kCommands) {
    if (std::strcmp(argv[1], c.name) == 0) {
      return c.run(argc - 2, argv + 2);
    }
  }
  if (std::strcmp(argv[1], "--help") != 0) {
    std::fprintf(stderr, "zephplay: unknown command '%s'\n", argv[1]);
  }
  return Usage();
}

int Fail(const char* what, const std::string& why) {
  std::fprintf(stderr, "zephplay: %s: %s\n", what, why.c_str());
  return 1;
}
