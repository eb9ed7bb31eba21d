// A list of functions to call when something changed.
#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

namespace tessarin {

// Owned by the object that changes; the functions connected to it are called in the order of
// connecting. What a function uses has to live as long as the signal, or until the function is
// disconnected. A function may connect others, which are first called at the next emission, and
// disconnect any, which is not called any more.
template <class... Arguments>
class Signal {
 public:
  using Id = std::uint64_t;  // of a connection, never 0

  Id connect(std::function<void(Arguments...)> function) {
    connections_.push_back({++last_, std::move(function)});
    return last_;
  }

  // Does nothing for one that is not there any more.
  void disconnect(Id id) {
    std::erase_if(connections_, [id](const Connection& each) { return each.id == id; });
  }

  void emit(Arguments... arguments) const {
    const Id last = last_;
    for (Id done = 0;;) {
      const auto next = std::upper_bound(
          connections_.begin(), connections_.end(), done,
          [](Id number, const Connection& connection) { return number < connection.id; });
      if (next == connections_.end() || next->id > last)
        return;
      done = next->id;
      // A copy: what is called may move the connections.
      const auto function = next->function;
      function(arguments...);
    }
  }

 private:
  struct Connection {
    Id id;
    std::function<void(Arguments...)> function;
  };
  std::vector<Connection> connections_;  // by id
  Id last_ = 0;
};

}  // namespace tessarin
