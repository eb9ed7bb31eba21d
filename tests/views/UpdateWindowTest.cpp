// A user before the window of the updates.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QTest>

#include "platform/UserDomain.h"
#include "support/HttpServer.h"
#include "support/LogCapture.h"
#include "support/LoopUntil.h"
#include "support/ScopedEnvironment.h"
#include "support/ScopedTemporaryFolder.h"
#include "support/TestBundle.h"
#include "support/zips.h"
#include "utils/files.h"
#include "views/QtRunLoop.h"
#include "views/UpdateWindow.h"

namespace tessarin {
namespace {

using testing::HasSubstr;

class UpdateWindowTest : public testing::Test {
 protected:
  UpdateWindowTest() { preferences.prefWrite(updateAddressKey, server.address("/v.json")); }
  ~UpdateWindowTest() override {
    if (QDialog* one = window())
      delete one;
  }

  void offer(const std::string& version) {
    const QByteArray hash =
        QCryptographicHash::hash(QByteArray::fromStdString(archive), QCryptographicHash::Sha256);
    server.answers["/v.json"].body = fmt::format(
        R"({{"format":1,"version":"{}","address":"v.zip","size":{},"sha256":"{}","notes":"<b>New</b>"}})",
        version, archive.size(), hash.toHex().toStdString());
    server.answers["/v.zip"].body = archive;
  }

  static QDialog* window() {
    for (QWidget* one : QApplication::topLevelWidgets())
      if (auto* found = dynamic_cast<UpdateWindow*>(one))
        return found;
    return nullptr;
  }
  template <class Widget>
  static Widget* find(const char* name) {
    return window()->findChild<Widget*>(name);
  }
  static void click(const char* name) {
    QTest::mouseClick(find<QPushButton>(name), Qt::LeftButton);
  }
  static std::string headline() { return find<QLabel>("updateHeadline")->text().toStdString(); }
  bool shows(const char* text) {
    return test::loopUntil(loop, [text] { return headline().find(text) != std::string::npos; });
  }

  const std::string archive = test::zipOf({{"a", "b"}});
  test::ScopedEnvironment noProxy{"no_proxy", "127.0.0.1"};
  test::TestBundle bundle;
  test::LogCapture log;
  test::ScopedTemporaryFolder folder;
  QtRunLoop loop;
  test::HttpServer server{loop};
  std::string revealed;
  MemoryUserDomain domain;
  PreferenceStore preferences{domain};
  Updates updates{loop, [this] {
                    return UpdateSettings{.address = preferences.prefReadString(updateAddressKey),
                                          .currentVersion = "1.0",
                                          .language = "en",
                                          .folder = folder.file("updates")};
                  }};
  UpdateInterface interface {
    updates, preferences, [this](const std::string& path) { revealed = path; }
  };
};

TEST_F(UpdateWindowTest, LeadsFromTheQuestionToTheFolder) {
  offer("1.1");
  preferences.prefRemove(updateAddressKey);
  UpdateWindow::open(interface, nullptr);
  auto* address = find<QLineEdit>("updateAddress");
  address->clear();
  QTest::keyClicks(address, QString::fromStdString(server.address("/v.json")));
  EXPECT_TRUE(find<QProgressBar>("updateBar")->isHidden());
  EXPECT_TRUE(find<QPushButton>("updateStop")->isHidden());
  QTest::keyClick(window(), Qt::Key_Return);  // the default button
  EXPECT_FALSE(find<QProgressBar>("updateBar")->isHidden());
  EXPECT_FALSE(find<QPushButton>("updateStop")->isHidden());
  EXPECT_FALSE(find<QPushButton>("updateGo")->isEnabled());
  ASSERT_TRUE(shows("1.1 is available"));
  // What the server says is no markup.
  EXPECT_EQ(find<QPlainTextEdit>("updateDetails")->toPlainText().toStdString(), "<b>New</b>");
  EXPECT_THAT(find<QPushButton>("updateGo")->text().toStdString(), HasSubstr("Download"));
  click("updateGo");
  ASSERT_TRUE(shows("has been fetched")) << updates.reason();
  click("updateGo");
  EXPECT_EQ(revealed, folder.file("updates/Tessarin-1.1"));
  EXPECT_EQ(folder.read("updates/Tessarin-1.1/a"), "b");
}

TEST_F(UpdateWindowTest, StopsAndGoesOnWithoutAWindow) {
  offer("1.1");
  server.answers["/v.zip"].isSilent = true;
  UpdateWindow::open(interface, nullptr);
  click("updateGo");
  ASSERT_TRUE(shows("is available"));
  click("updateGo");
  ASSERT_EQ(updates.state(), UpdateState::downloading);
  click("updateStop");
  EXPECT_EQ(updates.state(), UpdateState::available);

  server.answers["/v.zip"].isSilent = false;
  click("updateGo");
  click("updateClose");
  EXPECT_TRUE(test::loopUntil(loop, [this] { return updates.state() == UpdateState::ready; }));
  QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  EXPECT_EQ(window(), nullptr);
  UpdateWindow::open(interface, nullptr);
  EXPECT_THAT(headline(), HasSubstr("has been fetched"));
  QDialog* first = window();
  UpdateWindow::open(interface, nullptr);
  EXPECT_EQ(window(), first) << "there is one window";
}

TEST_F(UpdateWindowTest, HasRoomForEveryLanguage) {
  offer("1.1");
  for (const char* language : {"de", "en", "es", "fr", "it"}) {
    SCOPED_TRACE(language);
    const test::TestBundle other(language);
    updates.changed.emit();
    UpdateWindow::open(interface, nullptr);
    EXPECT_FALSE(window()->windowTitle().startsWith("@@"));
    for (QPushButton* button : window()->findChildren<QPushButton*>()) {
      EXPECT_FALSE(button->text().startsWith("@@")) << button->text().toStdString();
      EXPECT_GE(button->width(), button->sizeHint().width()) << button->text().toStdString();
    }
    EXPECT_LE(
        find<QLabel>("updateHeadline")->heightForWidth(find<QLabel>("updateHeadline")->width()),
        find<QLabel>("updateHeadline")->height());
    delete window();
  }
}

}  // namespace
}  // namespace tessarin
