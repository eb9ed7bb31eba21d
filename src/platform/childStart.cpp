#include "platform/childStart.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>

// As in <linux/close_range.h>, which collides with <unistd.h> of some C libraries.
#ifndef CLOSE_RANGE_CLOEXEC
#define CLOSE_RANGE_CLOEXEC (1U << 2)
#endif

namespace tessarin {

namespace {

constexpr int firstOther = 3;  // the first descriptor behind the standard ones

// The parent reads a failure, not this status; shells use it for the same.
constexpr int notStartedStatus = 127;

[[noreturn]] void fail(const ChildStart& start, StartFailure::Step step) {
  const StartFailure failure{step, errno};
  if (::write(start.report, &failure, sizeof failure) < 0) {
    // The parent is gone, and nobody is left to be told.
  }
  ::_exit(notStartedStatus);
}

void resetSignals() {
  struct sigaction action {};
  action.sa_handler = SIG_DFL;
  for (int signal = 1; signal < NSIG; ++signal)
    ::sigaction(signal, &action, nullptr);  // refused for SIGKILL and SIGSTOP: they need none
  sigset_t none;
  sigemptyset(&none);
  ::sigprocmask(SIG_SETMASK, &none, nullptr);
}

// Puts the three streams onto 0, 1 and 2.
bool placeStreams(std::array<int, 3> standard) {
  // Away from 0, 1 and 2 first: one stream's place may be where another still lies.
  for (int& descriptor : standard)
    if (descriptor < firstOther)
      if ((descriptor = ::fcntl(descriptor, F_DUPFD_CLOEXEC, firstOther)) < 0)
        return false;
  for (int place = 0; place < firstOther; ++place)
    if (::dup2(standard[static_cast<std::size_t>(place)], place) < 0)
      return false;
  return true;
}

// Every descriptor of ours is close-on-exec already; those that a library or the program that
// started us left open are not.
void closeOthersOnExec() {
  if (::close_range(firstOther, ~0U, CLOSE_RANGE_CLOEXEC) == 0)
    return;
  // An old kernel. The limit may be none at all, or so high that asking for every number below it
  // would hold up each start; no program has that many open.
  constexpr rlim_t mostAsked = 65536;
  rlimit limit{};
  if (::getrlimit(RLIMIT_NOFILE, &limit) != 0)
    limit.rlim_cur = mostAsked;
  const int end = static_cast<int>(std::min(limit.rlim_cur, mostAsked));
  for (int descriptor = firstOther; descriptor < end; ++descriptor)
    ::fcntl(descriptor, F_SETFD, FD_CLOEXEC);
}

}  // namespace

void becomeProgram(const ChildStart& start) {
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  // A parent that died before that call sends no signal any more.
  if (::getppid() != start.parent)
    ::_exit(notStartedStatus);
  if (start.ownSession)
    ::setsid();
  resetSignals();
  if (!placeStreams(start.standard))
    fail(start, StartFailure::Step::streams);
  closeOthersOnExec();
  if (start.workingFolder != nullptr && ::chdir(start.workingFolder) != 0)
    fail(start, StartFailure::Step::folder);
  ::execve(start.program, start.arguments, start.environment);
  fail(start, StartFailure::Step::program);
}

}  // namespace tessarin
