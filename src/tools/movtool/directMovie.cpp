#include "tools/movtool/directMovie.h"

#include <fmt/format.h>

#include "ffmpeg/proresCommand.h"
#include "tools/movtool/makeMovie.h"
#include "tools/pictures/ProresCodec.h"
#include "utils/files.h"

namespace tessarin::movtool {

namespace {

using quicktime::FieldOrder;

quicktime::VideoFormat videoFormat(const ProresCommand& command, const yuv4mpeg::Header& stream) {
  quicktime::VideoFormat format;
  format.width = stream.width;
  format.height = stream.height;
  format.frameRate = stream.frameRate;
  format.pixelAspect = stream.pixelAspect;
  format.fieldOrder = command.interlaced ? FieldOrder::topFirst : FieldOrder::progressive;
  format.colours = command.colours;
  return format;
}

}  // namespace

Outcome<bool> makeDirectMovie(const std::vector<std::string>& arguments) {
  const auto command = proresCommand(arguments);
  if (!command)
    return Failure{"this is no command that makes a ProRes movie"};
  if (!command->replace && pathExists(command->output))
    return Failure{fmt::format("{} is there already (-y replaces it)", command->output)};
  const Outcome<std::string> ffmpeg = ffmpegProgram();
  if (!ffmpeg)
    return Failure{ffmpeg.reason()};
  const pictures::ProresCodec codec(*proresFlavourOfProfile(command->profile),
                                    prores::EncoderSettings());
  MovieMaking making(codec);
  making.ffmpeg = ffmpeg.value();
  making.pictures = command->pictures;
  making.keptFields = command->keptFields;
  for (const ProresCommand::Sound& sound : command->sounds)
    making.sounds.push_back({sound.arguments, sound.stream});
  making.isLikeFfmpeg = true;
  making.format = [&](const yuv4mpeg::Header& stream) {
    return Outcome<quicktime::VideoFormat>(videoFormat(*command, stream));
  };
  making.source = command->source;
  making.output = command->output;
  making.replace = command->replace;
  return makeMovie(making);
}

}  // namespace tessarin::movtool
