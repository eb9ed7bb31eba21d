#include <gtest/gtest.h>

#include "utils/Signal.h"

namespace tessarin {
namespace {

TEST(Signal, ConnectionsMayComeAndGoWhileItIsEmitted) {
  Signal<char> signal;
  std::string calls;
  Signal<char>::Id third = 0;
  signal.connect([&](char letter) {
    calls += letter;
    signal.disconnect(third);
    signal.connect([&](char later) { calls += later; });
  });
  const auto second = signal.connect([&](char) {
    calls += '2';
    signal.disconnect(1);
  });
  third = signal.connect([&](char) { calls += '3'; });
  signal.connect([&](char) { calls += '4'; });
  signal.emit('a');
  EXPECT_EQ(calls, "a24");
  signal.disconnect(second);
  signal.disconnect(second);
  signal.emit('b');
  EXPECT_EQ(calls, "a244b");
}

}  // namespace
}  // namespace tessarin
