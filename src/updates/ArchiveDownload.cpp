#include "updates/ArchiveDownload.h"

#include <cerrno>
#include <utility>

#include "classShared/descriptorBytes.h"
#include "platform/openFiles.h"
#include "prefs/utilsAlert.h"

namespace tessarin {

namespace {

FetchLimits limitsFor(const Release& release, FetchLimits limits) {
  limits.largest = release.size;
  return limits;
}

}  // namespace

ArchiveDownload::ArchiveDownload(RunLoop& loop, const Release& release, const std::string& path,
                                 FetchLimits limits, Done done)
    : release_(release),
      path_(path),
      file_(openFile(path, OpenFor::creating)),
      openError_(file_.isOpen() ? 0 : errno),
      done_(std::move(done)),
      fetch_(
          loop, release.address, limitsFor(release, limits),
          [this](std::string_view bytes) { return take(bytes); },
          [this](const Outcome<void>& ended) {
            const Outcome<void> outcome = ended ? check() : ended;
            const Done tell = std::exchange(done_, nullptr);
            tell(outcome);
          }) {}

double ArchiveDownload::progress() const {
  return static_cast<double>(received_) / static_cast<double>(release_.size);
}

Outcome<void> ArchiveDownload::take(std::string_view bytes) {
  int error = openError_;
  hash_.addData(QByteArrayView(bytes.data(), static_cast<qsizetype>(bytes.size())));
  received_ += bytes.size();
  if (error == 0 && !writeAll(file_.number(), bytes))
    error = errno;
  if (error != 0)
    return Failure{localisationString("why_updateWrite", "", path_, systemReason(error))};
  return {};
}

Outcome<void> ArchiveDownload::check() {
  if (received_ != release_.size)
    return Failure{localisationString("why_updateSize")};
  if (hash_.result().toHex().toStdString() != release_.sha256)
    return Failure{localisationString("why_updateHash")};
  if (!closeFile(file_))
    return Failure{localisationString("why_updateWrite", "", path_, systemReason(errno))};
  return {};
}

}  // namespace tessarin
