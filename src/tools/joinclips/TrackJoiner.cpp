#include "tools/joinclips/TrackJoiner.h"

#include <algorithm>

#include "tools/joinclips/movieJoint.h"

namespace tessarin::joining {

namespace {

void expandSizes(JoinableTrack& track) {
  if (track.rawSize != 0 || track.tables.sameSize == 0)
    return;
  track.tables.sizes.assign(track.samples, track.tables.sameSize);
  track.tables.sameSize = 0;
}

void shorten(std::vector<SampleRun>& runs, std::uint64_t count) {
  while (count > 0 && !runs.empty()) {
    const std::uint64_t taken = std::min<std::uint64_t>(count, runs.back().count);
    runs.back().count -= static_cast<std::uint32_t>(taken);
    count -= taken;
    if (runs.back().count == 0)
      runs.pop_back();
  }
}

}  // namespace

TrackJoiner::TrackJoiner(JoinableTrack first) : track_(std::move(first)) {
  expandSizes(track_);
  end_ = static_cast<std::int64_t>(track_.ticks);
}

bool TrackJoiner::stretch(std::int64_t ticks) {
  if (ticks == 0)
    return true;
  if (track_.samples == 0 || track_.tables.steps.empty())
    return false;
  if (track_.rawSize != 0 && track_.lastStep == 1 && ticks > 0)
    return addSilence(static_cast<std::uint64_t>(ticks));
  const std::int64_t step = track_.tables.steps.back().value + ticks;
  constexpr std::int64_t longest = 0x7FFFFFFF;
  if (step < 1 || step > longest)
    return false;
  shorten(track_.tables.steps, 1);
  addRun(track_.tables.steps, 1, static_cast<std::uint32_t>(step));
  end_ += ticks;
  return true;
}

void TrackJoiner::dropLast(std::int64_t ticks) {
  while (ticks > 0 && !track_.tables.steps.empty()) {
    const SampleRun last = track_.tables.steps.back();
    const std::uint64_t fitting =
        last.value == 0 ? last.count : static_cast<std::uint64_t>(ticks) / last.value;
    const std::uint64_t count = std::min<std::uint64_t>(last.count, fitting);
    if (count == 0)
      return;
    dropSamples(count);
    ticks -= static_cast<std::int64_t>(count * last.value);
    end_ -= static_cast<std::int64_t>(count * last.value);
  }
}

void TrackJoiner::add(JoinableTrack next, std::size_t file) {
  expandSizes(next);
  SampleTables& all = track_.tables;
  const SampleTables& more = next.tables;
  if (!more.offsets.empty() || !all.offsets.empty()) {
    if (all.offsets.empty())
      addRun(all.offsets, track_.samples, 0);
    for (const SampleRun& run : more.offsets)
      addRun(all.offsets, run.count, run.value);
    if (more.offsets.empty())
      addRun(all.offsets, next.samples, 0);
  }
  for (const SampleRun& run : more.steps)
    addRun(all.steps, run.count, run.value);
  addKeys(next);
  all.sizes.insert(all.sizes.end(), more.sizes.begin(), more.sizes.end());
  for (SampleChunk chunk : more.chunks) {
    chunk.file = file;
    all.chunks.push_back(chunk);
  }
  track_.samples += next.samples;
  track_.lastStep = next.lastStep;
  track_.editEnd = end_ + next.editEnd;
  end_ += static_cast<std::int64_t>(next.ticks);
}

bool TrackJoiner::addSilence(std::uint64_t samples) {
  constexpr std::uint64_t mostBytes = 1U << 30;
  if (samples > mostSamples - std::min(track_.samples, mostSamples) ||
      samples > mostBytes / track_.rawSize)
    return false;
  SampleChunk chunk{MoviePiece::noFile, 0, static_cast<std::uint32_t>(samples), 1};
  if (!track_.tables.chunks.empty())
    chunk.description = track_.tables.chunks.back().description;
  track_.tables.chunks.push_back(chunk);
  addRun(track_.tables.steps, samples, 1);
  track_.samples += samples;
  end_ += static_cast<std::int64_t>(samples);
  return true;
}

void TrackJoiner::dropSamples(std::uint64_t count) {
  SampleTables& tables = track_.tables;
  shorten(tables.steps, count);
  if (!tables.offsets.empty())
    shorten(tables.offsets, count);
  track_.samples -= count;
  if (!tables.sizes.empty())
    tables.sizes.resize(track_.samples);
  if (tables.keys)
    std::erase_if(*tables.keys, [this](std::uint32_t key) { return key > track_.samples; });
  while (count > 0 && !tables.chunks.empty()) {
    const std::uint64_t taken = std::min<std::uint64_t>(count, tables.chunks.back().samples);
    tables.chunks.back().samples -= static_cast<std::uint32_t>(taken);
    count -= taken;
    if (tables.chunks.back().samples == 0)
      tables.chunks.pop_back();
  }
}

// Where only one of the two lists them, all of the other's are keys.
void TrackJoiner::addKeys(const JoinableTrack& next) {
  auto& keys = track_.tables.keys;
  if (!keys && !next.tables.keys)
    return;
  const auto addAll = [&keys](std::uint64_t from, std::uint64_t count) {
    for (std::uint64_t sample = 0; sample < count; ++sample)
      keys->push_back(static_cast<std::uint32_t>(from + sample + 1));
  };
  if (!keys) {
    keys.emplace();
    addAll(0, track_.samples);
  }
  if (!next.tables.keys)
    addAll(track_.samples, next.samples);
  else
    for (const std::uint32_t key : *next.tables.keys)
      keys->push_back(static_cast<std::uint32_t>(track_.samples + key));
}

}  // namespace tessarin::joining
