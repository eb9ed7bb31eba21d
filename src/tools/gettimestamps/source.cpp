#include "tools/gettimestamps/source.h"

#include "tools/gettimestamps/card.h"
#include "tools/gettimestamps/containers.h"
#include "tools/gettimestamps/streamFile.h"

namespace tessarin {

namespace {

std::optional<RecordingTime> timeInContainer(const std::string& path, bool& isUnread) {
  for (const auto& read : containerReaders) {
    BoundedFile file(path);
    const auto time = read(file);
    isUnread = isUnread || file.hasFailed();
    if (time)
      return time;
  }
  return std::nullopt;
}

std::optional<SourceTime> timeBy(const std::string& path, const StreamFacts& stream,
                                 bool& isUnread) {
  if (isOnCard(path))
    return SourceTime{"card", timeOfCardClip(path)};
  if (const auto time = timeBesideClip(path))
    return SourceTime{"beside", time};
  if (stream.time)
    return SourceTime{"stream", stream.time};
  if (const auto time = timeInContainer(path, isUnread))
    return SourceTime{"container", time};
  return std::nullopt;
}

const std::string& firstOf(const std::string& one, const std::string& other) {
  return one.empty() ? other : one;
}

}  // namespace

KnownFacts factsOfSource(const std::string& path) {
  const StreamFacts stream = factsInFile(path);
  const SideFacts beside = factsBesideClip(path);
  BoundedFile file(path);
  const CameraFacts camera = cameraOfQuickTime(file);
  KnownFacts facts;
  facts.isUnread = stream.isUnread || file.hasFailed();
  facts.time = timeBy(path, stream, facts.isUnread);
  facts.timeCode = firstOf(beside.timeCode, stream.timeCode);
  facts.make = firstOf(beside.make, firstOf(stream.make, camera.make));
  facts.model = firstOf(beside.model, firstOf(stream.model, camera.model));
  facts.place = firstOf(beside.place, firstOf(stream.place, camera.place));
  facts.title = beside.title;
  return facts;
}

}  // namespace tessarin
