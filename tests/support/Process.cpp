#include "support/Process.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <stdexcept>

#include <fcntl.h>
#include <grp.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace orlinths {
namespace {

constexpr int kNotRun = 126;
constexpr double kForEver = std::numeric_limits<double>::infinity();
constexpr uid_t kNobody = 65534;

/// False when the process could not be put under these circumstances.
bool Enter(const Circumstances& circumstances) {
  // A test that itself runs in the background has them ignored, and so would its children.
  std::signal(SIGINT, SIG_DFL);
  if (circumstances.mostFileBytes) {
    const rlimit limit{*circumstances.mostFileBytes, *circumstances.mostFileBytes};
    if (::setrlimit(RLIMIT_FSIZE, &limit) != 0) return false;
  }
  if (!circumstances.isUnprivileged || ::geteuid() != 0) return true;
  return ::setgroups(0, nullptr) == 0 && ::setgid(kNobody) == 0 && ::setuid(kNobody) == 0;
}

/// Waits for more output, `seconds` at most. False when they are over.
bool WaitForOutput(std::array<pollfd, 2>& ends, double seconds) {
  timespec timeout{};
  const double left = std::max(0.0, seconds);
  if (left < kForEver) {
    timeout.tv_sec = static_cast<time_t>(left);
    timeout.tv_nsec = static_cast<long>((left - std::floor(left)) * 1e9);
  }
  return ::ppoll(ends.data(), ends.size(), left < kForEver ? &timeout : nullptr, nullptr) != 0;
}

}  // namespace

Ended RunRoutine(const std::function<int()>& routine, const Circumstances& circumstances) {
  using Clock = std::chrono::steady_clock;
  std::array<int, 2> out{}, error{};
  if (::pipe2(out.data(), O_CLOEXEC) != 0 || ::pipe2(error.data(), O_CLOEXEC) != 0)
    throw std::runtime_error("no pipe");
  std::fflush(nullptr);
  const auto begin = Clock::now();
  const pid_t process = ::fork();
  if (process < 0) throw std::runtime_error("no process");
  if (process == 0) {
    ::dup2(out[1], STDOUT_FILENO);
    ::dup2(error[1], STDERR_FILENO);
    for (const int end : {out[0], out[1], error[0], error[1]}) ::close(end);
    ::_exit(Enter(circumstances) ? routine() : kNotRun);
  }
  ::close(out[1]);
  ::close(error[1]);
  Ended ended;
  std::array<pollfd, 2> ends = {{{out[0], POLLIN, 0}, {error[0], POLLIN, 0}}};
  std::array<std::string*, 2> texts = {&ended.out, &ended.error};
  int interrupts = circumstances.interrupts;
  double deadline = circumstances.killedAfter.value_or(kForEver);
  for (int open = 2; open > 0;) {
    const std::chrono::duration<double> passed = Clock::now() - begin;
    if (!WaitForOutput(ends, deadline - passed.count())) {
      ::kill(process, SIGKILL);
      deadline = kForEver;
    }
    for (std::size_t i = 0; i < ends.size(); ++i) {
      if (ends[i].fd < 0 || ends[i].revents == 0) continue;
      std::array<char, 4096> buffer;
      const auto count = ::read(ends[i].fd, buffer.data(), buffer.size());
      if (count <= 0) {
        ::close(ends[i].fd);
        ends[i].fd = -1;
        --open;
      } else {
        texts[i]->append(buffer.data(), static_cast<std::size_t>(count));
      }
    }
    if (ended.out.find(circumstances.sign) != std::string::npos)
      for (; interrupts > 0; --interrupts) ::kill(process, SIGINT);
  }
  int status = 0;
  while (::waitpid(process, &status, 0) < 0 && errno == EINTR) {
  }
  ended.status = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  return ended;
}

Ended RunProgram(const std::vector<std::string>& arguments, const std::string& folder,
                 const Circumstances& circumstances) {
  // Opened while we still may: the build folder need not be open to everyone.
  const int program = ::open(ORLINTHS_PROGRAM, O_RDONLY | O_CLOEXEC);
  if (program < 0) throw std::runtime_error("no program " ORLINTHS_PROGRAM);
  const Ended ended = RunRoutine(
      [&] {
        std::string name = "orlinths";
        std::vector<char*> words = {name.data()};
        std::vector<std::string> copies = arguments;
        for (std::string& copy : copies) words.push_back(copy.data());
        words.push_back(nullptr);
        if (::chdir(folder.c_str()) != 0) return kNotRun;
        ::fexecve(program, words.data(), environ);
        return kNotRun;
      },
      circumstances);
  ::close(program);
  return ended;
}

}  // namespace orlinths
