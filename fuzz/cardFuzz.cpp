// What lies on a camera's card: playlists, the recording times in streams, in containers and beside
// clips.
#include <cstdint>
#include <string_view>

#include "InputFile.h"
#include "tools/gettimestamps/containers.h"
#include "tools/gettimestamps/playlist.h"
#include "tools/gettimestamps/timesInStreams.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  if (const auto playlist = tessarin::parsePlaylist(bytes); !playlist && playlist.reason().empty())
    __builtin_trap();
  tessarin::recordingTimeInH264(tessarin::videoOfTransportStream(bytes));
  tessarin::recordingTimeInH264(bytes);
  if (const auto time = tessarin::recordingTimeOfMoi(bytes); !time && time.reason().empty())
    __builtin_trap();
  tessarin::recordingTimeInBytes(bytes);
  tessarin::recordingTimeInDv(bytes);
  const tessarin::fuzz::InputFile input(data, size);
  for (const auto& read : {tessarin::recordingTimeOfQuickTime, tessarin::recordingTimeOfMatroska,
                           tessarin::recordingTimeOfMxf, tessarin::recordingTimeOfAvi}) {
    tessarin::BoundedFile file(input.path());
    if (const auto time = read(file); time && !time->isValid())
      __builtin_trap();
  }
  return 0;
}
