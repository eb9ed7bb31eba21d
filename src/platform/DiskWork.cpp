#include "platform/DiskWork.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <csignal>
#include <system_error>
#include <utility>

#include "classShared/log.h"
#include "platform/openFiles.h"

namespace tessarin {

namespace {

constexpr const char* syncTool = "/bin/sync";

}  // namespace

void DiskSync::add(const std::string& path, Done done) {
  files_.push_back({path, std::move(done)});
  if (files_.size() == 1)
    start();
}

void DiskSync::whenIdle(RunLoop::Task idle) {
  idle_ = std::move(idle);
  if (files_.empty())
    tellIdle();
}

void DiskSync::clear() {
  forget();
  tellIdle();
}

void DiskSync::forget() {
  loop_.cancel(std::exchange(soon_, 0));
  watch_.reset();
  child_.reset();
  files_.clear();
}

void DiskSync::tellIdle() {
  if (const auto idle = std::exchange(idle_, {}))
    idle();
}

void DiskSync::start() {
  const std::string& path = files_.front().path;
  ChildSetup setup;
  setup.program = syncTool;
  setup.arguments = {"--", path};
  auto started = ChildProcess::start(setup);
  if (started) {
    child_ = std::make_unique<ChildProcess>(std::move(*started));
    watch_ = std::make_unique<ExitWatch>(loop_, *child_,
                                         [this] { ended(child_->wait().number() == 0); });
    return;
  }
  logFormat("disk sync           :-( {}", started.reason());
  // Without a child the caller waits for the disk.
  const Descriptor file = openFile(path, OpenFor::reading);
  const bool isOnDisk = file.isOpen() && syncFile(file.number());
  soon_ = loop_.runSoon([this, isOnDisk] { ended(isOnDisk); });
}

void DiskSync::ended(bool isOnDisk) {
  soon_ = 0;
  watch_.reset();
  child_.reset();
  const Entry entry = std::move(files_.front());
  files_.pop_front();
  if (!files_.empty())
    start();
  entry.done(isOnDisk);
  if (files_.empty())
    tellIdle();
}

DiskThread::~DiskThread() {
  loop_.cancel(watch_);
  if (!thread_.joinable())
    return;
  {
    const std::lock_guard lock(mutex_);
    ends_ = true;
  }
  changed_.notify_all();
  thread_.join();
}

void DiskThread::add(Work work, Done done) {
  if (!start()) {
    // Without a thread the caller waits for the disk.
    Outcome<void> result = work();
    finished_.push_back({{}, std::move(done), std::move(result)});
    loop_.cancel(watch_);
    watch_ = loop_.runSoon([this] { tellResults(); });
    return;
  }
  {
    const std::lock_guard lock(mutex_);
    waiting_.push_back({std::move(work), std::move(done)});
  }
  changed_.notify_all();
}

void DiskThread::finish() {
  {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return waiting_.empty() && !isWorking_; });
  }
  tellResults();
}

bool DiskThread::start() {
  if (thread_.joinable())
    return true;
  wake_ = Descriptor(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
  if (!wake_.isOpen())
    return false;
  // Signals are for the main thread, which may only later say how it takes them.
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  ::pthread_sigmask(SIG_SETMASK, &all, &before);
  try {
    thread_ = std::thread([this] { serve(); });
  } catch (const std::system_error& error) {
    logFormat("disk thread         :-( {}", error.what());
  }
  ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
  if (thread_.joinable())
    watch_ = loop_.watchReadable(wake_.number(), [this] { tellResults(); });
  return thread_.joinable();
}

void DiskThread::serve() {
  std::unique_lock lock(mutex_);
  for (;;) {
    changed_.wait(lock, [this] { return ends_ || !waiting_.empty(); });
    if (waiting_.empty())
      return;
    Piece piece = std::move(waiting_.front());
    waiting_.pop_front();
    isWorking_ = true;
    lock.unlock();
    piece.result = piece.work();
    lock.lock();
    isWorking_ = false;
    finished_.push_back(std::move(piece));
    changed_.notify_all();
    ::eventfd_write(wake_.number(), 1);
  }
}

void DiskThread::tellResults() {
  eventfd_t count = 0;
  ::eventfd_read(wake_.number(), &count);
  for (;;) {
    std::unique_lock lock(mutex_);
    if (finished_.empty())
      return;
    const Piece piece = std::move(finished_.front());
    finished_.pop_front();
    lock.unlock();
    piece.done(piece.result);
  }
}

}  // namespace tessarin
