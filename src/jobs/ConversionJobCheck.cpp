// What looks at the movie of a job once the last tool has made it.
#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "classShared/TextAdditions.h"
#include "classShared/log.h"
#include "encoding/toldFacts.h"
#include "jobs/ConversionJob.h"
#include "jobs/failureReason.h"
#include "jobs/joinedParts.h"
#include "jobs/movieExpectation.h"
#include "jobs/movieLook.h"
#include "prefs/utilsAlert.h"
#include "utils/fileSection.h"
#include "utils/files.h"

namespace tessarin {

namespace {

// Whether the rate of the sound may change in the middle, as in DV scenes of several cameras:
// ffmpeg takes all for that of the first scene and tells nothing.
bool maySoundChange(const Source& source) {
  return source.pictures.codec == "dvvideo" && source.sound.id &&
         startsWith(source.sound.codec, "pcm_s16le");
}

// Whether each packet has its place in time by the format, so that those that are gone show: where
// one does not begin as it should programs pass over it without a word.
bool tellsPlaces(const Source& source) {
  return firstContainer(source) == "mxf";
}

// Reads the bytes of a source that is read as it stands.
Arguments readingCommand(const std::string& path) {
  Arguments command = {"/bin/dd", "if=" + fileOfSource(path), "of=/dev/null", "bs=1M",
                       "status=none"};
  if (const auto section = sectionOf(path))
    command.insert(command.end(),
                   {"iflag=skip_bytes,count_bytes", fmt::format("skip={}", section->begin),
                    fmt::format("count={}", section->end - section->begin)});
  return command;
}

// Whether each packet has its time, but pictures may come irregularly.
bool tellsTimes(const Source& source) {
  return firstContainer(source) == "matroska";
}

// Sound in files of its own is as long as the pictures; unless a file was cut.
bool endsSoundEarly(const MovieIndex& movie, const JobPlan& plan) {
  constexpr double slack = 0.3;
  const double due = (plan.slowsSound ? 2 : 1) * lengthOf(plan.row.source);
  const std::vector<const MovieTrack*> sounds = movie.sounds();
  return std::any_of(sounds.begin(), sounds.end(),
                     [due](const MovieTrack* sound) { return sound->seconds + slack < due; });
}

}  // namespace

// What the disks are asked here is done by a thread: a share may hang, and long indexes are written
// anew. A stop or a pause may come meanwhile.
void ConversionJob::check() {
  const auto look = std::make_shared<MovieLook>();
  const LookedAt what{work_, plan_->isCopy, toldFacts(order_.row.source), order_.row.source,
                      files_};
  look_.ask([look, what] { *look = lookAtMovie(what); },
            [this, look] { next_.set([this, look] { judge(std::move(*look)); }); });
}

// A movie is converted when it is as long as its source, by its own index. Where what the analysis
// knows raises doubt the source is measured.
void ConversionJob::judge(MovieLook look) {
  if (!look.mayHoldMovie) {
    end();
    return;
  }
  if (!look.written) {
    fail(whyDestination(look.written.reason()));
    return;
  }
  if (!look.index) {
    logFormat("check               :-( {}: {}", work_, look.index.reason());
    fail(withCause(localisationString("why_noIndex"), look.index.reason()));
    return;
  }
  movie_ = *std::move(look.index);
  if (look.hasSourceChanged) {
    fail(localisationString("why_sourceChanged"));
    return;
  }
  if (look.lacksSamples || (look.promise && isShorterThan(*look.promise, *plan_, movie_))) {
    fail(localisationString("why_endsEarly"));
    return;
  }
  promisedPictures_ = look.promisedPictures;
  emptyEnds_ = look.emptyEnds;
  if (look.lostSoundChunks > 0) {
    logFormat("check               :-( {} pieces of sound are not in their places",
              look.lostSoundChunks);
    damagedSound_ = std::max<std::size_t>(damagedSound_, look.lostSoundChunks);
  }
  capDamage();
  hasMore_ = parts_.hasMore || look.hasFurtherMovie;
  if (const MovieVerdict verdict = judgeMovie(movie_, {}); !verdict.isRight()) {
    fail(reasonOf(verdict));
    return;
  }
  const auto expected = expectedByAnalysis(*plan_);
  const Source& source = plan_->row.source;
  if (!source.soundFiles.empty() && endsSoundEarly(movie_, *plan_)) {
    logLine("check               :-( a file with sound ends before the pictures");
    damagedSound_ = std::max<std::size_t>(damagedSound_, 1);
  }
  isAsLongAsKnown_ = expected && judgeMovie(movie_, *expected).isRight();
  // A hole has its place in the length.
  const bool mayHaveHoles = damagedPictures_ > 0 || parts_.isDoubtful || promisedPictures_ ||
                            emptyEnds_ > 0 || mayBeginLate(*plan_) || tellsPlaces(source) ||
                            tellsTimes(source);
  if (isAsLongAsKnown_ && !maySoundChange(source) && !mayHaveHoles) {
    end();
    return;
  }
  measure();
}

void ConversionJob::measure() {
  const Arguments command = measuringCommandOf(*plan_);
  if (command.empty()) {
    fail(localisationString("why_notMeasured"));
    return;
  }
  logLine("check               : measuring the source");
  looking_ = Looking::atPackets;
  meter_ = PacketMeter();
  startTool(command, ParseMode::time, order_.row.source.duration.value_or(0));
}

void ConversionJob::lookEnded(const ToolEnd& end) {
  const bool isRead = end.status == 0 && end.troubles.readError().empty();
  if (looking_ != Looking::atJoints && haveChanged(files_)) {
    fail(localisationString("why_sourceChanged"));
    return;
  }
  switch (looking_) {
    case Looking::atNothing:
      return;
    case Looking::atPackets:
      return packetsRead(end);
    case Looking::atJoints:
      // That the clip cannot be read (status 1) is told by the conversion.
      return end.signal != 0 || end.status > 1 ? fail(failureReason(end, order_.row.path()))
                                               : jointsAreKnown(isRead);
    case Looking::atBytes:
      return end.status == 0 ? go(Step::end)
                             : fail(localisationString("why_readError", "", systemReason(EIO)));
  }
}

void ConversionJob::packetsRead(const ToolEnd& end) {
  if (!end.troubles.readError().empty()) {
    fail(localisationString("why_readError", "", end.troubles.readError()));
    return;
  }
  measure_ = meter_.result();
  measureTroubles_ = end.troubles;
  if (end.status != 0 || !measure_.pictures) {
    logFormat("check               :-( {}", end.lastOutput);
    if (isAsLongAsKnown_)
      go(Step::end);
    else
      fail(localisationString("why_notMeasured"));
  } else {
    judgeMeasure();
  }
}

void ConversionJob::judgeMeasure() {
  // Damaged pictures of DV are in the movie nevertheless, and missing ones have no time there.
  const bool isDv = plan_->row.source.pictures.codec == "dvvideo";
  const MovieVerdict verdict = judgeMovie(
      movie_,
      expectedByMeasure(*plan_, measure_, isDv ? spoiltInTools_ : damagedPictures_, damagedSound_));
  if (!verdict.isRight() && !isAsLongAsKnown_) {
    fail(reasonOf(verdict));
    return;
  }
  countDamage();
  if (hasMore_ || !isShortOfPromise(*plan_, movie_)) {
    go(Step::end);
    return;
  }
  // The source says that it has more. Either that is wrong, or nobody has read all of it.
  if (troubles_.endsEarly() || measureTroubles_.endsEarly()) {
    fail(localisationString("why_endsEarly"));
  } else if (!troubles_.givenUp().empty() || !measureTroubles_.givenUp().empty()) {
    fail(localisationString(
        "why_givenUp", "",
        troubles_.givenUp().empty() ? measureTroubles_.givenUp() : troubles_.givenUp()));
  } else if (static_cast<double>(measure_.bytes) < sourceBytes() / 2) {
    fail(localisationString("why_partRead"));
  } else {
    startReading();
  }
}

// A decoder may complain many times of one picture.
void ConversionJob::capDamage() {
  const MovieTrack* pictures = movie_.pictures();
  const std::size_t most =
      std::max<std::size_t>({pictures != nullptr ? pictures->shown : 0,
                             picturesIn(lengthOf(order_.row.source), order_.row.source),
                             picturesIn(parts_.picturesLost, order_.row.source)});
  damagedPictures_ = std::min(damagedPictures_, most);
}

// What is missing or out of place, and neither tool spoke of.
void ConversionJob::countDamage() {
  const SourceMeasure& measure = measure_;
  if (measure.pictures->displaced > 0) {
    logFormat("check               :-( {} pictures are out of their places in the source",
              measure.pictures->displaced);
    damagedPictures_ = std::max<std::size_t>(damagedPictures_, measure.pictures->displaced);
  }
  // All pictures of DV have one size, and what is missing of the last one is filled from the one
  // before.
  const auto size = static_cast<double>(measure.pictures->firstSize);
  const bool isLastTorn =
      firstContainer(plan_->row.source) == "dv" && size > 0 && std::fmod(sourceBytes(), size) != 0;
  const std::size_t spoilt = measure.pictures->spoilt + (isLastTorn ? 1 : 0);
  if (spoilt > damagedPictures_) {
    logFormat("check               :-( {} pictures of the source are empty or cut off", spoilt);
    damagedPictures_ = spoilt;
  }
  if (const std::uint64_t missing = promisedPictures_.value_or(0);
      missing > measure.pictures->packets &&
      missing - measure.pictures->packets > damagedPictures_) {
    logFormat("check               :-( the index of the source has {} pictures, the source {}",
              missing, measure.pictures->packets);
    damagedPictures_ = missing - measure.pictures->packets;
  }
  if (const std::size_t lost = lostPictures(*plan_, measure, movie_); lost > damagedPictures_) {
    logFormat("check               :-( {} pictures of the source are not in the movie", lost);
    damagedPictures_ = lost;
  }
  if (const std::size_t skipped = skippedPictures(*plan_, measure); skipped > damagedPictures_) {
    logFormat("check               :-( {} pictures lie before the first key frame", skipped);
    damagedPictures_ = skipped;
  }
  const bool isCut = emptyEnds_ > 0 && tellsTimes(plan_->row.source);
  if (const std::size_t missing = missingPictures(*plan_, measure, isCut);
      missing > damagedPictures_) {
    logFormat("check               :-( the source tells of {} pictures that it has not", missing);
    damagedPictures_ = missing;
  }
  const bool countsHoles = damagedPictures_ > 0 || tellsPlaces(plan_->row.source) ||
                           (tellsTimes(plan_->row.source) && measure.pictures->areHolesRare);
  const bool isUnhealthy =
      isStreamed(plan_->row.source) || countsHoles || isLongerThanTold(*plan_, measure);
  if (const std::size_t held = isUnhealthy ? heldPictures(*plan_, measure, countsHoles) : 0;
      held > damagedPictures_) {
    logFormat("check               :-( no pictures for {} s of the source",
              std::max(measure.pictures->gaps, measure.pictures->holes));
    damagedPictures_ = held;
  }
  capDamage();
  // Of those the source tells nothing any more: as many as are in as much of the rest.
  const bool isTold = isCut && plan_->row.source.seconds;
  const double share = isTold ? 0 : emptyEnds_ / (1 - emptyEnds_);
  if (const auto empty = static_cast<std::size_t>(
          std::ceil(share * static_cast<double>(measure.pictures->packets)));
      empty > damagedPictures_) {
    logFormat("check               :-( nothing is in {:.0f} % of the source, at its ends",
              std::ceil(100 * emptyEnds_));
    damagedPictures_ = empty;
  }
  countDamageOfSounds();
}

void ConversionJob::countDamageOfSounds() {
  constexpr double slack = 0.3;
  constexpr double leastLoss = 1;
  // What belongs beside pictures with such times comes as late.
  if (isLongerThanTold(*plan_, measure_) && !measure_.sounds.empty())
    damagedSound_ = std::max<std::size_t>(damagedSound_, 1);
  const bool mayChange = maySoundChange(plan_->row.source);
  const bool isProgramStream = firstContainer(plan_->row.source) == "mpeg";
  const std::vector<const MovieTrack*> made = movie_.sounds();
  for (std::size_t place = 0; place < measure_.sounds.size(); ++place) {
    const MeasuredStream& sound = measure_.sounds[place];
    // Each picture of DV has its sound; behind a hole ffmpeg may find none any more.
    if (mayChange && sound.end + slack < measure_.pictures->end) {
      logFormat("check               :-( sound up to {} s, pictures up to {} s", sound.end,
                measure_.pictures->end);
      damagedSound_ = std::max<std::size_t>(damagedSound_, 1);
    }
    // Behind a joint of program streams there may be none with the same codec.
    if (isProgramStream && place == 0 && sound.lasting + leastLoss < measure_.pictures->lasting) {
      logFormat("check               :-( sound for {} s, pictures for {} s", sound.lasting,
                measure_.pictures->lasting);
      damagedSound_ = std::max<std::size_t>(damagedSound_, 1);
    }
    constexpr double leastHole = 0.01;
    if (tellsPlaces(plan_->row.source) && sound.lasting + leastHole < sound.end - sound.first) {
      logFormat("check               :-( sound for {} s of {} s", sound.lasting,
                sound.end - sound.first);
      damagedSound_ = std::max<std::size_t>(damagedSound_, 1);
    }
    // Where the sound changes its channels ffmpeg from 6.0 on fills all the time before with
    // silence once more, and what comes behind is out of step.
    if (place < made.size() &&
        made[place]->seconds > (plan_->slowsSound ? 2 : 1) * (sound.end * 1.01 + slack)) {
      logFormat("check               :-( sound for {} s, in the source for {} s",
                made[place]->seconds, sound.end);
      damagedSound_ = std::max<std::size_t>(damagedSound_, 1);
    }
    if (mayChange && sound.otherRate > 0) {
      logFormat("check               :-( {} packets of sound have another rate than the first",
                sound.otherRate);
      damagedSound_ = std::max<std::size_t>(damagedSound_, sound.otherRate);
    }
  }
}

// Some formats take an error of the disk for the end of the file.
void ConversionJob::startReading() {
  looking_ = Looking::atBytes;
  const Source& source = order_.row.source;
  startTool(isReadJoined(source) ? jointList(source) : readingCommand(source.path),
            ParseMode::endless, 0);
}

}  // namespace tessarin
