#include "core/DiskSync.h"

#include <utility>

#include "classShared/log.h"

namespace tessarin {

namespace {

constexpr const char* syncTool = "/bin/sync";

}  // namespace

void DiskSync::add(const std::string& path, Done done) {
  waiting_.push_back({path, std::move(done)});
  if (!child_)
    start();
}

void DiskSync::clear() {
  watch_.reset();
  child_.reset();
  waiting_.clear();
  running_.clear();
}

void DiskSync::start() {
  ChildSetup setup;
  setup.program = syncTool;
  setup.arguments = {"--"};
  for (const Entry& entry : waiting_)
    setup.arguments.push_back(entry.path);
  auto started = ChildProcess::start(setup);
  if (!started) {
    logFormat("disk sync           :-( {}", started.reason());
    waiting_.clear();
    return;
  }
  running_ = std::exchange(waiting_, {});
  child_ = std::make_unique<ChildProcess>(std::move(*started));
  watch_ = std::make_unique<ExitWatch>(loop_, *child_, [this] { ended(); });
}

void DiskSync::ended() {
  watch_.reset();
  child_.reset();
  for (const Entry& entry : std::exchange(running_, {}))
    entry.done();
  if (!waiting_.empty() && !child_)
    start();
}

}  // namespace tessarin
