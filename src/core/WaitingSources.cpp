#include "core/WaitingSources.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "core/stepState.h"

namespace tessarin {

void WaitingSources::assign(const std::vector<std::string>& paths) {
  paths_.assign(paths.begin(), paths.end());
  show();
}

std::string WaitingSources::takeFirst() {
  std::string path = std::move(paths_.front());
  paths_.pop_front();
  changed();
  return path;
}

void WaitingSources::clear() {
  paths_.clear();
  show();
}

void WaitingSources::changed() {
  if (paths_.size() <= shortQueue)
    show();
  else if (timer_ == 0)
    timer_ = loop_.runAfter(showInterval, [this] { show(); });
}

void WaitingSources::show() {
  loop_.cancel(std::exchange(timer_, 0));
  if (paths_.empty()) {
    preferences_.prefRemove(StateKey::waiting);
    return;
  }
  Dico shown;
  for (std::size_t index = 0; index < std::min(paths_.size(), mostKeys); ++index)
    shown.set(fmt::format("{}", index), paths_[index]);
  preferences_.prefWrite(StateKey::waiting, std::move(shown));
}

}  // namespace tessarin
