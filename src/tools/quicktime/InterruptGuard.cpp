#include "tools/quicktime/InterruptGuard.h"

#include <unistd.h>

#include <csignal>
#include <cstddef>
#include <cstring>

namespace tessarin::quicktime {

namespace {

constexpr int guardedSignals[] = {SIGINT, SIGTERM, SIGHUP};

// A signal handler may use no more than memory that stays where it is.
char guardedPath[4096];
volatile std::sig_atomic_t guarding = 0;

void removeAndEnd(int signal) {
  if (guarding != 0 && guardedPath[0] != '\0')
    ::unlink(guardedPath);
  // Blocked while this handler runs; ends the program as soon as it returns.
  ::signal(signal, SIG_DFL);
  ::raise(signal);
}

}  // namespace

InterruptGuard::InterruptGuard(const std::string& path) {
  // A name that does not fit is left alone rather than cut.
  const std::size_t length = path.size() < sizeof guardedPath ? path.size() : 0;
  std::memcpy(guardedPath, path.c_str(), length);
  guardedPath[length] = '\0';
  guarding = 1;
  for (const int signal : guardedSignals) {
    struct sigaction former = {};
    ::sigaction(signal, nullptr, &former);
    if (former.sa_handler == SIG_IGN)
      continue;
    struct sigaction action = {};
    action.sa_handler = removeAndEnd;
    ::sigaction(signal, &action, nullptr);
  }
}

InterruptGuard::~InterruptGuard() {
  guarding = 0;
}

}  // namespace tessarin::quicktime
