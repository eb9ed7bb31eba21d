#include "core/KnownClips.h"

#include <algorithm>
#include <map>
#include <optional>
#include <utility>

#include "classShared/TextAdditions.h"
#include "classShared/log.h"
#include "prefs/utilsAlert.h"

namespace tessarin {

namespace {

// Most clips of a new card are told by their sizes; only the others are opened.
KnownClips::Finding knownAmong(const std::vector<KnownClips::Files>& clips,
                               const ConvertedRecord& record, const std::atomic<bool>& isWanted) {
  KnownClips::Finding finding;
  const auto [state, list] = record.read();
  finding.record = state;
  std::multimap<std::uint64_t, std::uint64_t> sums;  // by size
  for (const ClipMark& mark : list)
    sums.emplace(mark.bytes, mark.sum);
  for (const KnownClips::Files& files : clips) {
    if (!isWanted)
      break;
    const auto bytes = bytesOfClip(files);
    if (!bytes || !sums.contains(*bytes))
      continue;
    const auto mark = markOfClip(files);
    const auto [first, end] = sums.equal_range(*bytes);
    if (mark &&
        std::any_of(first, end, [&mark](const auto& each) { return each.second == mark->sum; }))
      finding.known.push_back(files.front());
  }
  return finding;
}

bool takesNothing(ConvertedRecord::State state) {
  return state == ConvertedRecord::State::newer || state == ConvertedRecord::State::unreadable;
}

}  // namespace

void KnownClips::find(std::vector<Files> clips, std::function<void(const Finding&)> told) {
  cancel();
  isWanted_ = std::make_shared<std::atomic<bool>>(true);
  auto finding = std::make_shared<Finding>();
  disk_.add(
      [clips = std::move(clips), path = path_, finding, isWanted = isWanted_]() -> Outcome<void> {
        if (!path.empty() && *isWanted)
          *finding = knownAmong(clips, ConvertedRecord(path), *isWanted);
        return {};
      },
      [this, finding, isWanted = isWanted_, told = std::move(told)](const Outcome<void>&) {
        if (!*isWanted)
          return;
        isRefusalTold_ = isRefusalTold_ || takesNothing(finding->record);
        told(*finding);
      });
}

void KnownClips::cancel() {
  if (isWanted_)
    *isWanted_ = false;
}

void KnownClips::converted(std::vector<ClipFile> files) {
  if (path_.empty())
    return;
  // Of a record that has taken nothing in; of a clip that has changed there is none.
  const auto state = std::make_shared<std::optional<ConvertedRecord::State>>();
  disk_.add(
      [files = std::move(files), path = path_, state]() -> Outcome<void> {
        const auto mark = markOfSameClip(files);
        if (!mark)
          return Failure{files.front().path + ": changed or away, and not remembered"};
        auto added = ConvertedRecord(path).add(*mark);
        if (!added)
          *state = ConvertedRecord(path).read().state;
        return added;
      },
      [this, state](const Outcome<void>& added) {
        if (!added)
          logFormat("converted clips     :-( {}", added.reason());
        if (*state && !std::exchange(isRefusalTold_, true))
          refused.emit(takesNothing(**state)
                           ? troubleOfRecord(**state, path_)
                           : localisationString("why_recordNotWritten", "", path_,
                                                replaceAll(added.reason(), path_ + ": ", "")));
      });
}

std::string troubleOfRecord(ConvertedRecord::State state, const std::string& path) {
  switch (state) {
    case ConvertedRecord::State::damaged:
      return localisationString("why_damagedRecord", "", path);
    case ConvertedRecord::State::unreadable:
      return localisationString("why_unreadableRecord", "", path);
    case ConvertedRecord::State::newer:
      return localisationString("why_newerRecord", "", path);
    case ConvertedRecord::State::good:
      break;
  }
  return "";
}

}  // namespace tessarin
