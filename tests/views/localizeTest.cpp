#include <gtest/gtest.h>

#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QTabWidget>

#include "support/TestBundle.h"
#include "views/SegmentedBar.h"
#include "views/localize.h"

namespace tessarin {
namespace {

TEST(LocalizeView, ReplacesMarkedTextsOfEveryKindAndCountsThem) {
  const test::TestBundle bundle("fr");
  QWidget view;
  view.setWindowTitle("@@menuPreferences");
  QGroupBox box("@@prefColor", &view);
  QLabel plain("stop", &box);
  QLabel unknown("@@noSuchKey", &box);
  QLineEdit field(&view);
  field.setPlaceholderText("@@destination");
  QComboBox popup(&view);
  popup.addItems({"@@speedFull", "720p"});
  QTabWidget tabs(&view);
  tabs.addTab(new QLabel("@@stop"), "@@start");
  SegmentedBar bar(SegmentedBar::Kind::choice, {"@@modeEasy", "HD"}, &view);
  bar.setToolTip("@@pause");
  QMenu menu("@@menuFile");
  menu.addMenu("@@menuHelp")->addAction("@@menuAbout");
  menu.addAction("@@menuFileQuit");

  EXPECT_EQ(localizeWindow(&view), 9);
  EXPECT_EQ(view.windowTitle(), "Préférences…");
  EXPECT_EQ(plain.text(), "stop");
  EXPECT_EQ(unknown.text(), "noSuchKey");
  EXPECT_NE(popup.itemText(0), "speedFull");
  EXPECT_EQ(popup.itemText(1), "720p");
  EXPECT_EQ(bar.title(0), "Automatique");
  EXPECT_EQ(bar.title(1), "HD");
  EXPECT_EQ(localizeView(&view), 0);
  EXPECT_EQ(localizeMenu(&menu), 4);
  EXPECT_EQ(menu.actions().last()->text(), "Quitter");
}

}  // namespace
}  // namespace tessarin
