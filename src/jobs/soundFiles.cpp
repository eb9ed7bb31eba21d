#include "jobs/soundFiles.h"

#include "analysis/probeParser.h"
#include "analysis/usedStreams.h"
#include "platform/Bundle.h"
#include "platform/fileFacts.h"

namespace tessarin {

bool mayHaveSoundFiles(const std::string& path) {
  return hasPathExtension(path, "mxf") && equalIgnoringCase(fileName(parentFolder(path)), "VIDEO");
}

void takeSoundsLine(std::string_view words, const std::string& pictures, SoundsBeside& sounds) {
  const std::string_view told = textAfter(words, " ").value_or("");
  if (told == "by name") {
    sounds.isByName = true;
    return;
  }
  if (told == "missing") {
    ++sounds.missing;
    return;
  }
  const std::string path = joinPath(parentFolder(parentFolder(pictures)), told);
  const auto state = fileState(path);
  if (!state || state->size <= 0)
    ++sounds.missing;
  else
    sounds.files.push_back({state->size, path, state->changed()});
}

Arguments soundFilesCommand(const std::string& pictures,
                            const std::vector<Source::SoundFile>& files) {
  Source source;
  source.soundFiles = files;
  Arguments command = {Bundle::main().toolPath("ffmpeg"), "-loglevel", "info"};
  const Arguments input = inputOptions(source);
  command.insert(command.end(), input.begin(), input.end());
  command.insert(command.end(), {"-i", pictures});
  return command;
}

void takeSoundFiles(Source& source, const std::vector<Source::SoundFile>& files,
                    std::string_view report) {
  auto described = ffInfos(report, std::nullopt).value_or(Source());
  chooseStreams(described, report);
  if (source.pictures.id != 0 || described.pictures.id != 0 || !described.sound.id)
    return;
  source.sound = described.sound;
  source.otherSounds = described.otherSounds;
  source.remarks.insert(source.remarks.end(), described.remarks.begin(), described.remarks.end());
  source.isMapped = true;
  source.soundFiles = files;
}

void tellOfSounds(Source& source, const SoundsBeside& sounds) {
  const std::size_t missing = sounds.missing + sounds.files.size() - source.soundFiles.size();
  if (missing > 0)
    source.remarks.push_back(
        {Source::Remark::Kind::soundFilesMissing, static_cast<std::int64_t>(missing)});
  if (sounds.isByName && !source.soundFiles.empty())
    source.remarks.push_back({Source::Remark::Kind::soundFilesByName,
                              static_cast<std::int64_t>(source.soundFiles.size())});
}

}  // namespace tessarin
