// What the program asks of the desktop, with a small desktop on a bus of its own.
#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusUnixFileDescriptor>
#include <QDBusVirtualObject>
#include <QProcess>
#include <QTest>
#include <QUrl>
#include <algorithm>
#include <array>

#include "classShared/TextAdditions.h"
#include "prefs/utilsAlert.h"
#include "support/LoopUntil.h"
#include "support/ScopedEnvironment.h"
#include "support/ScopedTemporaryFolder.h"
#include "utils/files.h"
#include "views/AfterBatch.h"
#include "views/DesktopMessage.h"
#include "views/DropView.h"
#include "views/QtRunLoop.h"
#include "views/StayAwake.h"
#include "views/desktop.h"
#include "views/qtText.h"

namespace tessarin {
namespace {

// Keeps what it is asked and answers with a number, as the service for messages does.
class FakeDesktop final : public QDBusVirtualObject {
 public:
  QString introspect(const QString&) const override { return {}; }
  bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
    calls.push_back(message);
    if (message.member().startsWith("Can"))
      return connection.send(
          message.createReply(QString(message.member() == "CanSuspend" ? "yes" : "challenge")));
    if (message.member() == "Suspend")
      return connection.send(message.createReply());
    if (message.member() != "Inhibit")
      return connection.send(message.createReply(7u));
    return connection.send(message.createReply(QVariant::fromValue(QDBusUnixFileDescriptor(lock))));
  }
  std::vector<QDBusMessage> calls;
  int lock = -1;  // what a lock's holder gets a copy of
};

// The program's connection is made once in a process, so all of it is one test.
TEST(Desktop, RevealsAndTakesClicksOnItsMessage) {
  const test::ScopedTemporaryFolder folder;
  QProcess daemon;
  daemon.start("dbus-daemon", {"--session", "--nofork", "--print-address",
                               "--address=unix:path=" + qtText(folder.file("bus"))});
  if (!daemon.waitForStarted() || !daemon.waitForReadyRead())
    GTEST_SKIP() << "there is no dbus-daemon here";
  const QString address = QString::fromUtf8(daemon.readAllStandardOutput()).trimmed();
  const test::ScopedEnvironment bus("DBUS_SESSION_BUS_ADDRESS", address.toStdString());
  const test::ScopedEnvironment system("DBUS_SYSTEM_BUS_ADDRESS", address.toStdString());
  const test::ScopedEnvironment token("XDG_ACTIVATION_TOKEN", "");
  QDBusConnection desktop = QDBusConnection::connectToBus(address, "desktop");
  FakeDesktop fake;
  ASSERT_TRUE(desktop.registerVirtualObject("/org", &fake, QDBusConnection::SubPath));
  ASSERT_TRUE(desktop.registerService("org.freedesktop.Notifications"));
  ASSERT_TRUE(desktop.registerService("org.freedesktop.FileManager1"));
  ASSERT_TRUE(desktop.registerService("org.freedesktop.login1"));
  QtRunLoop loop;
  const auto until = [&loop](const std::function<bool()>& condition) {
    return test::loopUntil(loop, condition, std::chrono::seconds(20));
  };

  // The last byte of the name is no text.
  const std::string movie = folder.file("Été 100%\xE9");
  ASSERT_TRUE(writeFileAtomically(movie, "x"));
  revealInFileBrowser(movie);
  revealInFileBrowser(folder.path());
  ASSERT_TRUE(until([&] { return fake.calls.size() == 2; }));
  EXPECT_EQ(fake.calls[0].member(), "ShowItems");
  QMimeData data;
  data.setUrls({QUrl(fake.calls[0].arguments().at(0).toStringList().value(0))});
  EXPECT_EQ(pathsOf(&data), std::vector<std::string>{movie});
  EXPECT_EQ(fake.calls[1].member(), "ShowFolders");

  int clicks = 0;
  DesktopMessage message([&clicks] { ++clicks; });
  message.show("Done", "3 of <4>");
  ASSERT_TRUE(until([&] { return fake.calls.size() == 3; }));
  EXPECT_EQ(fake.calls[2].arguments().at(4), "3 of &lt;4&gt;");
  EXPECT_EQ(fake.calls[2].arguments().at(5).toStringList().value(0), "default");
  const auto tell = [&](const char* signal, uint id, const QString& text) {
    QDBusMessage told = QDBusMessage::createSignal("/org/freedesktop/Notifications",
                                                   "org.freedesktop.Notifications", signal);
    desktop.send(told << id << text);
  };
  // The answer to the call comes before these. Only the last click is one on this message.
  tell("ActionInvoked", 8, "default");
  tell("ActionInvoked", 7, "other");
  tell("ActivationToken", 8, "another's");
  tell("ActivationToken", 7, "a token");
  tell("ActionInvoked", 7, "default");
  EXPECT_TRUE(until([&] { return clicks > 0; }));
  EXPECT_EQ(clicks, 1);
  EXPECT_EQ(qgetenv("XDG_ACTIVATION_TOKEN"), "a token");

  // The next one takes its place.
  message.show("Done", "");
  ASSERT_TRUE(until([&] { return fake.calls.size() == 4; }));
  EXPECT_EQ(fake.calls[3].arguments().at(1).toUInt(), 7u);

  // The computer stays awake as long as a copy of the lock is open, also when it was let go before
  // the answer came.
  std::array<int, 2> ends{};
  ASSERT_EQ(::pipe(ends.data()), 0);
  fake.lock = ends[1];
  StayAwake awake;
  awake.hold("Converting");
  awake.hold("Converting");
  ASSERT_TRUE(until([&] { return awake.isHeld(); }));
  ASSERT_EQ(fake.calls.size(), 5u);
  EXPECT_EQ(fake.calls[4].arguments().at(0), "sleep:idle");
  EXPECT_EQ(fake.calls[4].arguments().at(3), "block");
  awake.release();
  awake.hold("Converting");
  awake.release();
  ASSERT_TRUE(until([&] { return fake.calls.size() == 6; }));
  ::close(ends[1]);
  pollfd open{ends[0], 0, 0};
  EXPECT_TRUE(until([&] { return ::poll(&open, 1, 0) == 1 && (open.revents & POLLHUP) != 0; }));
  ::close(ends[0]);

  // Behind a batch the computer goes to sleep once the warning was not heeded, and for once.
  std::vector<std::string> refusals;
  std::vector<std::string> told;
  AfterBatch after(loop,
                   {[] { return nullptr; },
                    [&](const std::string&, const std::string& how) { told.push_back(how); },
                    [&](const std::string& what, const std::string& why) {
                      refusals.push_back(what + " " + why);
                    }},
                   std::chrono::milliseconds(1));
  const auto calls = [&fake](const char* member) {
    return std::count_if(fake.calls.begin(), fake.calls.end(),
                         [member](const QDBusMessage& call) { return call.member() == member; });
  };
  after.choose(AfterBatch::Act::powerOff);
  ASSERT_TRUE(until([&] { return !refusals.empty(); }));
  EXPECT_EQ(after.act(), AfterBatch::Act::nothing);
  EXPECT_EQ(refusals[0], localisationString("D_after_noPowerOff") + " " +
                             localisationString("why_afterPassword"));
  after.choose(AfterBatch::Act::sleep);
  after.batchEnded(true, "");
  EXPECT_EQ(after.act(), AfterBatch::Act::nothing) << "the user stopped the batch";
  after.choose(AfterBatch::Act::sleep);
  after.batchEnded(false, "3 converted");
  EXPECT_TRUE(after.isWarning());
  ASSERT_EQ(told.size(), 1u) << "one message says all";
  EXPECT_TRUE(contains(told[0], "3 converted"));
  ASSERT_TRUE(QApplication::activeModalWidget());
  QTest::keyClick(QApplication::activeModalWidget(), Qt::Key_Escape);
  EXPECT_FALSE(after.isWarning());
  EXPECT_EQ(after.act(), AfterBatch::Act::nothing);
  after.batchEnded(false, "");
  EXPECT_FALSE(after.isWarning());
  after.choose(AfterBatch::Act::sleep);
  after.batchEnded(false, "");
  ASSERT_TRUE(until([&] { return calls("Suspend") > 0; }));
  EXPECT_FALSE(after.isWarning());
  EXPECT_EQ(calls("Suspend"), 1);
  EXPECT_EQ(calls("PowerOff"), 0);
  EXPECT_EQ(refusals.size(), 1u);
  daemon.terminate();
  daemon.waitForFinished();
}

}  // namespace
}  // namespace tessarin
