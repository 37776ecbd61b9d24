// The command line's entry point: standard streams, Ctrl-C, and the call.
#include <csignal>
#include <cstdio>
#include <string_view>

#include <unistd.h>

#include "component/Component.h"
#include "orlinths/CommandLine.h"
#include "orlinths/Interrupt.h"

namespace {

/// Whoever reads the output sees every line at once.
void Put(std::FILE* stream, std::string_view text) {
  std::fwrite(text.data(), 1, text.size(), stream);
  std::fflush(stream);
}

}  // namespace

int main(int argc, char** argv) {
  orlinths::CatchInterrupts();
  std::signal(SIGPIPE, SIG_IGN);  // a reader that goes away does not end a run half-way
  std::signal(SIGXFSZ,
              SIG_IGN);  // nor does a limit on file sizes: the write fails, and is reported
  orlinths::RegisterTools();
  orlinths::Output output;
  output.out = [](std::string_view text) { Put(stdout, text); };
  output.error = [](std::string_view text) { Put(stderr, text); };
  if (isatty(STDERR_FILENO) != 0) output.chatter = output.error;
  return orlinths::RunCommandLine({argv + 1, argv + argc}, output);
}
