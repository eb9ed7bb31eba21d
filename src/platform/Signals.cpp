#include "platform/Signals.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>

#include "classShared/log.h"

namespace tessarin {

namespace {

// Where the handler writes: the pipe of the watch for each signal, -1 without one.
std::array<std::atomic<int>, NSIG> pipeOfSignal;
static_assert(std::atomic<int>::is_always_lock_free, "a signal handler must not wait for a lock");

extern "C" void handleSignal(int signal) {
  const int error = errno;
  const auto number = static_cast<unsigned char>(signal);
  const int descriptor = pipeOfSignal[static_cast<std::size_t>(signal)];
  // A full pipe already holds enough to wake the loop.
  if (descriptor >= 0 && ::write(descriptor, &number, 1) < 0) {
  }
  errno = error;
}

}  // namespace

void ignoreBrokenPipes() {
  std::signal(SIGPIPE, SIG_IGN);
}

void ignoreFileLimit() {
  std::signal(SIGXFSZ, SIG_IGN);
}

bool isOfFileLimit(int signal) {
  return signal == SIGXFSZ;
}

bool isCrash(int signal) {
  constexpr std::array<int, 7> crashes{SIGILL, SIGTRAP, SIGABRT, SIGBUS, SIGFPE, SIGKILL, SIGSEGV};
  return std::find(crashes.begin(), crashes.end(), signal) != crashes.end();
}

std::string signalText(int signal) {
  return ::strsignal(signal);
}

void suspendProcess() {
  ::raise(SIGSTOP);
}

SignalWatch::SignalWatch(RunLoop& loop, const std::vector<int>& signals,
                         std::function<void(int)> caught)
    : loop_(loop), caught_(std::move(caught)) {
  Outcome<Pipe> pipe = makePipe();
  if (!pipe) {
    logFormat("signals             :-( not watched, {}", pipe.reason());
    return;
  }
  pipe_ = std::move(*pipe);
  setNonBlocking(pipe_.readEnd.number());
  setNonBlocking(pipe_.writeEnd.number());
  watch_ = loop_.watchReadable(pipe_.readEnd.number(), [this] { serve(); });

  struct sigaction action {};
  action.sa_handler = handleSignal;
  action.sa_flags = SA_RESTART;
  sigfillset(&action.sa_mask);
  for (const int signal : signals) {
    struct sigaction former {};
    ::sigaction(signal, nullptr, &former);
    if (former.sa_handler == SIG_IGN)
      continue;
    pipeOfSignal[static_cast<std::size_t>(signal)] = pipe_.writeEnd.number();
    ::sigaction(signal, &action, nullptr);
    formers_.push_back({signal, former});
  }
}

SignalWatch::~SignalWatch() {
  for (const Former& former : formers_) {
    ::sigaction(former.signal, &former.action, nullptr);
    pipeOfSignal[static_cast<std::size_t>(former.signal)] = -1;
  }
  if (watch_ != 0)
    loop_.cancel(watch_);
}

void SignalWatch::serve() {
  std::array<bool, NSIG> came{};
  std::array<unsigned char, 64> numbers{};
  ssize_t count = 0;
  while ((count = ::read(pipe_.readEnd.number(), numbers.data(), numbers.size())) > 0)
    for (ssize_t index = 0; index < count; ++index)
      came[numbers[static_cast<std::size_t>(index)]] = true;
  const std::function<void(int)> caught = caught_;  // the call may end this watch
  for (std::size_t signal = 0; signal < came.size(); ++signal)
    if (came[signal])
      caught(static_cast<int>(signal));
}

}  // namespace tessarin
