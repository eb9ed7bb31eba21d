#include "tools/joinclips/movieParts.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <vector>

#include "movie/timeCode.h"
#include "tools/gettimestamps/card.h"
#include "tools/gettimestamps/takeList.h"
#include "tools/joinclips/FactsOfFiles.h"
#include "tools/joinclips/movieJoint.h"
#include "tools/joinclips/partNames.h"

namespace tessarin::joining {

namespace {

double rateOf(const MovieTables& movie) {
  return static_cast<double>(movie.pictures()->samples) / movie.seconds();
}

// The numbers of the pictures stand in the movie, or in the camera's file beside it.
Outcome<MovieTables> movieFacts(const std::string& path) {
  auto tables = readMovieTables(path);
  if (!tables)
    return tables;
  const JoinableTrack* pictures = tables->pictures();
  if (!tables->count && pictures != nullptr && tables->seconds() > 0) {
    const double rate = rateOf(*tables);
    if (const auto code = timeCode(factsBesideClip(path).timeCode, rate))
      tables->count = PictureCount{code->firstFrame, rate};
  }
  tables->forgetSamples();
  return tables;
}

// Whether the numbers of the second go on where those of the first end; nothing: they do not tell.
// Cameras count from their clocks, or pairs of pictures, so that some may be missing. Both may have
// the number of the recording's first picture.
std::optional<bool> countsMeet(const MovieTables& first, const MovieTables& next) {
  constexpr double slack = 0.5;  // seconds
  if (!first.count || !next.count || first.count->first == next.count->first)
    return std::nullopt;
  const double rate = next.count->perSecond;
  const double late =
      next.count->first / rate - first.count->first / first.count->perSecond - first.seconds();
  // At midnight, by the clock and by numbers of which none are dropped.
  constexpr double day = 24 * 60 * 60;
  const std::array turns{0.0, day, day * std::round(rate) / rate};
  return std::any_of(turns.begin(), turns.end(),
                     [late](double turn) { return std::abs(late + turn) <= slack; });
}

// Chapters may all have the time of the recording.
bool timesMeet(const MovieTables& first, const MovieTables& next, bool isNamedAsPart) {
  constexpr double slack = 2;  // seconds
  if (first.created == 0 || next.created == 0)
    return false;
  const double later = static_cast<double>(next.created) - static_cast<double>(first.created);
  return (isNamedAsPart && later == 0) || std::abs(later - first.seconds()) <= slack;
}

// Whether the list of the card has the next file whole behind the whole first; nothing: there is
// no list. What it leaves out of a file would be there twice.
std::optional<bool> areListed(const MovieTables& first, const std::string& next) {
  const std::vector<TakePart> parts = partsOfTake(next);
  const std::size_t number = partNumber(next);
  if (parts.empty() || number < 2)
    return std::nullopt;
  if (number > parts.size())
    return false;
  const auto end = timeCode(parts[number - 2].end, rateOf(first));
  const auto begin = timeCode(parts[number - 1].begin, rateOf(first));
  return (!begin || begin->firstFrame == 0) &&
         (!end || end->firstFrame == first.pictures()->samples);
}

class MovieParts : public PartKind {
 public:
  std::optional<std::string> nextName(const std::string& file, const KnownFiles&) override {
    if (auto take = nextTakeName(file))
      return take;
    return isChapterName(file) ? nextChapterName(file) : joining::nextName(file);
  }
  bool isNamedAsPart(const std::string& next) const override {
    return isChapterName(next) || isTakeName(next);
  }
  bool isLaterPart(const std::string& file) override { return partNumber(file) > 1; }
  Link link(CardSays, const std::string& file, const std::string& next) override {
    if (!isNamedAsPart(next) && !isFull(file))
      return Link::apart;
    const MovieTables* first = facts_.of(file);
    const MovieTables* behind = facts_.of(next);
    if (first == nullptr || behind == nullptr || !mayFollow(*first, *behind))
      return Link::doubtful;
    return fits(*first, next, *behind) ? Link::goesOn : Link::doubtful;
  }
  std::vector<double> lengths(const std::vector<std::string>& parts) override {
    return sumsOfSeconds(facts_.all(parts));
  }

 private:
  bool fits(const MovieTables& first, const std::string& next, const MovieTables& behind) const {
    const auto areCounted = countsMeet(first, behind);
    const bool isDue = timesMeet(first, behind, isNamedAsPart(next));
    if (isChapterName(next))
      return isDue && areCounted != false;
    const auto isListed = isTakeName(next) ? areListed(first, next) : std::nullopt;
    return isListed != false && areCounted.value_or(isListed.value_or(isDue));
  }

  FactsOfFiles<MovieTables> facts_{movieFacts};
};

}  // namespace

std::shared_ptr<PartKind> movieParts() {
  return std::make_shared<MovieParts>();
}

}  // namespace tessarin::joining
