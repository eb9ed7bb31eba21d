#include "tools/movtool/makeMovie.h"

#include <memory>

#include "ffmpeg/reportText.h"
#include "movie/timeCode.h"
#include "tools/movtool/ProgressLines.h"
#include "tools/movtool/SoundFeed.h"
#include "tools/movtool/SourceFacts.h"
#include "tools/quicktime/InterruptGuard.h"
#include "tools/quicktime/MovieWriter.h"
#include "tools/streams/FrameQueue.h"

namespace tessarin::movtool {

namespace {

using quicktime::MovieWriter;
using SoundFeeds = std::vector<std::unique_ptr<SoundFeed>>;

// Encodes all pictures, each with the sound of its time.
Outcome<bool> encodePictures(yuv4mpeg::Reader& reader, const yuv4mpeg::Header& stream,
                             pictures::PictureEncoder& encoder, double frameSeconds,
                             const SoundFeeds& sounds, MovieWriter& movie,
                             ProgressLines& progress) {
  yuv4mpeg::FrameQueue frames(reader, stream);
  while (const auto frame = frames.next()) {
    if (!movie.addFrame(encoder.encode(*frame)))
      return Failure{movie.failure()};
    const double seconds = static_cast<double>(movie.frameCount()) * frameSeconds;
    for (const auto& sound : sounds) {
      Outcome<bool> fed = sound->feed(movie, seconds);
      if (!fed)
        return fed;
    }
    progress.reached(seconds);
  }
  if (frames.failure())
    return Failure{*frames.failure()};
  return true;
}

// What ffmpeg says of its own failure tells more than how its output broke off.
Failure reasonOf(FfmpegRun& run, const std::string& own) {
  const Outcome<bool> finished = run.finish();
  return Failure{finished ? own : finished.reason()};
}

// Pictures that come, and what they are like.
struct Pictures {
  FfmpegRun run;
  std::unique_ptr<yuv4mpeg::Reader> reader;
  yuv4mpeg::Header stream;
};

Outcome<Pictures> startPictures(const MovieMaking& making,
                                const std::vector<std::string>& arguments) {
  using Report = FfmpegRun::Report;
  Outcome<FfmpegRun> run = FfmpegRun::start(making.ffmpeg, arguments,
                                            making.isLikeFfmpeg ? Report::whole : Report::troubles);
  if (!run)
    return Failure{run.reason()};
  auto reader = std::make_unique<yuv4mpeg::Reader>(run->output());
  const Outcome<yuv4mpeg::Header> stream = reader->readHeader(making.codec.accepted());
  if (!stream) {
    Failure failure = reasonOf(*run, stream.reason() == yuv4mpeg::emptyStream
                                         ? "there are no pictures in " + making.source
                                         : stream.reason());
    if (making.isLikeFfmpeg)
      run->passOnReport("");
    return failure;
  }
  return Pictures{std::move(run.value()), std::move(reader), stream.value()};
}

Outcome<Pictures> startPictures(const MovieMaking& making) {
  if (making.keptFields) {
    Outcome<Pictures> kept = startPictures(making, *making.keptFields);
    if (!kept || kept->stream.fieldOrder != quicktime::FieldOrder::progressive)
      return kept;
  }
  return startPictures(making, making.pictures);
}

// Pictures and sound up to their ends, and how the tools that decode them ended.
Outcome<bool> fill(const MovieMaking& making, Pictures& pictures, const SoundFeeds& sounds,
                   const quicktime::VideoFormat& format, MovieWriter& movie,
                   ProgressLines& progress) {
  const auto encoder = making.codec.encoderFor(pictures.stream, format.fieldOrder, format.colours);
  if (!encoder)
    return Failure{encoder.reason()};
  for (const auto& sound : sounds) {
    Outcome<bool> opened = sound->open(movie);
    if (!opened)
      return opened;
  }
  const Outcome<bool> encoded =
      encodePictures(*pictures.reader, pictures.stream, *encoder.value(),
                     1 / perSecond(format.frameRate), sounds, movie, progress);
  // A failure to write is ours.
  if (!encoded)
    return movie.failure().empty() ? reasonOf(pictures.run, encoded.reason())
                                   : Failure{encoded.reason()};
  Outcome<bool> finished = pictures.run.finish();
  if (!finished)
    return finished;
  pictures.run.passOnReport("");
  for (const auto& sound : sounds) {
    Outcome<bool> ended = sound->finish(movie);
    if (!ended)
      return ended;
  }
  return true;
}

// What the movie says besides its pictures. The report is whole when the run has ended well.
void describe(const MovieMaking& making, const Pictures& pictures, const SoundFeeds& sounds,
              bool hasReport, const quicktime::Fraction& frameRate, MovieWriter& movie) {
  const bool isTold = making.isLikeFfmpeg && hasReport;
  const std::string_view report = isTold ? pictures.run.report() : std::string_view();
  const auto code = timeCode(isTold ? timeCodeOf(report) : making.timeCode, perSecond(frameRate));
  if (code)
    movie.setTimeCode(*code);
  SourceTexts own = isTold ? sourceTexts(report) : making.texts;
  movie.setTexts(std::move(own.texts), own.made.value_or(0));
  const auto names = isTold ? sourceSounds(report) : making.soundNames;
  for (std::size_t place = 0; place < sounds.size(); ++place)
    if (const auto track = sounds[place]->track())
      movie.nameSound(*track, soundOf(names, making.sounds[place].stream).name);
}

}  // namespace

Outcome<bool> makeMovie(const MovieMaking& making) {
  Outcome<quicktime::PartialFile> file = making.isLikeFfmpeg
                                             ? quicktime::PartialFile::createInPlace(making.output)
                                             : quicktime::PartialFile::create(making.output);
  if (!file)
    return Failure{file.reason()};
  const quicktime::InterruptGuard guard(file->temporaryName());
  SoundFeeds sounds;
  for (const SoundMaking& each : making.sounds) {
    auto sound = SoundFeed::start(making.ffmpeg, each.arguments);
    if (!sound)
      return Failure{sound.reason()};
    sounds.push_back(std::move(sound.value()));
  }
  Outcome<Pictures> pictures = startPictures(making);
  if (!pictures)
    return Failure{pictures.reason()};
  if (making.isLikeFfmpeg)
    pictures->run.passOnFromNow();
  Outcome<quicktime::VideoFormat> format = making.format(pictures->stream);
  if (!format)
    return Failure{format.reason()};
  making.codec.name(format.value());
  Outcome<MovieWriter> movie = MovieWriter::create(std::move(file.value()), format.value());
  if (!movie)
    return Failure{movie.reason()};

  ProgressLines progress(making.duration);
  Outcome<bool> filled = fill(making, *pictures, sounds, format.value(), movie.value(), progress);
  if (filled && movie->frameCount() == 0)
    filled = Failure{"there are no pictures in " + making.source};
  if (!filled && (!making.isLikeFfmpeg || movie->frameCount() == 0))
    return filled;
  // As far as it came it can be played.
  describe(making, *pictures, sounds, filled.ok(), format->frameRate, movie.value());
  const Outcome<bool> finished = movie->finish(making.replace);
  if (!filled || !finished)
    return filled ? finished : filled;
  progress.end();
  return true;
}

}  // namespace tessarin::movtool
