#include "tools/joinclips/partKinds.h"

#include <cmath>
#include <cstdlib>
#include <filesystem>

#include "classShared/TextAdditions.h"
#include "tools/joinclips/clipFacts.h"
#include "tools/joinclips/dvFacts.h"
#include "tools/joinclips/movieJoint.h"
#include "tools/joinclips/partNames.h"
#include "tools/joinclips/programFacts.h"

namespace tessarin::joining {

namespace {

bool isFull(const std::string& file) {
  std::error_code failed;
  const auto bytes = std::filesystem::file_size(file, failed);
  return !failed && mayGoOn(CardSays::nothing, bytes);
}

// What was read of files.
template <class Facts>
class FactsOfFiles {
 public:
  explicit FactsOfFiles(Outcome<Facts> (*read)(const std::string&)) : read_(read) {}

  // Null: it cannot be read, or does not tell.
  const Facts* of(const std::string& file) {
    auto known = facts_.find(file);
    if (known == facts_.end())
      known = facts_.emplace(file, read_(file)).first;
    return known->second ? &known->second.value() : nullptr;
  }
  std::vector<Facts> all(const std::vector<std::string>& files) {
    std::vector<Facts> facts;
    for (const std::string& file : files)
      if (const Facts* known = of(file))
        facts.push_back(*known);
    return facts;
  }

 private:
  Outcome<Facts> (*read_)(const std::string&);
  std::map<std::string, Outcome<Facts>> facts_;
};

// Where each but the first begins, and where the last ends.
template <class Facts>
std::vector<double> sumsOfSeconds(const std::vector<Facts>& parts) {
  std::vector<double> sums;
  sums.reserve(parts.size());
  double sum = 0;
  for (const Facts& part : parts)
    sums.push_back(sum += part.seconds());
  return sums;
}

class TransportParts : public PartKind {
 public:
  std::optional<std::string> nextName(const std::string& file,
                                      const KnownFiles& known) const override {
    if (const auto behind = known.upper_bound(file);
        behind != known.end() && mayFollowOnRecorder(file, behind->first))
      return behind->first;
    auto name = nextHexadecimalName(file);
    return name ? name : joining::nextName(file);
  }
  bool isNamedAsPart(const std::string&) const override { return false; }
  Link link(CardSays says, const std::string& file, const std::string& next) override {
    if (says == CardSays::apart || (says == CardSays::nothing && !isFull(file)))
      return Link::apart;
    const ClipFacts* first = facts_.of(file);
    const ClipFacts* behind = facts_.of(next);
    return first != nullptr && behind != nullptr && goesOn(*first, *behind) ? Link::goesOn
                                                                            : Link::doubtful;
  }
  std::vector<double> lengths(const std::vector<std::string>& parts) override {
    return lengthsOf(facts_.all(parts));
  }

 private:
  FactsOfFiles<ClipFacts> facts_{clipFacts};
};

class ProgramParts : public PartKind {
 public:
  std::optional<std::string> nextName(const std::string& file, const KnownFiles&) const override {
    const auto name = nextHexadecimalName(file);
    return name ? name : joining::nextName(file);
  }
  bool isNamedAsPart(const std::string&) const override { return false; }
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
  std::optional<std::string> nextName(const std::string& file, const KnownFiles&) const override {
    return joining::nextName(file);
  }
  bool isNamedAsPart(const std::string&) const override { return false; }
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

Outcome<MovieTables> movieFacts(const std::string& path) {
  auto tables = readMovieTables(path);
  if (tables)
    tables->forgetSamples();
  return tables;
}

class MovieParts : public PartKind {
 public:
  std::optional<std::string> nextName(const std::string& file, const KnownFiles&) const override {
    return isChapterName(file) ? nextChapterName(file) : joining::nextName(file);
  }
  bool isNamedAsPart(const std::string& next) const override { return isChapterName(next); }
  Link link(CardSays, const std::string& file, const std::string& next) override {
    if (!isChapterName(file) && !isFull(file))
      return Link::apart;
    const MovieTables* first = facts_.of(file);
    const MovieTables* behind = facts_.of(next);
    return first != nullptr && behind != nullptr && mayFollow(*first, *behind) &&
                   timesMeet(*first, *behind, isChapterName(file))
               ? Link::goesOn
               : Link::doubtful;
  }
  std::vector<double> lengths(const std::vector<std::string>& parts) override {
    return sumsOfSeconds(facts_.all(parts));
  }

 private:
  // Chapters may all have the time of the recording.
  static bool timesMeet(const MovieTables& first, const MovieTables& next, bool isChapter) {
    constexpr double slack = 2;  // seconds
    if (first.created == 0 || next.created == 0)
      return false;
    const double later = static_cast<double>(next.created) - static_cast<double>(first.created);
    return (isChapter && later == 0) || std::abs(later - first.seconds()) <= slack;
  }

  FactsOfFiles<MovieTables> facts_{movieFacts};
};

}  // namespace

std::shared_ptr<PartKind> partKindOf(const std::string& file) {
  struct Kind {
    std::vector<std::string_view> extensions;
    std::shared_ptr<PartKind> kind;
  };
  static const std::vector<Kind> kinds{
      {{"mts", "m2ts", "m2t", "ts", "tod"}, std::make_shared<TransportParts>()},
      {{"mod", "mpg", "mpeg", "vob"}, std::make_shared<ProgramParts>()},
      {{"dv", "dif"}, std::make_shared<DvParts>()},
      {{"mp4", "mov", "m4v", "360"}, std::make_shared<MovieParts>()}};
  for (const Kind& kind : kinds)
    for (const std::string_view extension : kind.extensions)
      if (hasPathExtension(file, extension))
        return kind.kind;
  return nullptr;
}

}  // namespace tessarin::joining
