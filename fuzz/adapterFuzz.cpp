// Command lines for ffmpeg, as the adapter gets them: taken apart, translated for several versions,
// and made into those of a ProRes movie. Zero bytes stand between the arguments.
#include "Input.h"
#include "ffmpeg/ffmpegCommandLine.h"
#include "ffmpeg/ffmpegOptions.h"
#include "ffmpeg/proresCommand.h"

using namespace tessarin;

namespace {

// What is read and written, which no translation changes.
std::vector<std::string> filesOf(const std::vector<FfmpegOptionGroup>& groups) {
  std::vector<std::string> files;
  for (const FfmpegOptionGroup& group : groups)
    if (group.kind != FfmpegOptionGroup::Kind::trailing)
      files.push_back((group.kind == FfmpegOptionGroup::Kind::input ? "<" : ">") + group.file);
  return files;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::vector<std::string> given = fuzz::Pieces(fuzz::textOf(data, size)).each('\0');
  const auto groups = parseFfmpegArguments(given);
  fuzz::require(ffmpegArguments(groups) == given);
  const auto files = filesOf(groups);
  const bool needsVersion = ffmpegOptionsNeedVersion(given);
  const auto newest = translateFfmpegOptions(given, newestFfmpeg);
  for (const FfmpegVersion version :
       {FfmpegVersion{57, 48}, {58, 18}, {58, 54}, {59, 18}, {59, 37}, {60, 31}, {61, 3}}) {
    const auto translated = translateFfmpegOptions(given, version);
    fuzz::require(needsVersion || translated == newest);
    fuzz::require(filesOf(parseFfmpegArguments(translated)) == files);
    beyondFfmpeg(given, version);
  }
  for (const std::string& argument : given) {
    filterNames(argument);
    leavesSourceFields(argument);
    proresFilters(argument, true);
  }
  if (const auto command = proresCommand(given)) {
    fuzz::require(command->profile >= 0 && command->profile <= 4 && !command->output.empty());
    translateFfmpegOptions(command->pictures, newestFfmpeg);
  }
  return 0;
}
