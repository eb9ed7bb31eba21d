// movtool: exports a movie as a settings file says, as Apple Intermediate Codec or ProRes.
//
//   movtool -s SETTINGS -i INPUT [OPTIONS] [-y] -o OUTPUT
//   movtool --as-ffmpeg ARGUMENTS...
//
// The second makes the ProRes movie that ffmpeg would make with these arguments; the adapter
// "ffmpeg" beside it becomes that. ffmpeg's own words go to standard error then, and there are no
// lines of ours about the progress.
//
// Standard output: "pourcentage    : 37.5" lines, per cent of the source that is done.
// Exit status: 0 the movie is written, 1 it is not (one line on standard error says why, and no
// part of it is left), 2 wrong use. An existing output is replaced only with -y.
#include <algorithm>
#include <string_view>

#include "tools/movtool/directMovie.h"
#include "tools/movtool/exportRun.h"
#include "tools/toolMain.h"

namespace {

using namespace tessarin;

void declare(CLI::App& options, movtool::ExportJob& job) {
  options.add_option("-s", job.settings, "settings file (a property list)")->required();
  options.add_option("-i", job.input.path, "movie to export")->required();
  options.add_option("-o", job.output, "movie to write")->required();
  options.add_option("--format", job.input.format, "the input's format, as ffmpeg calls it");
  options.add_option("--sound-decoder", job.input.soundDecoders,
                     "ffmpeg's decoder for its sound, or auto; once for each --sound");
  options.add_option("--probesize", job.input.probeSize, "bytes to look for its streams in")
      ->check(CLI::PositiveNumber);
  options.add_option("--analyzeduration", job.input.analyzeDuration, "microseconds, likewise")
      ->check(CLI::PositiveNumber);
  options
      .add_option("--joined", job.input.joined,
                  "seconds of all recordings of the input, to be joined by joinclips")
      ->check(CLI::NonNegativeNumber);
  options
      .add_option("--part", job.input.parts,
                  "a file in which a joined input goes on; once for each, in order")
      ->allow_extra_args(false);
  options.add_flag("--size-changes", job.input.mayChangeSize,
                   "its pictures may change their size, as in recordings behind each other");
  options
      .add_option("--sound-file", job.input.soundFiles,
                  "a file beside the input with a sound of it; once for each, in order")
      ->allow_extra_args(false);
  options.add_option("--seconds", job.input.seconds, "how long an input is that does not tell it")
      ->check(CLI::NonNegativeNumber);
  options
      .add_option("--fields", job.input.fields,
                  "order of its fields (tff, bff), or prog for none; else as it is flagged")
      ->check(CLI::IsMember({"tff", "bff", "prog"}));
  options
      .add_option("--rate", job.input.rate, "its whole pictures a second; else as ffmpeg guesses")
      ->check(CLI::Range(0.01, 1000.0));
  options.add_option("--pictures", job.input.pictureStream, "ffmpeg's number of the stream");
  options
      .add_option("--sound", job.input.soundStreams,
                  "ffmpeg's number of a stream of sound to take, -1 for none; once for each, in "
                  "order; else all are taken")
      ->allow_extra_args(false)
      ->check(CLI::Range(-1, 65535));
  options
      .add_option("--channels", job.input.channels,
                  "number of channels to mix the sound to; once for each, or for all")
      ->allow_extra_args(false)
      ->check(CLI::Range(0, 32));
  auto* const slow = options.add_flag("--slow", job.input.slow, "pictures at half their speed");
  options
      .add_flag("--slow-sound", job.input.slowSound,
                "sound as long as slow pictures, at its own pitch")
      ->needs(slow);
  options.add_flag("-y", job.replace, "replace the output when it is there already");
  options.callback([&job] {
    const std::vector<int>& sounds = job.input.soundStreams;
    if (sounds.size() > 1 && std::find(sounds.begin(), sounds.end(), -1) != sounds.end())
      throw CLI::ValidationError("--sound: -1 stands for none, and others are named");
  });
}

Outcome<bool> makeAsFfmpeg(int count, char** values) {
  return movtool::makeDirectMovie({values, values + count});
}

}  // namespace

int main(int count, char** values) {
  if (count > 1 && std::string_view(values[1]) == "--as-ffmpeg")
    return toolMain(
        "movtool", "", 1, values, [](CLI::App&) {},
        [&] { return makeAsFfmpeg(count - 2, values + 2); });
  movtool::ExportJob job;
  return toolMain(
      "movtool", "Exports a movie as a settings file says.", count, values,
      [&job](CLI::App& options) { declare(options, job); },
      [&job] { return movtool::runExport(job); });
}
