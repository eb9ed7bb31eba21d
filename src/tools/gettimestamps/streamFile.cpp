#include "tools/gettimestamps/streamFile.h"

#include "tools/gettimestamps/containers.h"
#include "tools/gettimestamps/timesInStreams.h"

namespace tessarin {

namespace {

constexpr std::size_t most = std::size_t{4} << 20;

std::optional<RecordingTime> timeInBytes(const std::string& bytes) {
  if (const std::string video = videoOfTransportStream(bytes); !video.empty())
    return recordingTimeInH264(video);
  if (const auto time = recordingTimeInBytes(bytes))
    return time;
  return recordingTimeInDv(bytes);
}

}  // namespace

std::optional<RecordingTime> recordingTimeInFile(const std::string& path) {
  BoundedFile file(path);
  // It comes with the first pictures, before anything of theirs that is large.
  for (const std::size_t length : {std::size_t{512} << 10, most}) {
    if (const auto time = timeInBytes(file.read(0, length)))
      return time;
    if (file.size() <= length)
      return std::nullopt;
  }
  const std::uint64_t samples = samplesOfQuickTime(file);
  return samples > 0 ? timeInBytes(file.read(samples, most)) : std::nullopt;
}

}  // namespace tessarin
