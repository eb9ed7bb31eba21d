// Named notifications between objects that do not know each other.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace tessarin {

// Observers are called synchronously, in the order of adding, on the poster's thread; everything
// happens on the main thread.
class NotificationCenter {
 public:
  using Function = std::function<void()>;
  using Id = std::uint64_t;  // never 0, never used twice

  static NotificationCenter& defaultCenter();

  // Calls the function when `name` is posted for `object`; no object: for every object. What the
  // function uses has to live until the observer is removed.
  Id addObserver(std::string name, std::optional<std::int64_t> object, Function function);
  // Observers may add and remove observers, themselves too: one that was removed is not called
  // any more, one that was added is first called by the next post.
  void post(std::string_view name, std::int64_t object);
  // An id that is over is ignored.
  void remove(Id id) { observers_.erase(id); }

 private:
  struct Observer {
    std::string name;
    std::optional<std::int64_t> object;
    Function function;
  };

  Id lastId_ = 0;
  std::map<Id, Observer> observers_;
};

}  // namespace tessarin
