// The archive of a release on its way from the network into a file.
#pragma once

#include <QCryptographicHash>
#include <functional>
#include <string>

#include "platform/Descriptor.h"
#include "updates/Fetch.h"
#include "updates/versionFile.h"

namespace tessarin {

// Begins as soon as it is made and is cancelled by its destruction; the file stays as far as it
// came. Size and checksum are those of the release, or the download fails.
class ArchiveDownload {
 public:
  // Called once, from the loop. May destroy the object.
  using Done = std::function<void(const Outcome<void>&)>;

  // The file must not exist yet. Only `connect`, `stalled` and `whole` of the limits count.
  ArchiveDownload(RunLoop& loop, const Release& release, const std::string& path,
                  FetchLimits limits, Done done);

  // 0 to 1.
  double progress() const;

 private:
  Outcome<void> take(std::string_view bytes);
  Outcome<void> check();

  Release release_;
  std::string path_;
  Descriptor file_;
  int openError_ = 0;
  std::uint64_t received_ = 0;
  QCryptographicHash hash_{QCryptographicHash::Sha256};
  Done done_;
  Fetch fetch_;  // last: it calls back as long as it is there
};

}  // namespace tessarin
