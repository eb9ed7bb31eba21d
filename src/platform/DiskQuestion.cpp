#include "platform/DiskQuestion.h"

#include <sys/eventfd.h>
#include <sys/statvfs.h>

#include <csignal>
#include <system_error>
#include <thread>
#include <utility>

#include "classShared/log.h"
#include "platform/Descriptor.h"

namespace tessarin {

// Lives until both sides have let go of it.
struct DiskQuestion::Answer {
  Descriptor given{::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)};
};

namespace {

// False when there is no thread. Signals are for the main one.
bool startAlone(std::function<void()> work) {
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  ::pthread_sigmask(SIG_SETMASK, &all, &before);
  bool isStarted = true;
  try {
    std::thread(std::move(work)).detach();
  } catch (const std::system_error& error) {
    logFormat("disk question       :-( {}", error.what());
    isStarted = false;
  }
  ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
  return isStarted;
}

}  // namespace

void DiskQuestion::ask(const std::function<void()>& work, std::function<void()> answered) {
  cancel();
  const auto answer = std::make_shared<Answer>();
  const bool isAsked = answer->given.isOpen() && startAlone([answer, work] {
                         work();
                         ::eventfd_write(answer->given.number(), 1);
                       });
  if (!isAsked) {
    work();
    soon_ = loop_.runSoon([this, answered = std::move(answered)] {
      soon_ = 0;
      answered();
    });
    return;
  }
  answer_ = answer;
  watch_ = loop_.watchReadable(answer->given.number(), [this, answered = std::move(answered)] {
    const auto act = answered;  // what is called may ask again
    cancel();
    act();
  });
}

// Of a file's attributes an old answer may be kept; room is always asked for anew.
void DiskQuestion::askFor(std::vector<std::string> paths, std::function<void()> answered) {
  ask(
      [paths = std::move(paths)] {
        struct statvfs facts;
        for (const std::string& path : paths)
          static_cast<void>(::statvfs(path.c_str(), &facts));
      },
      std::move(answered));
}

void DiskQuestion::askFor(const std::string& path, std::chrono::milliseconds patience,
                          std::function<void(bool isAnswered)> told) {
  askFor({path}, [told] { told(true); });
  patience_ = loop_.runAfter(patience, [this, told = std::move(told)] {
    const auto act = told;
    cancel();
    act(false);
  });
}

void DiskQuestion::cancel() {
  loop_.cancel(std::exchange(patience_, 0));
  loop_.cancel(std::exchange(watch_, 0));
  loop_.cancel(std::exchange(soon_, 0));
  answer_.reset();
}

}  // namespace tessarin
