#include "tools/joinclips/partKinds.h"

#include <cmath>
#include <cstdlib>
#include <filesystem>

#include "classShared/TextAdditions.h"
#include "tools/joinclips/FactsOfFiles.h"
#include "tools/joinclips/clipFacts.h"
#include "tools/joinclips/dvFacts.h"
#include "tools/joinclips/movieParts.h"
#include "tools/joinclips/mxfParts.h"
#include "tools/joinclips/partNames.h"
#include "tools/joinclips/partOverlap.h"
#include "tools/joinclips/programFacts.h"

namespace tessarin::joining {

namespace {

class TransportParts : public PartKind {
 public:
  std::optional<std::string> nextName(const std::string& file, const KnownFiles& known) override {
    if (const auto behind = known.upper_bound(file);
        behind != known.end() && mayFollowOnRecorder(file, behind->first))
      return behind->first;
    auto name = nextHexadecimalName(file);
    return name ? name : joining::nextName(file);
  }
  Link link(CardSays says, const std::string& file, const std::string& next) override {
    if (says == CardSays::apart || (says == CardSays::nothing && !isFull(file)))
      return Link::apart;
    const ClipFacts* first = facts_.of(file);
    const ClipFacts* behind = facts_.of(next);
    const bool isPart =
        first != nullptr &&
        (behind == nullptr ? isRest(file, next)
                           : goesOn(*first, *behind) || (beginsInside(*first, *behind) &&
                                                         repeatedPackets(file, next) > 0));
    return isPart ? Link::goesOn : Link::doubtful;
  }
  // A last part in which no picture begins has no length.
  std::vector<double> lengths(const std::vector<std::string>& parts) override {
    std::vector<double> lengths = lengthsOf(facts_.all(parts));
    lengths.resize(parts.size(), lengths.back());
    return lengths;
  }

 private:
  FactsOfFiles<ClipFacts> facts_{clipFacts};
};

class ProgramParts : public PartKind {
 public:
  std::optional<std::string> nextName(const std::string& file, const KnownFiles&) override {
    const auto name = nextHexadecimalName(file);
    return name ? name : joining::nextName(file);
  }
  Link link(CardSays, const std::string& file, const std::string& next) override {
    const Link otherwise = isFull(file) ? Link::doubtful : Link::apart;
    if (!beginsLater(file, next))
      return otherwise;
    const ClipFacts* first = facts_.of(file);
    const ClipFacts* behind = facts_.of(next);
    return first != nullptr && behind != nullptr && goesOn(*first, *behind) ? Link::goesOn
                                                                            : otherwise;
  }
  std::vector<double> lengths(const std::vector<std::string>& parts) override {
    return lengthsOf(facts_.all(parts));
  }

 private:
  FactsOfFiles<ClipFacts> facts_{programFacts};
};

class DvParts : public PartKind {
 public:
  std::optional<std::string> nextName(const std::string& file, const KnownFiles&) override {
    return joining::nextName(file);
  }
  Link link(CardSays, const std::string& file, const std::string& next) override {
    const DvFacts* first = facts_.of(file);
    const DvFacts* behind = facts_.of(next);
    if (first != nullptr && behind != nullptr && goesOn(*first, *behind))
      return Link::goesOn;
    return isFull(file) ? Link::doubtful : Link::apart;
  }
  std::vector<double> lengths(const std::vector<std::string>& parts) override {
    return sumsOfSeconds(facts_.all(parts));
  }

 private:
  FactsOfFiles<DvFacts> facts_{dvFacts};
};

}  // namespace

bool isFull(const std::string& file) {
  std::error_code failed;
  const auto bytes = std::filesystem::file_size(file, failed);
  return !failed && mayGoOn(CardSays::nothing, bytes);
}

std::shared_ptr<PartKind> partKindOf(const std::string& file) {
  struct Kind {
    std::vector<std::string_view> extensions;
    std::shared_ptr<PartKind> kind;
  };
  static const std::vector<Kind> kinds{
      {{"mts", "m2ts", "m2t", "ts", "tod"}, std::make_shared<TransportParts>()},
      {{"mod", "mpg", "mpeg", "vob"}, std::make_shared<ProgramParts>()},
      {{"dv", "dif"}, std::make_shared<DvParts>()},
      {{"mp4", "mov", "m4v", "360"}, movieParts()}};
  if (hasPathExtension(file, "mxf"))
    return mxfPartsOf(file);
  for (const Kind& kind : kinds)
    for (const std::string_view extension : kind.extensions)
      if (hasPathExtension(file, extension))
        return kind.kind;
  return nullptr;
}

}  // namespace tessarin::joining
