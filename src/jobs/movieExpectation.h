// What the movie of a job has to be. Pure functions.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "classShared/TextAdditions.h"
#include "ffmpeg/packetMeter.h"
#include "jobs/jobPlan.h"
#include "movie/movieCheck.h"

namespace tessarin {

// Whether the clock of the source may jump, as in the formats of broadcasts and discs.
bool isStreamed(const Source& source);

// By what the analysis knows: as long as the source is said to be, give or take a few pictures. A
// movie that passes is right; for one that does not the source has to be measured, for what the
// analysis knows is often a guess. Nothing when it does not know how long the source is.
std::optional<ExpectedMovie> expectedByAnalysis(const JobPlan& plan);

// By the packets of the source. `damagedPictures` and `damagedSound` may be missing.
ExpectedMovie expectedByMeasure(const JobPlan& plan, const SourceMeasure& measure,
                                std::size_t damagedPictures, std::size_t damagedSound);

// How many pictures the movie has too few, where each of a steady source makes one, or each makes
// two, or two make one.
std::size_t lostPictures(const JobPlan& plan, const SourceMeasure& measure,
                         const MovieIndex& movie);

// How many pictures the container of the source promises and the source has not, by its packets:
// zeros at the end of a file are readable, and many formats pass over them without a word. Only of
// containers that tell their length themselves, and where streams that are not converted cannot be
// what is longer. `isCut`: something is missing for certain, however little.
std::size_t missingPictures(const JobPlan& plan, const SourceMeasure& measure, bool isCut);

// How many pictures of the source lie before what the movie begins with, as its first key frame is
// gone. A second of them is no damage: a clip that was cut inside a group of pictures begins so.
std::size_t skippedPictures(const JobPlan& plan, const SourceMeasure& measure);

// Whether the movie begins so late that there may be such pictures.
bool mayBeginLate(const JobPlan& plan);

// How many whole pictures of the source last so long.
std::size_t picturesIn(double seconds, const Source& source);

// How many pictures are missing in holes of the source's clock, where the one before is shown on:
// they are lost, or were never recorded, or the pictures of a healthy source come irregularly.
// Short holes count as well where they are no irregularity: of a damaged source, for example.
std::size_t heldPictures(const JobPlan& plan, const SourceMeasure& measure, bool countsShort);

// Whether pictures have times beyond the length that the container of the source states, behind a
// hole that is as long: its clock is damaged.
bool isLongerThanTold(const JobPlan& plan, const SourceMeasure& measure);

// Whether the movie is made of less than so many seconds of the source.
bool isShorterThan(double seconds, const JobPlan& plan, const MovieIndex& movie);

// Whether the source is said to have more than the movie has, whatever was measured.
bool isShortOfPromise(const JobPlan& plan, const MovieIndex& movie);

// The command that lists the packets of the streams that the job converts (PacketMeter); empty
// when the job is not known to read one source.
Arguments measuringCommandOf(const JobPlan& plan);

// Why the movie is not right, in the user's language.
std::string reasonOf(const MovieVerdict& verdict);

}  // namespace tessarin
