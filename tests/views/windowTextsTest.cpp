// Texts that were not translated or do not fit, in every language, size of letters and look.
#include <QComboBox>
#include <QHeaderView>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QSet>
#include <QStyle>
#include <QStyleOptionComboBox>

#include "encoding/outputPreset.h"
#include "jobs/newRow.h"
#include "support/sources.h"
#include "views/WindowFixture.h"
#include "views/colourSchemes.h"
#include "views/settingWidgets.h"

namespace tessarin::test {
namespace {

QString textOf(const QWidget* widget) {
  if (const auto* button = qobject_cast<const QAbstractButton*>(widget))
    return button->text();
  const auto* label = qobject_cast<const QLabel*>(widget);
  return label ? label->text() : QString();
}

// Labels that hold names of files are cut off rather than making the window wider.
bool mayBeCutOff(const QWidget* widget) {
  return widget->sizePolicy().horizontalPolicy() == QSizePolicy::Ignored;
}

void expectTranslated(const QWidget* widget) {
  for (const QString& text : {textOf(widget), widget->toolTip(), widget->accessibleName()})
    EXPECT_FALSE(text.startsWith("@@")) << text.toStdString();
}

void expectRoomFor(const QWidget* widget) {
  const std::string text = textOf(widget).toStdString();
  if (const auto* label = qobject_cast<const QLabel*>(widget); label && label->wordWrap()) {
    EXPECT_GE(label->height(), label->heightForWidth(label->width())) << text;
  } else if (!text.empty() && !mayBeCutOff(widget)) {
    EXPECT_GE(widget->width(), widget->minimumSizeHint().width()) << text;
    EXPECT_GE(widget->height(), widget->minimumSizeHint().height()) << text;
  }
  if (const auto* popup = qobject_cast<const QComboBox*>(widget)) {
    QStyleOptionComboBox option;
    option.initFrom(popup);
    option.iconSize = popup->iconSize();
    const int room =
        popup->style()
            ->subControlRect(QStyle::CC_ComboBox, &option, QStyle::SC_ComboBoxEditField, popup)
            .width();
    for (int item = 0; item < popup->count(); ++item)
      EXPECT_GE(room, popup->fontMetrics().horizontalAdvance(popup->itemText(item)))
          << popup->itemText(item).toStdString();
  }
}

// Of what lies side by side in one widget.
void expectNoOverlap(const QWidget* parent) {
  QList<const QWidget*> shown;
  for (const QObject* child : parent->children())
    if (const auto* widget = qobject_cast<const QWidget*>(child);
        widget && widget->isVisible() && !widget->isWindow())
      shown.append(widget);
  for (qsizetype one = 0; one < shown.size(); ++one) {
    EXPECT_TRUE(parent->isWindow() || parent->rect().contains(shown[one]->geometry()))
        << textOf(shown[one]).toStdString() << " sticks out of "
        << parent->objectName().toStdString();
    for (qsizetype other = one + 1; other < shown.size(); ++other)
      EXPECT_FALSE(shown[one]->geometry().intersects(shown[other]->geometry()))
          << textOf(shown[one]).toStdString() << " / " << textOf(shown[other]).toStdString();
  }
}

// Whether the widgets below this one are placed by a layout of ours; views place theirs themselves.
bool isOurs(const QWidget* widget) {
  return !qobject_cast<const QAbstractScrollArea*>(widget) &&
         (!widget->parentWidget() || widget->isWindow() || isOurs(widget->parentWidget()));
}

// Whatever takes the pointer can be hit by a finger or an unsteady hand.
void expectTarget(const QWidget* widget) {
  const bool isTarget =
      qobject_cast<const QAbstractButton*>(widget) || qobject_cast<const QLineEdit*>(widget) ||
      qobject_cast<const QComboBox*>(widget) || qobject_cast<const QAbstractSlider*>(widget) ||
      qobject_cast<const QHeaderView*>(widget);
  EXPECT_TRUE(!isTarget || qMin(widget->width(), widget->height()) >= leastTarget)
      << widget->metaObject()->className() << " " << textOf(widget).toStdString();
}

// How many texts were looked at.
int lookAt(const QWidget& window) {
  int seen = 0;
  for (const QWidget* widget : window.findChildren<QWidget*>()) {
    expectTranslated(widget);
    if (widget->isVisible())
      expectTarget(widget);
    if (!widget->isVisible() || !isOurs(widget))
      continue;
    expectRoomFor(widget);
    if (widget->layout())
      expectNoOverlap(widget);
    seen += textOf(widget).isEmpty() ? 0 : 1;
  }
  return seen;
}

void expectRoomInTable(const BatchView& table) {
  const QAbstractItemModel& model = *table.model();
  const QAbstractItemView& view = table;
  for (int column = 0; column < model.columnCount(); ++column) {
    EXPECT_GE(table.horizontalHeader()->sectionSize(column),
              column == sourceColumn ? 100 : view.sizeHintForColumn(column))
        << column;
    for (int row = 0; row < model.rowCount(); ++row)
      EXPECT_GE(table.rowHeight(row), view.sizeHintForIndex(model.index(row, column)).height())
          << column;
  }
}

TEST(WindowTexts, CanBeReadInEveryScheme) {
  const TestBundle bundle;
  QtRunLoop loop;
  QtAlerts alerts;
  MemoryUserDomain domain;
  PreferenceStore preferences(domain);
  appDelegate app({loop, preferences, alerts, {}});
  followColourScheme(app.interface.colour);
  for (const int scheme : {1, 2, 0}) {
    app.interface.colour.select(scheme);
    const QPalette palette = QApplication::palette();
    for (const auto group : {QPalette::Active, QPalette::Disabled})
      for (const auto& [text, ground] : {std::pair{QPalette::WindowText, QPalette::Window},
                                         std::pair{QPalette::Text, QPalette::Base},
                                         std::pair{QPalette::ButtonText, QPalette::Button}})
        EXPECT_GE(contrastOf(palette.color(group, text), palette.color(group, ground)), 4.5)
            << scheme << " " << group << " " << text;
    EXPECT_GE(
        contrastOf(palette.color(QPalette::HighlightedText), palette.color(QPalette::Highlight)),
        4.5)
        << scheme;
  }
}

// Where each of these texts has a letter, and no two the same.
void expectOneLetterEach(const QStringList& texts) {
  QSet<QChar> letters;
  for (const QString& text : texts) {
    const qsizetype place = text.indexOf('&');
    ASSERT_GE(place, 0) << text.toStdString();
    EXPECT_FALSE(letters.contains(text[place + 1].toUpper())) << text.toStdString();
    letters.insert(text[place + 1].toUpper());
  }
}

TEST(WindowTexts, EveryMenuAndControlHasALetterOfItsOwnInEveryLanguage) {
  for (const char* language : {"en", "de", "fr", "es", "it"}) {
    SCOPED_TRACE(language);
    const TestBundle bundle(language);
    QtRunLoop loop;
    QtAlerts alerts;
    MemoryUserDomain domain;
    PreferenceStore preferences(domain);
    appDelegate app({loop, preferences, alerts, {}});
    AfterBatch after(loop, {});
    WindowActions actions;
    actions.checkForUpdates = [] {};
    actions.afterBatch = &after;
    MainWindow window(app, actions);
    QStringList texts;
    for (QAction* title : window.menuBar()->actions())
      texts.append(title->text());
    for (const QLabel* label : window.findChildren<QLabel*>())
      if (label->buddy())
        texts.append(label->text());
    for (const QAbstractButton* button : window.findChildren<QAbstractButton*>())
      if (qobject_cast<const QPushButton*>(button) || qobject_cast<const QCheckBox*>(button))
        texts.append(button->text());
    EXPECT_GT(texts.size(), 8);
    expectOneLetterEach(texts);
    int items = 0;
    for (QMenu* menu : window.findChildren<QMenu*>()) {
      Q_EMIT menu->aboutToShow();
      QStringList titles;
      for (const QAction* action : menu->actions())
        if (!action->isSeparator())
          titles.append(action->text());
      expectOneLetterEach(titles);
      items += static_cast<int>(titles.size());
    }
    EXPECT_GT(items, 20);
  }
}

TEST(WindowTexts, AreTranslatedAndNotCutOff) {
  const QFont font = QApplication::font();
  for (const double scale : {1.0, 1.5})
    for (const int scheme : {2, 1, 0})
      for (const char* language : {"en", "de", "fr", "es", "it"}) {
        SCOPED_TRACE(std::string(language) + " " + std::to_string(scale) + " " +
                     std::to_string(scheme));
        QFont scaled = font;
        scaled.setPointSizeF(font.pointSizeF() * scale);
        QApplication::setFont(scaled);
        const TestBundle bundle(language);
        QtRunLoop loop;
        QtAlerts alerts;
        MemoryUserDomain domain;
        PreferenceStore preferences(domain);
        appDelegate app({loop, preferences, alerts, {}});
        app.interface.colour.select(scheme);
        followColourScheme(app.interface.colour);
        MainWindow window(app, {[] {}, [](const std::string&) {}, [](const std::string&) {}});
        app.table().append(newRow(test::sourceOf({{"srcPathStr", "/Clip.MTS"}}), {outProres, 12}));
        app.interface.batchDrawer.setShown(true);
        window.show();
        window.findChild<QWidget*>("preview")->show();
        window.showPreferences();
        window.showAssistant();
        window.showLocalization();
        window.showReport();
        QApplication::processEvents();
        EXPECT_GT(lookAt(window), 25);
        expectRoomInTable(*window.findChild<BatchView*>("batch"));
        for (int page = 2; page <= 4; ++page) {
          QTest::mouseClick(window.findChild<QPushButton*>("assistantNext"), Qt::LeftButton);
          QApplication::processEvents();
          lookAt(window);
        }
      }
  QApplication::setFont(font);
}

}  // namespace
}  // namespace tessarin::test
