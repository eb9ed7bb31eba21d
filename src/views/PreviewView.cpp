#include "views/PreviewView.h"

#include <QHBoxLayout>
#include <QPainter>
#include <QPointer>
#include <QVBoxLayout>

#include "classShared/TextAdditions.h"
#include "core/clipWords.h"
#include "jobs/BatchProgress.h"
#include "views/localize.h"
#include "views/qtText.h"

namespace tessarin {

namespace {

constexpr int momentSteps = 1000;
constexpr int pictureGap = 8;
constexpr int previewWidth = 300;  // at the least
constexpr int leastPictures = 157;
constexpr double usualAspect = 16.0 / 9;
// What is taken, in pixels of the screen: more would take longer than it looks better.
constexpr QSize largestPicture(1280, 720);

QPixmap pixmapOf(const std::string& jpeg) {
  QPixmap pixmap;
  pixmap.loadFromData(reinterpret_cast<const uchar*>(jpeg.data()), static_cast<uint>(jpeg.size()));
  return pixmap;
}

}  // namespace

// ---- The pictures

PreviewPictures::PreviewPictures(QWidget* parent) : QWidget(parent) {
  setMinimumSize(previewWidth, leastPictures);
}

void PreviewPictures::show(const QPixmap& source, const QPixmap& movie, bool hasMovie) {
  source_ = source;
  movie_ = movie;
  hasMovie_ = hasMovie;
  update();
}

int PreviewPictures::captionHeight() const {
  return hasMovie_ ? fontMetrics().lineSpacing() + 2 : 0;
}

bool PreviewPictures::isBeside() const {
  const auto widthIn = [](double width, double height) {
    return std::min(width, height * usualAspect);
  };
  const int caption = captionHeight();
  return widthIn((width() - pictureGap) / 2.0, height() - caption) >
         widthIn(width(), (height() - pictureGap) / 2.0 - caption);
}

// With the caption above.
QRect PreviewPictures::place(int number) const {
  if (!hasMovie_)
    return rect();
  const bool beside = isBeside();
  const int half = ((beside ? width() : height()) - pictureGap) / 2;
  const int from = number * (half + pictureGap);
  return beside ? QRect(from, 0, half, height()) : QRect(0, from, width(), half);
}

QSize PreviewPictures::room() const {
  return place(0).size() - QSize(0, captionHeight());
}

void PreviewPictures::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::SmoothPixmapTransform);
  for (int number = 0; number < (hasMovie_ ? 2 : 1); ++number) {
    QRect whole = place(number);
    if (hasMovie_) {
      const QRect caption(whole.topLeft(), QSize(whole.width(), captionHeight()));
      painter.setPen(palette().color(QPalette::WindowText));
      painter.drawText(caption, Qt::AlignHCenter | Qt::AlignTop,
                       localizedText(number == 0 ? QStringLiteral("@@columnSource")
                                                 : QStringLiteral("@@previewMovie")));
      whole.setTop(whole.top() + captionHeight());
    }
    const QPixmap& picture = number == 0 ? source_ : movie_;
    painter.fillRect(whole, QColor(24, 24, 24));
    if (picture.isNull())
      continue;
    const QSize shown = picture.size().scaled(whole.size(), Qt::KeepAspectRatio);
    QRect place(QPoint(), shown);
    place.moveCenter(whole.center());
    painter.drawPixmap(place, picture);
  }
}

void PreviewPictures::resizeEvent(QResizeEvent*) {
  if (resized)
    resized();
}

// ---- With the slider and the details

PreviewView::PreviewView(appDelegate& app, QWidget* parent)
    : QWidget(parent),
      app_(app),
      pictures_(new PreviewPictures),
      moment_(new QSlider(Qt::Horizontal)),
      time_(new QLabel),
      details_(new QPlainTextEdit) {
  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(0, 0, 0, 0);
  column->addWidget(pictures_, 3);
  auto* line = new QHBoxLayout;
  moment_->setObjectName("moment");
  moment_->setRange(0, momentSteps);
  moment_->setPageStep(momentSteps / 10);
  moment_->setAccessibleName("@@previewMoment");
  line->addWidget(moment_, 1);
  line->addWidget(time_);
  column->addLayout(line);
  details_->setObjectName("details");
  details_->setReadOnly(true);
  details_->setTabChangesFocus(true);
  details_->setAccessibleName("@@previewDetails");
  details_->setMinimumHeight(4 * details_->fontMetrics().lineSpacing());
  column->addWidget(details_, 2);

  pictures_->resized = [this] { tellRoom(); };
  connect(moment_, &QSlider::valueChanged, this, [this](int step) {
    app_.preview().setMoment(static_cast<double>(step) / momentSteps);
    showTime();
  });
  const QPointer<PreviewView> held(this);
  app_.preview().changed.connect([held] {
    if (held)
      held->showPreview();
  });
  app_.table().rowsChanged.connect([held](const std::vector<int>& rows) {
    if (held && held->isVisible() &&
        std::binary_search(rows.begin(), rows.end(), held->app_.preview().row()))
      held->showDetails();
  });
  showPreview();
}

void PreviewView::showPreview() {
  const ClipPreview& preview = app_.preview();
  const QSize before = pictures_->room();
  const auto renew = [](const std::string& jpeg, std::string& shown, QPixmap& pixmap) {
    if (jpeg == shown && !pixmap.isNull())
      return;
    shown = jpeg;
    pixmap = pixmapOf(jpeg);
  };
  renew(preview.sourcePicture(), sourcePicture_, source_);
  renew(preview.moviePicture(), moviePicture_, movie_);
  pictures_->show(source_, movie_, preview.hasMovie());
  if (pictures_->room() != before)
    tellRoom();
  const QSignalBlocker quiet(moment_);
  const double length = preview.length();
  moment_->setEnabled(length > 0);
  moment_->setValue(length > 0 ? qRound(momentSteps * preview.seconds() / length) : 0);
  showTime();
  showDetails();
}

void PreviewView::showTime() {
  const ClipPreview& preview = app_.preview();
  time_->setText(preview.row() < 0
                     ? QString()
                     : qtText(clockText(preview.seconds()) + " / " + clockText(preview.length())));
}

void PreviewView::showDetails() {
  const int row = app_.preview().row();
  std::vector<std::string> lines;
  if (app_.table().has(row)) {
    const Row& entry = app_.table().row(row);
    lines = clipDetails(entry, app_.table().forecast(row));
    lines.insert(lines.begin(), {fileName(entry.path()), joinTexts(clipWords(entry.source), ", ")});
    if (!entry.reason.empty())
      lines.push_back(entry.reason);
  }
  const QString text = app_.table().has(row) ? qtText(joinTexts(lines, "\n"))
                                             : localizedText(QStringLiteral("@@previewEmpty"));
  // The selection in it stays as long as nothing changes.
  if (details_->toPlainText() != text)
    details_->setPlainText(text);
}

void PreviewView::tellRoom() {
  if (!isVisible())
    return;
  const QSize room =
      (QSizeF(pictures_->room()) * devicePixelRatioF()).toSize().boundedTo(largestPicture);
  app_.preview().setRoom(FrameSize{room.width(), room.height()});
}

void PreviewView::showEvent(QShowEvent*) {
  tellRoom();
  showPreview();
}

// Nobody looks: nothing is taken.
void PreviewView::hideEvent(QHideEvent*) {
  app_.preview().setRoom(std::nullopt);
}

}  // namespace tessarin
