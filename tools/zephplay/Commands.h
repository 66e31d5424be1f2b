#pragma once
// The subcommands of the zephplay tool. Each takes the arguments after its own name and returns
// the process exit code: 0 done, 1 failed (a one-line reason was printed), 2 bad usage.
#include <string>

int RunPlay(int argc, char** argv);
int RunInfo(int argc, char** argv);
int RunTalk(int argc, char** argv);
int RunAfp(int argc, char** argv);
int RunSend(int argc, char** argv);
int RunLive(int argc, char** argv);
int RunWall(int argc, char** argv);
int RunConvert(int argc, char** argv);

// Prints "zephplay: WHAT: WHY" on stderr; returns the failure exit code, 1.
int Fail(const char* what, const std::string& why);
