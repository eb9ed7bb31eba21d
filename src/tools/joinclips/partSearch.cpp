#include "tools/joinclips/partSearch.h"

#include <fmt/ranges.h>

#include <map>
#include <optional>
#include <set>

#include "classShared/TextAdditions.h"
#include "classShared/descriptorBytes.h"
#include "tools/gettimestamps/card.h"
#include "tools/joinclips/partKinds.h"
#include "utils/files.h"

namespace tessarin::joining {

namespace {

// The files among which parts of recordings are looked for, and what their cards say.
class PartSearch {
 public:
  explicit PartSearch(const std::vector<std::string>& files) : files_(files) {
    for (std::size_t file = 0; file < files.size(); ++file)
      placeOf_.emplace(files[file], file);
  }

  void tell() {
    std::map<std::size_t, std::size_t> next;
    for (std::size_t file = 0; file < files_.size(); ++file)
      if (const auto following = nextOf(file))
        next.emplace(file, *following);
    leaveOutForks(next);
    // None goes on in one that it follows: parts begin ever later.
    std::map<std::size_t, std::size_t> rest = next;
    std::set<std::size_t> later;
    for (const auto& [file, following] : next) {
      rest.erase(following);
      later.insert(following);
    }
    for (const auto& [first, following] : rest) {
      std::vector<std::size_t> parts{first};
      for (auto link = next.find(first); link != next.end(); link = next.find(link->second))
        parts.push_back(link->second);
      print(parts);
    }
    tellOfLater(later);
  }

 private:
  // Of the clip of that name behind this file.
  CardSays cardSays(std::size_t file, const std::string& following) {
    const std::string folder = parentFolder(files_[file]);
    auto known = cards_.find(folder);
    if (known == cards_.end())
      known = cards_.emplace(folder, continuationsOnCard(folder)).first;
    const auto& clips = known->second;
    const std::string name = fileName(withoutExtension(files_[file]));
    if (const auto clip = clips.find(fileName(withoutExtension(following))); clip != clips.end())
      return clip->second == name ? CardSays::goesOn : CardSays::apart;
    return clips.contains(name) ? CardSays::apart : CardSays::nothing;
  }
  // The file in which this one goes on. Its readers take one that cannot be read for one that does
  // not tell.
  std::optional<std::size_t> nextOf(std::size_t file) {
    takeReadError();
    const auto next = found(file);
    if (!next && takeReadError() != 0)
      fmt::print("unread {}\n", file);
    return next;
  }
  std::optional<std::size_t> found(std::size_t file) {
    const auto kind = partKindOf(files_[file]);
    const auto name = kind ? kind->nextName(files_[file], placeOf_) : std::nullopt;
    if (!name) {
      if (kind && kind->goesOnSomewhere(files_[file]))
        tellDoubt(file);
      return std::nullopt;
    }
    const CardSays says = cardSays(file, *name);
    const auto following = placeOf_.find(*name);
    if (following == placeOf_.end()) {
      if ((says == CardSays::goesOn || isBeforeNamedPart(*kind, *name)) && !pathExists(*name))
        tellDoubt(file);
      return std::nullopt;
    }
    const Link link = kind->link(says, files_[file], *name);
    if (link == Link::doubtful)
      tellDoubt(file);
    return link == Link::goesOn ? std::optional(following->second) : std::nullopt;
  }
  // Whether the part behind the missing one is there.
  bool isBeforeNamedPart(PartKind& kind, const std::string& missing) const {
    const auto behind =
        kind.isNamedAsPart(missing) ? kind.nextName(missing, placeOf_) : std::nullopt;
    return behind && placeOf_.contains(*behind);
  }
  // A file in which several go on is none's.
  static void leaveOutForks(std::map<std::size_t, std::size_t>& next) {
    std::map<std::size_t, int> before;
    for (const auto& [file, following] : next)
      ++before[following];
    std::erase_if(next, [&before](const auto& link) {
      if (before[link.second] > 1)
        tellDoubt(link.first);
      return before[link.second] > 1;
    });
  }
  // What is before them is not there, or does not fit.
  void tellOfLater(const std::set<std::size_t>& joined) const {
    for (std::size_t file = 0; file < files_.size(); ++file)
      if (const auto kind = partKindOf(files_[file]);
          kind && !joined.contains(file) && kind->isLaterPart(files_[file]))
        fmt::print("later {}\n", file);
  }
  static void tellDoubt(std::size_t file) {
    fmt::print("{} {}\n", takeReadError() == 0 ? "doubtful" : "unread", file);
  }
  void print(const std::vector<std::size_t>& parts) {
    std::vector<std::string> files;
    files.reserve(parts.size());
    for (const std::size_t part : parts)
      files.push_back(files_[part]);
    fmt::print("parts {}: {:.3f}\n", fmt::join(parts, " "),
               fmt::join(partKindOf(files.front())->lengths(files), " "));
  }

  const std::vector<std::string>& files_;
  KnownFiles placeOf_;
  std::map<std::string, std::map<std::string, std::string>> cards_;  // by folder
};

}  // namespace

void tellParts(const std::vector<std::string>& files) {
  PartSearch(files).tell();
}

}  // namespace tessarin::joining
