#include "tools/gettimestamps/streamFile.h"

#include "tools/gettimestamps/containers.h"

namespace tessarin {

namespace {

constexpr std::size_t most = std::size_t{4} << 20;

StreamFacts factsIn(const std::string& bytes) {
  StreamFacts facts;
  if (const std::string video = videoOfTransportStream(bytes); !video.empty()) {
    facts = factsInH264(video);
    if (facts.timeCode.empty())
      facts.timeCode = timeCodeOfMpeg(video);
    return facts;
  }
  facts = factsInBytes(bytes);
  if (!facts.time)
    facts = factsInDv(bytes);
  if (facts.timeCode.empty())
    facts.timeCode = timeCodeOfMpeg(bytes);
  return facts;
}

}  // namespace

StreamFacts factsInFile(const std::string& path) {
  BoundedFile file(path);
  StreamFacts facts;
  // It comes with the first pictures, before anything of theirs that is large.
  for (const std::size_t length : {std::size_t{512} << 10, most}) {
    facts = factsIn(file.read(0, length));
    facts.isUnread = file.hasFailed();
    if (facts.time || file.size() <= length)
      return facts;
  }
  const std::uint64_t samples = samplesOfQuickTime(file);
  if (samples > 0)
    facts = factsIn(file.read(samples, most));
  facts.isUnread = file.hasFailed();
  return facts;
}

std::optional<RecordingTime> recordingTimeInFile(const std::string& path) {
  return factsInFile(path).time;
}

}  // namespace tessarin
