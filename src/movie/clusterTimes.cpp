#include "movie/clusterTimes.h"

#include <algorithm>
#include <cerrno>
#include <optional>
#include <vector>

#include "movie/ebml.h"
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

std::vector<double> timesOfClusters(FileBytes& bytes, const Element& segment) {
  constexpr int mostBefore = 10;  // elements in front of a cluster's time
  std::vector<double> times;
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
      times.push_back(*time);
  }
  return times;
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
  const std::vector<double> times = timesOfClusters(bytes, *segment);
  if (!bytes.failure().empty())
    return Failure{bytes.failure()};
  std::vector<double> steps;
  double back = 0;
  for (std::size_t place = 1; place < times.size(); ++place)
    if (const double step = times[place] - times[place - 1]; step > 0)
      steps.push_back(step);
    else if (step < 0)
      ++back;
  if (steps.empty())
    return result;
  const double unit = unitOf(bytes, *segment);
  const auto [first, last] = std::minmax_element(times.begin(), times.end());
  result.seconds = (*last - *first) * unit;
  std::nth_element(steps.begin(), steps.begin() + static_cast<std::ptrdiff_t>(steps.size() / 2),
                   steps.end());
  result.misplaced = back * steps[steps.size() / 2] * unit;
  return result;
}

}  // namespace tessarin
