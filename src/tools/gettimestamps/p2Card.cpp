#include "tools/gettimestamps/p2Card.h"

#include <fmt/format.h>

#include <charconv>
#include <cmath>
#include <filesystem>
#include <map>
#include <utility>

#include "classShared/TextAdditions.h"
#include "tools/gettimestamps/BoundedFile.h"
#include "tools/gettimestamps/mxfFile.h"
#include "tools/gettimestamps/placeText.h"
#include "utils/files.h"

namespace tessarin {

namespace {

// Such clips have 4, 8 or 16 channels, with two digits for each.
constexpr std::size_t mostChannels = 100;

// What is in a folder, which may be very much: it is listed once, and only for a name that is not
// there as it is asked for, but perhaps in small letters.
class FolderEntries {
 public:
  explicit FolderEntries(std::string folder) : folder_(std::move(folder)) {}

  // "": there is no such file or folder.
  std::string called(const std::string& name) {
    if (folder_.empty())
      return {};
    if (std::string path = joinPath(folder_, name); isNameTaken(path))
      return path;
    if (!paths_) {
      paths_.emplace();
      for (const std::string& entry : lsCocoa(folder_).value_or(std::vector<std::string>()))
        paths_->emplace(lowerCase(fileName(entry)), entry);
    }
    const auto found = paths_->find(lowerCase(name));
    return found == paths_->end() ? std::string() : found->second;
  }

 private:
  std::string folder_;
  std::optional<std::map<std::string, std::string>> paths_;
};

std::string folderBeside(const std::string& pictures, const std::string& name) {
  return FolderEntries(parentFolder(parentFolder(pictures))).called(name);
}

// No link: cards have none.
bool isMxfFile(const std::string& path) {
  std::error_code failed;
  if (std::filesystem::symlink_status(path, failed).type() != std::filesystem::file_type::regular)
    return false;
  BoundedFile file(path);
  return startOfMxf(file).has_value();
}

// Frames; nothing for what is no such number.
std::optional<std::int64_t> framesOf(std::string_view text) {
  constexpr std::int64_t most = std::int64_t{1} << 32;
  std::int64_t frames = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), frames);
  const bool isNumber = error == std::errc() && end == text.data() + text.size();
  return isNumber && frames >= 0 && frames <= most ? std::optional(frames) : std::nullopt;
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
  return latitude && longitude ? placeText(*latitude, *longitude) : "";
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
  clip.frames = framesOf(textAt(content, {"Duration"}));
  clip.offset = framesOf(textAt(content, {"Relation", "OffsetInShot"}));
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
  FolderEntries clips(folderBeside(pictures, "CLIP"));
  auto clip = p2ClipOfXml(SideXml::ofFile(clips.called(name + ".XML")));
  return clip && equalIgnoringCase(clip->name, name) ? clip : std::nullopt;
}

P2Sounds p2SoundsOf(const std::string& pictures) {
  P2Sounds sounds;
  if (!isOnP2Card(pictures))
    return sounds;
  const std::string name = fileName(withoutExtension(pictures));
  FolderEntries channels(folderBeside(pictures, "AUDIO"));
  const auto clip = p2ClipOf(pictures);
  sounds.isByName = !clip;
  const std::size_t due = clip ? std::min(clip->sounds, mostChannels) : mostChannels;
  for (std::size_t channel = 0; channel < due; ++channel) {
    const std::string file = channels.called(fmt::format("{}{:02}.MXF", name, channel));
    if (!file.empty() && isMxfFile(file))
      sounds.files.push_back(file);
    else if (clip)
      ++sounds.missing;
    else
      break;
  }
  return sounds;
}

}  // namespace tessarin
