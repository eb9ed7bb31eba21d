#include "views/LogWindow.h"

#include <QClipboard>
#include <QFile>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QVBoxLayout>

#include "views/localize.h"
#include "views/mnemonics.h"
#include "views/qtText.h"
#include "views/settingWidgets.h"

namespace tessarin {

namespace {

constexpr int logWidth = 820;
constexpr int logHeight = 560;
// A log of days is long, and what happened last is what is looked for.
constexpr qint64 mostShown = qint64{512} * 1024;

QString endOf(const std::string& path) {
  QFile file(qtText(path));
  if (!file.open(QIODevice::ReadOnly))
    return localizedText(QStringLiteral("@@logEmpty"));
  if (file.size() > mostShown) {
    file.seek(file.size() - mostShown);
    file.readLine();  // the rest of one
  }
  const QString text = QString::fromUtf8(file.readAll());
  return text.trimmed().isEmpty() ? localizedText(QStringLiteral("@@logEmpty")) : text;
}

}  // namespace

void LogWindow::openText(const char* title, const QString& shown, QWidget* parent) {
  auto* window = new LogWindow(title, shown, parent);
  localizeWindow(window);
  giveMnemonics(window);
  window->show();
}

void LogWindow::open(const char* title, const std::string& path,
                     const std::function<void(const std::string&)>& reveal, QWidget* parent) {
  auto* window = new LogWindow(title, endOf(path), parent);
  QPushButton* show = window->buttons_->addButton("@@reportShowLog", QDialogButtonBox::ActionRole);
  show->setAutoDefault(false);
  connect(show, &QPushButton::clicked, window, [reveal, path] { reveal(path); });
  localizeWindow(window);
  giveMnemonics(window);
  window->show();
  QScrollBar* bar = window->text_->verticalScrollBar();
  bar->setValue(bar->maximum());
}

LogWindow::LogWindow(const char* title, const QString& shown, QWidget* parent)
    : SideWindow("log", title, parent),
      text_(new QPlainTextEdit(shown)),
      buttons_(newCloseButtons(this)) {
  auto* column = new QVBoxLayout(this);
  text_->setReadOnly(true);
  text_->setTabChangesFocus(true);
  text_->setAccessibleName(title);
  text_->setLineWrapMode(QPlainTextEdit::NoWrap);
  text_->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
  column->addWidget(text_, 1);
  QPushButton* copy = buttons_->addButton("@@logCopy", QDialogButtonBox::ActionRole);
  copy->setAutoDefault(false);
  connect(copy, &QPushButton::clicked, text_,
          [text = text_] { QGuiApplication::clipboard()->setText(text->toPlainText()); });
  column->addWidget(buttons_);
  giveRoom(this);
  resize(logWidth, logHeight);
}

}  // namespace tessarin
