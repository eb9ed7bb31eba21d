#include "tools/joinclips/mxfParts.h"

#include <algorithm>
#include <cmath>

#include "classShared/TextAdditions.h"
#include "movie/timeCode.h"
#include "tools/gettimestamps/mxfFile.h"
#include "tools/gettimestamps/p2Card.h"
#include "tools/joinclips/FactsOfFiles.h"
#include "tools/joinclips/partNames.h"

namespace tessarin::joining {

namespace {

Outcome<MxfFacts> factsOfMxf(const std::string& path) {
  BoundedFile file(path);
  if (auto facts = mxfFacts(file))
    return *std::move(facts);
  return Failure{"tells no length"};
}

bool areMadeAlike(const MxfFacts& first, const MxfFacts& next) {
  return first.rate == next.rate && first.kind == next.kind;
}

// By what the clip on the card says, which may be known or not.
Outcome<P2Clip> clipOnCard(const std::string& path) {
  if (auto clip = p2ClipOf(path))
    return *std::move(clip);
  return Failure{"is not told of"};
}

class MxfParts : public PartKind {
 public:
  std::vector<double> lengths(const std::vector<std::string>& parts) override {
    return sumsOfSeconds(facts_.all(parts));
  }

 protected:
  const MxfFacts* factsOf(const std::string& file) { return facts_.of(file); }

 private:
  FactsOfFiles<MxfFacts> facts_{factsOfMxf};
};

// A clip of the card says which one comes before and behind it, on whatever card that is.
class P2Parts : public MxfParts {
 public:
  std::optional<std::string> nextName(const std::string& file, const KnownFiles& known) override {
    const P2Clip* clip = clips_.of(file);
    return clip == nullptr || clip->next.empty() ? std::nullopt : fileOf(clip->next, file, known);
  }
  bool goesOnSomewhere(const std::string& file) override {
    const P2Clip* clip = clips_.of(file);
    return clip != nullptr && !clip->next.empty();
  }
  bool isLaterPart(const std::string& file) override {
    const P2Clip* clip = clips_.of(file);
    return clip != nullptr && !clip->previous.empty();
  }
  Link link(CardSays, const std::string& file, const std::string& next) override {
    const P2Clip& first = *clips_.of(file);
    const P2Clip& behind = *clips_.of(next);
    const bool isNext = behind.previous == first.id && first.offset && first.frames &&
                        behind.offset == *first.offset + *first.frames &&
                        first.sounds == behind.sounds;
    const MxfFacts* pictures = factsOf(file);
    const MxfFacts* further = factsOf(next);
    const bool isWhole = isNext && pictures != nullptr && further != nullptr &&
                         areMadeAlike(*pictures, *further) && pictures->units == first.frames &&
                         further->units == behind.frames && haveSameSounds(file, next);
    return isWhole ? Link::goesOn : Link::doubtful;
  }

 private:
  // A copy of a card has the same clips: those of one folder belong together.
  std::optional<std::string> fileOf(const std::string& id, const std::string& before,
                                    const KnownFiles& known) {
    if (files_.empty())
      for (const auto& [path, place] : known)
        if (const P2Clip* clip = isOnP2Card(path) ? clips_.of(path) : nullptr)
          files_.emplace(clip->id, path);
    const auto [first, end] = files_.equal_range(id);
    const auto beside = std::find_if(first, end, [&before](const auto& file) {
      return file.second != before && parentFolder(file.second) == parentFolder(before);
    });
    if (beside != end)
      return beside->second;
    return std::distance(first, end) == 1 ? std::optional(first->second) : std::nullopt;
  }
  // And each is as long as the pictures.
  bool haveSameSounds(const std::string& file, const std::string& next) {
    const P2Sounds sounds = p2SoundsOf(file);
    const P2Sounds further = p2SoundsOf(next);
    if (sounds.missing + further.missing > 0 || sounds.files.size() != further.files.size())
      return false;
    for (std::size_t channel = 0; channel < sounds.files.size(); ++channel) {
      const MxfFacts* one = factsOf(sounds.files[channel]);
      const MxfFacts* other = factsOf(further.files[channel]);
      if (one == nullptr || other == nullptr || !areMadeAlike(*one, *other) ||
          !lastsAsLong(*one, *factsOf(file)) || !lastsAsLong(*other, *factsOf(next)))
        return false;
    }
    return true;
  }
  static bool lastsAsLong(const MxfFacts& sound, const MxfFacts& pictures) {
    constexpr double mostPictures = 0.5;
    return std::abs(sound.seconds() - pictures.seconds()) * pictures.rate <= mostPictures;
  }

  FactsOfFiles<P2Clip> clips_{clipOnCard};
  std::multimap<std::string, std::string> files_;  // by the name that the clip has in the world
};

// A folder has the files of one recording, by number; their time codes have to meet.
class NumberedMxfParts : public MxfParts {
 public:
  std::optional<std::string> nextName(const std::string& file, const KnownFiles&) override {
    return nextNameInFolder(file);
  }
  bool isNamedAsPart(const std::string& next) const override {
    return nextNameInFolder(next).has_value();
  }
  bool isLaterPart(const std::string& file) override { return partNumber(file) > 1; }
  Link link(CardSays, const std::string& file, const std::string& next) override {
    const MxfFacts* first = factsOf(file);
    const MxfFacts* behind = factsOf(next);
    const bool isNext = first != nullptr && behind != nullptr && areMadeAlike(*first, *behind) &&
                        first->timeCode && first->units > 0 &&
                        codeBehind(*first) == behind->timeCode;
    return isNext ? Link::goesOn : Link::doubtful;
  }

 private:
  // Cameras of 50 and 60 pictures a second may count pairs of them.
  static std::optional<TimeCode> codeBehind(const MxfFacts& part) {
    const auto own = static_cast<std::int64_t>(std::llround(part.rate));
    const std::int64_t counted =
        part.units * part.timeCode->framesPerSecond / std::max<std::int64_t>(own, 1);
    return counted <= 0xFFFFFFFF
               ? std::optional(laterTimeCode(*part.timeCode, static_cast<std::uint32_t>(counted)))
               : std::nullopt;
  }
};

}  // namespace

std::shared_ptr<PartKind> mxfPartsOf(const std::string& file) {
  static const auto onP2Card = std::make_shared<P2Parts>();
  static const auto numbered = std::make_shared<NumberedMxfParts>();
  if (isOnP2Card(file))
    return onP2Card;
  return numbered;
}

}  // namespace tessarin::joining
