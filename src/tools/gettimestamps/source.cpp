#include "tools/gettimestamps/source.h"

#include "tools/gettimestamps/card.h"
#include "tools/gettimestamps/containers.h"
#include "tools/gettimestamps/streamFile.h"

namespace tessarin {

namespace {

std::optional<RecordingTime> timeInContainer(const std::string& path) {
  for (const auto& read : containerReaders) {
    BoundedFile file(path);
    if (const auto time = read(file))
      return time;
  }
  return std::nullopt;
}

}  // namespace

std::optional<SourceTime> timeOfSource(const std::string& path) {
  if (isOnCard(path))
    return SourceTime{"card", timeOfCardClip(path)};
  if (const auto time = timeBesideClip(path))
    return SourceTime{"beside", time};
  if (const auto time = recordingTimeInFile(path))
    return SourceTime{"stream", time};
  if (const auto time = timeInContainer(path))
    return SourceTime{"container", time};
  return std::nullopt;
}

}  // namespace tessarin
