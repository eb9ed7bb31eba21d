// The tests of the window need an application object, and no screen.
#include <gmock/gmock.h>

#include <QApplication>
#include <clocale>
#include <cstdlib>

int main(int count, char** arguments) {
  ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
  testing::InitGoogleMock(&count, arguments);
  const QApplication application(count, arguments);
  // As the program does: what tools print has points.
  std::setlocale(LC_NUMERIC, "C");
  QApplication::setQuitOnLastWindowClosed(false);
  return RUN_ALL_TESTS();
}
