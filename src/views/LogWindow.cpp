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

void LogWindow::open(const char* title, const std::string& path,
                     const std::function<void(const std::string&)>& reveal, QWidget* parent) {
  auto* window = new LogWindow(title, path, reveal, parent);
  window->show();
}

LogWindow::LogWindow(const char* title, const std::string& path,
                     const std::function<void(const std::string&)>& reveal, QWidget* parent)
    : SideWindow("log", title, parent) {
  auto* column = new QVBoxLayout(this);
  auto* text = new QPlainTextEdit(endOf(path));
  text->setReadOnly(true);
  text->setTabChangesFocus(true);
  text->setAccessibleName(title);
  text->setLineWrapMode(QPlainTextEdit::NoWrap);
  text->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
  column->addWidget(text, 1);
  auto* buttons = newCloseButtons(this);
  QPushButton* copy = buttons->addButton("@@logCopy", QDialogButtonBox::ActionRole);
  connect(copy, &QPushButton::clicked, text,
          [text] { QGuiApplication::clipboard()->setText(text->toPlainText()); });
  QPushButton* show = buttons->addButton("@@reportShowLog", QDialogButtonBox::ActionRole);
  connect(show, &QPushButton::clicked, this, [reveal, path] { reveal(path); });
  column->addWidget(buttons);
  giveRoom(this);
  localizeWindow(this);
  resize(logWidth, logHeight);
  text->verticalScrollBar()->setValue(text->verticalScrollBar()->maximum());
}

}  // namespace tessarin
