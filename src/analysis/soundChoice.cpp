#include "analysis/soundChoice.h"

#include <algorithm>

#include "classShared/TextAdditions.h"

namespace tessarin {

namespace {

// More than any camera writes; ffmpeg opens no file with more than 1000 streams.
constexpr std::size_t mostDigits = 3;

std::vector<int> numbersOf(std::string_view choice) {
  std::vector<int> numbers;
  if (!choice.empty() && choice != firstSoundAlone)
    for (const std::string_view number : split(choice, ","))
      numbers.push_back(static_cast<int>(leadingInteger(number)));
  return numbers;
}

std::vector<Source::Sound> soundsThatAre(const Source& source, bool used) {
  std::vector<Source::Sound> sounds;
  const std::vector<Source::Sound> all = soundsOf(source);
  for (std::size_t place = 0; place < all.size(); ++place)
    if (isSoundUsed(source, place) == used)
      sounds.push_back(all[place]);
  return sounds;
}

}  // namespace

bool isSoundChoice(std::string_view text) {
  constexpr std::size_t longest = 200;
  if (text == firstSoundAlone)
    return true;
  const std::vector<std::string_view> numbers = split(text, ",");
  return text.size() <= longest &&
         std::all_of(numbers.begin(), numbers.end(), [](std::string_view number) {
           return !number.empty() && number.size() <= mostDigits && number.front() != '0' &&
                  number.find_first_not_of("0123456789") == std::string_view::npos;
         });
}

std::optional<SlowSound> slowSoundOfWord(std::string_view word) {
  const auto found = std::find(slowSoundWords.begin(), slowSoundWords.end(), word);
  if (found == slowSoundWords.end())
    return std::nullopt;
  return static_cast<SlowSound>(found - slowSoundWords.begin());
}

std::vector<Source::Sound> soundsOf(const Source& source) {
  std::vector<Source::Sound> sounds;
  if (!source.sound.id)
    return sounds;
  sounds.push_back(source.sound);
  for (const Source::Sound& sound : source.otherSounds)
    if (sound.id)
      sounds.push_back(sound);
  return sounds;
}

bool isSoundUsed(const Source& source, std::size_t place) {
  if (source.soundChoice.empty())
    return true;
  if (source.soundChoice == firstSoundAlone)
    return place == 0;
  const std::vector<int> numbers = numbersOf(source.soundChoice);
  return std::find(numbers.begin(), numbers.end(), static_cast<int>(place) + 1) != numbers.end();
}

std::string choiceWithToggled(const Source& source, std::size_t place) {
  const std::size_t count = soundsOf(source).size();
  std::vector<std::string> numbers;
  for (std::size_t each = 0; each < count; ++each)
    if (isSoundUsed(source, each) != (each == place))
      numbers.push_back(std::to_string(each + 1));
  if (numbers.empty())
    return source.soundChoice;
  return numbers.size() == count ? std::string() : joinTexts(numbers, ",");
}

std::vector<Source::Sound> usedSounds(const Source& source) {
  return soundsThatAre(source, true);
}

std::vector<Source::Sound> unusedSounds(const Source& source) {
  return soundsThatAre(source, false);
}

std::optional<int> missingSound(const Source& source) {
  const auto there = static_cast<int>(soundsOf(source).size());
  for (const int number : numbersOf(source.soundChoice))
    if (number > there)
      return number;
  return std::nullopt;
}

std::int64_t channelsInMovie(const Source& source, const Source::Sound& sound) {
  constexpr std::int64_t stereo = 2;
  const std::int64_t own = sound.channels.value_or(stereo);
  const std::int64_t kept = source.keepsSurround.value_or(false) ? own : std::min(own, stereo);
  return source.otherSounds.empty() ? std::max(kept, stereo) : kept;
}

}  // namespace tessarin
