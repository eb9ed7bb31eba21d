#include "movie/clusterTimes.h"

#include <algorithm>
#include <cerrno>
#include <map>
#include <optional>
#include <vector>

#include "movie/ebml.h"
#include "movie/matroskaBlocks.h"
#include "platform/fileFacts.h"
#include "platform/openFiles.h"

namespace tessarin {

namespace {

using ebml::Element;

// Of the elements from here on that lie beside each other, the first with this number.
std::optional<Element> find(FileBytes& bytes, std::uint64_t position, std::uint64_t end,
                            std::uint64_t id, int most) {
  for (int count = 0; count < most && position < end; ++count) {
    const auto element = ebml::elementAt(bytes, position);
    if (!element || element->id == id)
      return element;
    if (element->isOpen)
      return std::nullopt;
    position = element->begin + element->size;
  }
  return std::nullopt;
}

std::optional<double> numberOf(FileBytes& bytes, const std::optional<Element>& element) {
  if (!element || element->size == 0 || element->size > 8)
    return std::nullopt;
  return static_cast<double>(bytes.number(element->begin, static_cast<unsigned>(element->size)));
}

// Seconds in a unit of the clusters' times.
double unitOf(FileBytes& bytes, const Element& segment) {
  constexpr std::uint64_t information = 0x1549A966;
  constexpr std::uint64_t scale = 0x2AD7B1;
  constexpr double usual = 1e6;  // nanoseconds
  constexpr int mostElements = 100;
  const auto found =
      find(bytes, segment.begin, segment.begin + segment.size, information, mostElements);
  const auto unit = found ? numberOf(bytes, find(bytes, found->begin, found->begin + found->size,
                                                 scale, mostElements))
                          : std::nullopt;
  return unit.value_or(usual) / 1e9;
}

struct Cluster {
  double time = 0;
  std::uint64_t begin = 0;  // of its content
  std::uint64_t end = 0;
};

std::vector<Cluster> clustersOf(FileBytes& bytes, const Element& segment) {
  constexpr int mostBefore = 10;  // elements in front of a cluster's time
  std::vector<Cluster> clusters;
  const std::uint64_t end = segment.begin + segment.size;
  for (std::uint64_t position = segment.begin; position < end;) {
    const auto element = ebml::elementAt(bytes, position);
    if (!element || element->isOpen)
      break;
    position = element->begin + element->size;
    if (element->id != ebml::cluster)
      continue;
    if (const auto time =
            numberOf(bytes, find(bytes, element->begin, position, ebml::clusterTime, mostBefore)))
      clusters.push_back({*time, element->begin, position});
  }
  return clusters;
}

// How long the pictures of a cluster are, in its unit: those of the track with the most bytes.
double lengthOf(FileBytes& bytes, const Cluster& cluster) {
  struct Track {
    std::uint64_t bytes = 0;
    int blocks = 0;
    int earliest = 0;
    int latest = 0;
  };
  std::map<std::uint64_t, Track> tracks;
  forEachBlock(bytes, cluster.begin, cluster.end, [&tracks](const MatroskaBlock& block) {
    Track& track = tracks[block.track];
    track.earliest = track.blocks == 0 ? block.time : std::min(track.earliest, block.time);
    track.latest = track.blocks == 0 ? block.time : std::max(track.latest, block.time);
    track.bytes += block.content.size;
    ++track.blocks;
  });
  const auto pictures = std::max_element(
      tracks.begin(), tracks.end(),
      [](const auto& one, const auto& other) { return one.second.bytes < other.second.bytes; });
  constexpr double least = 1;  // it is told, however long
  if (pictures == tracks.end() || pictures->second.blocks < 2)
    return least;
  const auto& [number, track] = *pictures;
  const double span = track.latest - track.earliest;
  return std::max(least, span * track.blocks / (track.blocks - 1));
}

// Short clusters begin with pictures that are shown behind some of the next one.
bool isReordering(FileBytes& bytes, const Cluster& before, double back, double unit) {
  constexpr double longest = 1;  // second
  return back * unit < longest && lengthOf(bytes, before) * unit < longest;
}

}  // namespace

Outcome<ClusterTimes> clusterTimes(const std::string& path) {
  const Descriptor file = openFile(path, OpenFor::reading);
  const auto facts = file.isOpen() ? fileFacts(file.number()) : std::nullopt;
  if (!facts)
    return Failure{systemReason(errno)};
  FileBytes bytes(file.number(), static_cast<std::uint64_t>(facts->state.size));
  const auto head = ebml::elementAt(bytes, 0);
  const auto segment = head && head->id == ebml::header
                           ? find(bytes, head->begin + head->size, bytes.size(), ebml::segment, 10)
                           : std::nullopt;
  ClusterTimes result;
  if (!segment)
    return result;
  const std::vector<Cluster> clusters = clustersOf(bytes, *segment);
  if (clusters.size() < 2)
    return result;
  const double unit = unitOf(bytes, *segment);
  double misplaced = 0;
  for (std::size_t place = 1; place < clusters.size(); ++place) {
    const Cluster& before = clusters[place - 1];
    const double back = before.time - clusters[place].time;
    if (back <= 0 || isReordering(bytes, before, back, unit))
      continue;
    // One goes on where the one before the other ended, and the other is out of its place.
    const bool goesOn = place > 1 && clusters[place].time > clusters[place - 2].time;
    misplaced += lengthOf(bytes, clusters[place - (goesOn || place == 1 ? 1 : 0)]);
  }
  if (!bytes.failure().empty())
    return Failure{bytes.failure()};
  const auto [first, last] = std::minmax_element(
      clusters.begin(), clusters.end(),
      [](const Cluster& one, const Cluster& other) { return one.time < other.time; });
  result.seconds = (last->time - first->time) * unit;
  result.misplaced = misplaced * unit;
  return result;
}

}  // namespace tessarin
