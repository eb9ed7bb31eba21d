#include "tools/gettimestamps/cameraMessage.h"

#include <map>
#include <utility>

#include "classShared/TextAdditions.h"
#include "tools/gettimestamps/ByteReader.h"
#include "tools/gettimestamps/placeText.h"

namespace tessarin {

namespace {

// Four bytes each, the first of each kind.
class Tags {
 public:
  explicit Tags(const ByteReader& bytes) {
    constexpr std::size_t tagLength = 5;
    const std::uint32_t count = bytes.byte(0).value_or(0);
    for (std::uint32_t index = 0; index < count; ++index) {
      const std::size_t offset = 1 + index * tagLength;
      const auto value = bytes.part(offset + 1, 4);
      if (!value)
        break;
      tags_.emplace(*bytes.byte(offset), *value);
    }
  }
  // "" of one that is not there.
  std::string_view at(std::uint32_t tag) const {
    const auto found = tags_.find(tag);
    return found == tags_.end() ? std::string_view() : found->second;
  }
  std::uint32_t number(std::uint32_t tag) const {
    return ByteReader(at(tag)).short16(0).value_or(0);
  }
  // A numerator and a denominator.
  std::optional<double> fraction(std::uint32_t tag) const {
    const ByteReader value(at(tag));
    const std::uint32_t denominator = value.short16(2).value_or(0);
    return denominator == 0 ? std::nullopt
                            : std::optional(static_cast<double>(*value.short16(0)) / denominator);
  }

 private:
  std::map<std::uint32_t, std::string_view> tags_;
};

std::string makerOfNumber(std::uint32_t number) {
  constexpr std::pair<std::uint32_t, std::string_view> makers[] = {
      {0x103, "Panasonic"}, {0x108, "Sony"}, {0x1011, "Canon"}, {0x1104, "JVC"}};
  for (const auto& [known, name] : makers)
    if (known == number)
      return std::string(name);
  return {};
}

// Printable, up to the first zero.
std::string modelOfTags(const Tags& tags) {
  std::string model;
  for (const std::uint32_t tag : {0xE4U, 0xE5U, 0xE6U})
    model += tags.at(tag);
  model = model.substr(0, model.find('\0'));
  for (const char letter : model)
    if (letter < ' ' || letter > '~')
      return {};
  return std::string(trimmed(model));
}

std::optional<RecordingTime> timeOfTags(const Tags& tags) {
  const std::string_view date = tags.at(0x18);
  if (date.empty())
    return std::nullopt;
  auto time = recordingTimeFromBcd(std::string(date.substr(1)).append(tags.at(0x19)));
  if (time)
    time->zone = zoneOfByte(static_cast<std::uint8_t>(date.front()));
  return time;
}

// Degrees, minutes and seconds in tags behind the letter of the direction.
std::optional<double> angleOf(const Tags& tags, std::uint32_t direction, std::string_view letters,
                              double most) {
  const std::string_view letter = tags.at(direction).substr(0, 1);
  const auto degrees = tags.fraction(direction + 1);
  const auto minutes = tags.fraction(direction + 2);
  const auto seconds = tags.fraction(direction + 3);
  if (letter.empty() || !contains(letters, letter) || !degrees || !minutes || !seconds ||
      *minutes >= 60 || *seconds >= 60)
    return std::nullopt;
  const double all = *degrees + *minutes / 60 + *seconds / 3600;
  if (all > most)
    return std::nullopt;
  return letter.front() == letters.back() ? -all : all;
}

std::string placeOfTags(const Tags& tags) {
  // The receiver knows no place.
  if (tags.at(0xBE).substr(0, 1) == "V")
    return {};
  const auto latitude = angleOf(tags, 0xB1, "NS", 90);
  const auto longitude = angleOf(tags, 0xB5, "EW", 180);
  return latitude && longitude ? placeText(*latitude, *longitude) : "";
}

void keepFirst(std::string& known, std::string found) {
  if (known.empty())
    known = std::move(found);
}

}  // namespace

void addFactsOfCameraMessage(std::string_view message, StreamFacts& facts) {
  if (!message.starts_with(cameraMessage))
    return;
  const Tags tags(ByteReader(message).from(cameraMessage.size()));
  keepFirst(facts.timeCode, timeCodeOfBytes(tags.at(0x13), true));
  keepFirst(facts.make, makerOfNumber(tags.number(0xE0)));
  keepFirst(facts.model, modelOfTags(tags));
  keepFirst(facts.place, placeOfTags(tags));
  facts.time = timeOfTags(tags);
}

}  // namespace tessarin
