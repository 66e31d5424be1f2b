// zephplay: the command-line front end of libzephplay, a client of the public C API only.
//   zephplay COMMAND [ARGS...]    runs a subcommand (see Usage)
//   zephplay                      prints the version and the loaded configuration
#include <cstdio>
#include <cstring>

#include "Commands.h"

namespace {

struct Command {
  const char* name;
  int (*run)(int argc, char** argv);
  const char* usage;
};

constexpr Command kCommands[] = {
    {"info", RunInfo, "info                 the version and the configuration loaded"},
    {"talk", RunTalk, "talk --codec NAME    capture, encode and write talk-back (--help for more)"},
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
