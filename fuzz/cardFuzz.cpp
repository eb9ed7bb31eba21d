// What lies on a camera's card: playlists, the recording times in streams, in containers and beside
// clips.
#include "Input.h"
#include "encoding/recordingDate.h"
#include "movie/timeCode.h"
#include "tools/gettimestamps/containers.h"
#include "tools/gettimestamps/playlist.h"
#include "tools/gettimestamps/streamFile.h"
#include "tools/gettimestamps/timesInStreams.h"

using namespace tessarin;

namespace {

void requireValid(const std::optional<RecordingTime>& time) {
  fuzz::require(!time || (time->isValid() && time->text().size() == 19));
}

void requireValid(const StreamFacts& facts) {
  requireValid(facts.time);
  fuzz::require(facts.timeCode.empty() || isTimeCode(facts.timeCode));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes = fuzz::textOf(data, size);
  if (const auto playlist = parsePlaylist(bytes)) {
    requireValid(playlist->time);
    for (const PlaylistClip& clip : playlist->clips) {
      fuzz::require(clip.name.size() == 5);
      requireValid(clip.time);
    }
  } else {
    fuzz::require(!playlist.reason().empty());
  }
  requireValid(factsInH264(bytes));
  if (const auto time = recordingTimeOfMoi(bytes))
    requireValid(time.value());
  else
    fuzz::require(!time.reason().empty());
  requireValid(recordingTimeOfText(bytes));
  const fuzz::InputFile input(bytes);
  requireValid(factsInFile(input.path()));
  recordingDate(input.path());
  {
    BoundedFile file(input.path());
    fuzz::require(samplesOfQuickTime(file) <= size);
    cameraOfQuickTime(file);
  }
  {
    BoundedFile file(input.path());
    if (const auto facts = mxfFacts(file))
      fuzz::require(facts->units > 0 && facts->rate > 0 && facts->seconds() > 0);
  }
  for (const auto& read : containerReaders) {
    BoundedFile file(input.path());
    requireValid(read(file));
  }
  return 0;
}
