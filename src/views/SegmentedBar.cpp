#include "views/SegmentedBar.h"

#include <QApplication>
#include <QButtonGroup>
#include <QEvent>
#include <QHBoxLayout>

namespace tessarin {

namespace {

constexpr int segmentImageSize = 20;

// The segments of a choice look like those of the batch: the chosen one in the selection's colour.
constexpr const char* choiceLook = R"(
  QToolButton { border: 1px solid palette(mid); border-left: none; padding: 4px 8px; min-height: 18px;
                background: palette(button); color: palette(button-text); }
  QToolButton[first="true"] { border-left: 1px solid palette(mid); }
  QToolButton:hover { background: palette(midlight); }
  QToolButton:checked { background: palette(highlight); color: palette(highlighted-text); }
  QToolButton:disabled { color: %1; }
  QToolButton:checked:disabled { background: palette(button); }
  QToolButton:focus { border: 2px solid palette(window-text); padding: 3px 7px; }
)";

// A style sheet does not know the colours of what is disabled.
QString lookOfChoice() {
  const QColor disabled = QApplication::palette().color(QPalette::Disabled, QPalette::ButtonText);
  return QString::fromLatin1(choiceLook).arg(disabled.name());
}

}  // namespace

SegmentedBar::SegmentedBar(Kind kind, const QStringList& titles, QWidget* parent)
    : QWidget(parent) {
  auto* row = new QHBoxLayout(this);
  row->setContentsMargins(0, 0, 0, 0);
  row->setSpacing(0);
  if (kind == Kind::choice)
    setStyleSheet(lookOfChoice());
  auto* group = new QButtonGroup(this);
  group->setExclusive(kind == Kind::choice);
  for (const QString& title : titles) {
    auto* segment = new QToolButton(this);
    segment->setText(title);
    segment->setCheckable(kind == Kind::choice);
    segment->setIconSize({segmentImageSize, segmentImageSize});
    segment->setFocusPolicy(Qt::StrongFocus);
    segment->setSizePolicy(kind == Kind::choice ? QSizePolicy::Expanding : QSizePolicy::Fixed,
                           QSizePolicy::Fixed);
    const int number = count();
    segment->setProperty("first", number == 0);
    connect(segment, &QToolButton::clicked, this, [this, number] {
      if (chosen)
        chosen(number);
    });
    group->addButton(segment);
    row->addWidget(segment);
    segments_.push_back(segment);
  }
  if (!segments_.empty())
    setFocusProxy(segments_.front());
}

void SegmentedBar::select(int segment) {
  for (int number = 0; number < count(); ++number)
    if (at(number)->isCheckable()) {
      QButtonGroup* group = at(number)->group();
      // An exclusive group does not let its last segment come up.
      group->setExclusive(segment >= 0);
      at(number)->setChecked(number == segment);
      // The Tab key comes to the chosen one, from which the arrows go on.
      const bool isStop = number == segment || segment < 0;
      at(number)->setFocusPolicy(isStop ? Qt::StrongFocus : Qt::ClickFocus);
      if (number == segment)
        setFocusProxy(at(number));
    }
}

void SegmentedBar::changeEvent(QEvent* event) {
  QWidget::changeEvent(event);
  if (event->type() == QEvent::PaletteChange && !styleSheet().isEmpty() &&
      styleSheet() != lookOfChoice())
    setStyleSheet(lookOfChoice());
  if (event->type() == QEvent::PaletteChange && coloursChanged)
    coloursChanged();
}

int SegmentedBar::selected() const {
  for (int number = 0; number < count(); ++number)
    if (at(number)->isChecked())
      return number;
  return -1;
}

}  // namespace tessarin
