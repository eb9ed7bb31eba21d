// Another program on the desktop, as a test needs one: files are dragged out of its window, and a
// line on standard output names each that is dropped on it.
//   dragPartner X Y FILE...
#include <QApplication>
#include <QDrag>
#include <QDropEvent>
#include <QLabel>
#include <QMimeData>
#include <QUrl>
#include <cstdio>

namespace {

class Partner final : public QLabel {
 public:
  explicit Partner(const QStringList& files) : QLabel(QStringLiteral("partner")) {
    for (const QString& file : files)
      urls_ << QUrl::fromLocalFile(file);
    setAcceptDrops(true);
    setFixedSize(200, 200);
  }

 protected:
  void mousePressEvent(QMouseEvent*) override {}
  void mouseMoveEvent(QMouseEvent*) override {
    auto* data = new QMimeData;
    data->setUrls(urls_);
    auto* drag = new QDrag(this);
    drag->setMimeData(data);
    drag->exec(Qt::CopyAction | Qt::MoveAction | Qt::LinkAction, Qt::CopyAction);
  }
  void dragEnterEvent(QDragEnterEvent* event) override { event->acceptProposedAction(); }
  void dropEvent(QDropEvent* event) override {
    event->acceptProposedAction();
    for (const QUrl& url : event->mimeData()->urls())
      std::printf("%s\n", qPrintable(url.toLocalFile()));
    std::fflush(stdout);
  }

 private:
  QList<QUrl> urls_;
};

}  // namespace

int main(int count, char** words) {
  QApplication application(count, words);
  Partner partner(application.arguments().mid(3));
  partner.move(application.arguments().at(1).toInt(), application.arguments().at(2).toInt());
  partner.show();
  return QApplication::exec();
}
