#include "platform/NotificationCenter.h"

namespace tessarin {

NotificationCenter& NotificationCenter::defaultCenter() {
  static NotificationCenter center;
  return center;
}

NotificationCenter::Id NotificationCenter::addObserver(std::string name,
                                                       std::optional<std::int64_t> object,
                                                       Function function) {
  observers_.emplace(++lastId_, Observer{std::move(name), object, std::move(function)});
  return lastId_;
}

void NotificationCenter::post(std::string_view name, std::int64_t object) {
  const Id newest = lastId_;
  for (auto next = observers_.begin(); next != observers_.end() && next->first <= newest;) {
    const Id id = next->first;
    const Observer& observer = next->second;
    if (observer.name == name && observer.object.value_or(object) == object) {
      const Function function = observer.function;
      function();
    }
    next = observers_.upper_bound(id);
  }
}

}  // namespace tessarin
