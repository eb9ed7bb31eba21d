#include "tools/movtool/exportProres.h"

#include <fmt/format.h>

#include <string_view>

#include "classShared/TextAdditions.h"
#include "ffmpeg/failureWords.h"
#include "movie/movieIndex.h"
#include "tools/movtool/FfmpegRun.h"
#include "tools/movtool/ProgressLines.h"
#include "tools/quicktime/InterruptGuard.h"
#include "tools/quicktime/PartialFile.h"
#include "tools/streams/ByteSource.h"

namespace tessarin::movtool {

namespace {

// Reads "out_time_us=1234567" lines until ffmpeg has no more to say.
void followProgress(int descriptor, ProgressLines& progress) {
  streams::ByteSource source(descriptor);
  while (true) {
    const Outcome<std::string> line = source.readLine();
    if (!line || line.value().empty())
      return;
    constexpr std::string_view label = "out_time_us=";
    if (startsWith(line.value(), label)) {
      const std::int64_t microseconds =
          leadingInteger(std::string_view(line.value()).substr(label.size()));
      progress.reached(static_cast<double>(microseconds) / 1e6);
    }
  }
}

// Up to version 5 ffmpeg counts a run as good when the disk fills up while it writes the header.
Outcome<bool> checkWhole(int descriptor) {
  const Outcome<MovieIndex> movie = readMovieIndex(descriptor);
  if (!movie)
    return Failure{movie.reason()};
  const MovieTrack* pictures = movie->pictures();
  if (pictures == nullptr || pictures->samples == 0)
    return Failure{"it has no pictures"};
  for (const MovieTrack& track : movie->tracks)
    if (track.missing > 0 || !movie->isWhole)
      return Failure{"it ends too early"};
  return true;
}

}  // namespace

Outcome<bool> exportProres(const std::string& ffmpeg, const ExportJob& job,
                           const ExportSettings& settings, const SourceFacts& source,
                           const ExportPlan& plan) {
  Outcome<quicktime::PartialFile> file = quicktime::PartialFile::create(job.output);
  if (!file)
    return Failure{file.reason()};
  const quicktime::InterruptGuard guard(file->temporaryName());
  Outcome<FfmpegRun> run =
      FfmpegRun::start(ffmpeg, proresArguments(job.input, file->pathForChild(), plan, settings));
  if (!run)
    return Failure{run.reason()};
  ProgressLines progress(source.duration);
  followProgress(run->output(), progress);
  // ffmpeg knows the file by another name.
  const auto inOwnWords = [&](const std::string& words) {
    return replaceAll(words, file->pathForChild(), job.output);
  };
  const Outcome<bool> finished = run->finish();
  if (!finished)
    return Failure{inOwnWords(finished.reason())};
  if (const Outcome<bool> whole = checkWhole(file->descriptor()); !whole) {
    const std::string words(failureWords(run->report()));
    return Failure{words.empty() ? fmt::format("{} is not whole: {}", job.output, whole.reason())
                                 : inOwnWords(words)};
  }
  run->passOnReport("");
  progress.end();
  return file->commit(job.replace);
}

}  // namespace tessarin::movtool
