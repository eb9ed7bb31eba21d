// A list of functions to call when something changed.
#pragma once

#include <functional>
#include <utility>
#include <vector>

namespace tessarin {

// Owned by the object that changes; the functions connected to it are called in the order of
// connecting. What a function uses has to live as long as the signal. A function may connect
// others; they are first called at the next emission.
template <class... Arguments>
class Signal {
 public:
  void connect(std::function<void(Arguments...)> function) {
    functions_.push_back(std::move(function));
  }

  void emit(Arguments... arguments) const {
    const std::size_t count = functions_.size();
    for (std::size_t index = 0; index < count; ++index) {
      // A copy: connecting another one may move the functions.
      const auto function = functions_[index];
      function(arguments...);
    }
  }

 private:
  std::vector<std::function<void(Arguments...)>> functions_;
};

}  // namespace tessarin
