#include "views/AssistantWindow.h"

#include <QHBoxLayout>
#include <QPainter>
#include <QVBoxLayout>

#include "views/bindings.h"
#include "views/images.h"
#include "views/localize.h"
#include "views/mnemonics.h"
#include "views/settingWidgets.h"

namespace tessarin {

namespace {

constexpr int imageSize = 96;
constexpr int pageWidth = 520;

// A drawing that follows the colours of the window.
class Picture final : public QWidget {
 public:
  explicit Picture(std::string name) : name_(std::move(name)) {
    setFixedSize(imageSize, imageSize);
  }

 protected:
  void paintEvent(QPaintEvent*) override {
    QPainter(this).drawPixmap(
        0, 0,
        drawing(name_, imageSize, palette().color(QPalette::WindowText), devicePixelRatioF()));
  }

 private:
  std::string name_;
};

}  // namespace

void AssistantWindow::open(appDelegate& app, QWidget* parent) {
  openOne<AssistantWindow>([&] { return new AssistantWindow(app, parent); });
}

AssistantWindow::AssistantWindow(appDelegate& app, QWidget* parent)
    : SideWindow("assistant", "@@assistantTitle", parent), app_(app), pages_(new QStackedWidget) {
  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(24, 24, 24, 16);
  column->setSpacing(16);
  pages_->addWidget(newPage("dndSd", "@@assistantSourcesTitle", "@@assistantSourcesText"));
  pages_->addWidget(newPage("stepApplication", "@@assistantApplicationTitle",
                            "@@assistantApplicationText", newApplicationChoice()));
  pages_->addWidget(newPage("stepRows", "@@assistantRowsTitle", "@@assistantRowsText"));
  pages_->addWidget(newPage("stepConvert", "@@assistantConvertTitle", "@@assistantConvertText"));
  column->addWidget(pages_, 1);
  auto* skipNext = new QCheckBox("@@assistantSkip");
  skipNext->setObjectName("assistantSkip");
  bindTo(skipNext, app_.interface.assistantSkip);
  column->addWidget(skipNext);
  column->addWidget(newButtons());
  giveRoom(this);
  localizeWindow(this);
  // A page that is not shown yet has to fit, too.
  const int width = qMax(pageWidth, pages_->minimumSizeHint().width());
  pages_->setMinimumSize(width, pages_->heightForWidth(width));
  showPage(0);
}

QWidget* AssistantWindow::newPage(const std::string& image, const QString& title,
                                  const QString& text, QWidget* choice) {
  auto* page = new QWidget;
  auto* row = new QHBoxLayout(page);
  row->setContentsMargins(0, 0, 0, 0);
  row->setSpacing(20);
  row->addWidget(new Picture(image), 0, Qt::AlignTop);
  auto* column = new QVBoxLayout;
  column->setSpacing(10);
  auto* heading = new QLabel(title);
  QFont font = heading->font();
  font.setPointSizeF(font.pointSizeF() * 1.4);
  font.setBold(true);
  heading->setFont(font);
  heading->setWordWrap(true);
  auto* words = new QLabel(text);
  words->setWordWrap(true);
  words->setAlignment(Qt::AlignTop | Qt::AlignLeft);
  column->addWidget(heading);
  column->addWidget(words);
  if (choice)
    column->addWidget(choice);
  column->addStretch();
  row->addLayout(column, 1);
  return page;
}

// The selector of the main window with what the chosen application suits written below it.
QWidget* AssistantWindow::newApplicationChoice() {
  auto* choice = new QWidget;
  auto* column = new QVBoxLayout(choice);
  column->setContentsMargins(0, 0, 0, 0);
  auto* soft = newApplicationBar();
  soft->setObjectName("assistantSoft");
  auto* meaning = new QLabel;
  meaning->setWordWrap(true);
  meaning->setAlignment(Qt::AlignTop | Qt::AlignLeft);
  meaning->setMinimumHeight(4 * meaning->fontMetrics().lineSpacing());
  const auto explain = [soft, meaning] {
    if (soft->selected() >= 0)
      meaning->setText(localizedText(soft->at(soft->selected())->toolTip()));
  };
  bindTo(soft, app_.interface.editingSoft, [this] { app_.storePreferences(); });
  follow(app_.interface.editingSoft, choice, explain);
  explain();
  column->addWidget(soft);
  column->addWidget(meaning);
  return choice;
}

QWidget* AssistantWindow::newButtons() {
  auto* buttons = new QWidget;
  auto* row = new QHBoxLayout(buttons);
  row->setContentsMargins(0, 0, 0, 0);
  skip_ = new QPushButton("@@assistantLeave");
  skip_->setObjectName("assistantLeave");
  QSizePolicy policy = skip_->sizePolicy();
  policy.setRetainSizeWhenHidden(true);
  skip_->setSizePolicy(policy);
  place_ = new QLabel;
  back_ = new QPushButton("@@assistantBack");
  next_ = new QPushButton("@@assistantNext");
  next_->setObjectName("assistantNext");
  next_->setDefault(true);
  connect(skip_, &QPushButton::clicked, this, &QDialog::close);
  connect(back_, &QPushButton::clicked, this, [this] { showPage(pages_->currentIndex() - 1); });
  connect(next_, &QPushButton::clicked, this, [this] {
    if (pages_->currentIndex() + 1 < pages_->count())
      showPage(pages_->currentIndex() + 1);
    else
      close();
  });
  row->addWidget(skip_);
  row->addStretch();
  row->addWidget(place_);
  row->addStretch();
  row->addWidget(back_);
  row->addWidget(next_);
  return buttons;
}

void AssistantWindow::showPage(int page) {
  const bool isLast = page + 1 == pages_->count();
  pages_->setCurrentIndex(page);
  place_->setText(QStringLiteral("%1 / %2").arg(page + 1).arg(pages_->count()));
  back_->setEnabled(page > 0);
  skip_->setVisible(!isLast);
  next_->setText(localizedText(isLast ? QStringLiteral("@@assistantDone")
                                      : QStringLiteral("@@assistantNext")));
  giveMnemonics(this);
  next_->setFocus();
}

}  // namespace tessarin
