#include "tools/gettimestamps/p2Card.h"

#include <fmt/format.h>

#include <charconv>
#include <cmath>
#include <filesystem>
#include <map>

#include "classShared/TextAdditions.h"
#include "tools/gettimestamps/BoundedFile.h"
#include "tools/gettimestamps/containers.h"
#include "utils/files.h"

namespace tessarin {

namespace {

// Such clips have 4, 8 or 16 channels, with two digits for each.
constexpr std::size_t mostChannels = 100;

// A folder or file of this name, in capitals or small letters.
std::string entryCalled(const std::string& folder, std::string_view name) {
  for (const std::string& entry : lsCocoa(folder).value_or(std::vector<std::string>()))
    if (equalIgnoringCase(fileName(entry), name))
      return entry;
  return {};
}

std::string folderBeside(const std::string& pictures, std::string_view name) {
  return entryCalled(parentFolder(parentFolder(pictures)), name);
}

// No link: cards have none.
bool isMxfFile(const std::string& path) {
  std::error_code failed;
  if (std::filesystem::symlink_status(path, failed).type() != std::filesystem::file_type::regular)
    return false;
  BoundedFile file(path);
  return startOfMxf(file).has_value();
}

// Degrees: "48.1371", "-48.1371", "N48.1371"; nothing for other forms.
std::optional<double> degreesOf(std::string_view text, std::string_view signs, double most) {
  double sign = 1;
  if (!text.empty() && contains(signs, text.substr(0, 1))) {
    sign = text.front() == signs.back() ? -1 : 1;
    text = trimmed(text.substr(1));
  }
  double degrees = 0;
  const auto [end, error] =
      std::from_chars(text.data(), text.data() + text.size(), degrees, std::chars_format::fixed);
  if (text.empty() || error != std::errc() || end != text.data() + text.size() ||
      !(std::abs(degrees) <= most))
    return std::nullopt;
  return sign * degrees;
}

std::string placeOf(pugi::xml_node location) {
  const auto latitude = degreesOf(textAt(location, {"Latitude"}), "NS", 90);
  const auto longitude = degreesOf(textAt(location, {"Longitude"}), "EW", 180);
  return latitude && longitude ? fmt::format("{:+08.4f}{:+09.4f}/", *latitude, *longitude) : "";
}

// Whether numbers are dropped in it the XML does not say: of rates where they may be it tells
// nothing.
std::string timeCodeOf(pugi::xml_node video) {
  const std::string rate = textAt(video, {"FrameRate"});
  return contains(rate, "29.97") || contains(rate, "59.94") ? "" : textAt(video, {"StartTimecode"});
}

}  // namespace

std::optional<P2Clip> p2ClipOfXml(const SideXml& document) {
  const pugi::xml_node content = nodeAt(document.root("P2Main"), {"ClipContent"});
  if (!content)
    return std::nullopt;
  const pugi::xml_node essences = nodeAt(content, {"EssenceList"});
  const pugi::xml_node told = nodeAt(content, {"ClipMetadata"});
  const pugi::xml_node connection = nodeAt(content, {"Relation", "Connection"});
  P2Clip clip;
  clip.name = textAt(content, {"ClipName"});
  clip.id = textAt(content, {"GlobalClipID"});
  clip.sounds = countOf(essences, "Audio");
  clip.previous = textAt(connection, {"Previous", "GlobalClipID"});
  clip.next = textAt(connection, {"Next", "GlobalClipID"});
  clip.time = recordingTimeOfText(textAt(told, {"Shoot", "StartDate"}));
  if (!clip.time)
    clip.time = recordingTimeOfText(textAt(told, {"Access", "CreationDate"}));
  clip.facts.title = textAt(told, {"UserClipName"});
  clip.facts.make = textAt(told, {"Device", "Manufacturer"});
  clip.facts.model = textAt(told, {"Device", "ModelName"});
  clip.facts.place = placeOf(nodeAt(told, {"Shoot", "Location"}));
  clip.facts.timeCode = timeCodeOf(nodeAt(essences, {"Video"}));
  return clip;
}

bool isOnP2Card(const std::string& clip) {
  return hasPathExtension(clip, "mxf") &&
         equalIgnoringCase(fileName(parentFolder(clip)), "VIDEO") &&
         (isDirectory(folderBeside(clip, "AUDIO")) || isDirectory(folderBeside(clip, "CLIP")));
}

std::optional<P2Clip> p2ClipOf(const std::string& pictures) {
  if (!isOnP2Card(pictures))
    return std::nullopt;
  const std::string name = fileName(withoutExtension(pictures));
  auto clip =
      p2ClipOfXml(SideXml::ofFile(entryCalled(folderBeside(pictures, "CLIP"), name + ".XML")));
  return clip && equalIgnoringCase(clip->name, name) ? clip : std::nullopt;
}

P2Sounds p2SoundsOf(const std::string& pictures) {
  P2Sounds sounds;
  if (!isOnP2Card(pictures))
    return sounds;
  const std::string name = lowerCase(fileName(withoutExtension(pictures)));
  std::map<std::string, std::string> there;
  for (const std::string& entry :
       lsCocoa(folderBeside(pictures, "AUDIO")).value_or(std::vector<std::string>()))
    there.emplace(lowerCase(fileName(entry)), entry);
  const auto clip = p2ClipOf(pictures);
  sounds.isByName = !clip;
  const std::size_t due = clip ? std::min(clip->sounds, mostChannels) : mostChannels;
  for (std::size_t channel = 0; channel < due; ++channel) {
    const auto file = there.find(fmt::format("{}{:02}.mxf", name, channel));
    if (file != there.end() && isMxfFile(file->second))
      sounds.files.push_back(file->second);
    else if (clip)
      ++sounds.missing;
    else
      break;
  }
  return sounds;
}

}  // namespace tessarin
