#include "encoding/choiceWords.h"

#include "analysis/soundChoice.h"
#include "classShared/TextAdditions.h"
#include "encoding/applications.h"
#include "encoding/sizes.h"
#include "encoding/targets.h"
#include "ffmpeg/proresFlavours.h"

namespace tessarin {

namespace {

constexpr const char* allSounds = "all";

// The words of a table's rows, each for its row's number.
template <class Kind, class Table>
std::map<std::string, Kind> wordsOf(const Table& table) {
  std::map<std::string, Kind> words;
  int number = 0;
  for (const auto& row : table)
    words.emplace(row.word, static_cast<Kind>(number++));
  return words;
}

}  // namespace

const std::map<std::string, Target>& targetWords() {
  static const auto words = wordsOf<Target>(targetTable);
  return words;
}

const std::map<std::string, Speed>& speedWords() {
  static const auto words = wordsOf<Speed>(speedTable);
  return words;
}

const std::map<std::string, int>& applicationWords() {
  static const auto words = wordsOf<int>(applicationTable);
  return words;
}

const std::map<std::string, std::string>& flavourWords() {
  static const auto words = [] {
    std::map<std::string, std::string> made;
    for (const ProresFlavour& flavour : proresFlavours)
      made.emplace(flavour.word, flavour.code);
    return made;
  }();
  return words;
}

const std::map<std::string, int>& sizeWords() {
  static const auto words = [] {
    std::map<std::string, int> made{{"auto", rowSameAsSourceForSoft}, {"same", rowSameAsSource}};
    int index = 0;
    for (const SizeRow& row : sizeRows()) {
      for (const int rate : row.rates)
        if (rate != 0)
          made.emplace(row.nameAt(rate), index);
      ++index;
    }
    return made;
  }();
  return words;
}

const std::map<std::string, SlowSound>& slowSoundChoices() {
  static const auto words = [] {
    std::map<std::string, SlowSound> made;
    for (const std::string_view word : slowSoundWords)
      made.emplace(word, *slowSoundOfWord(word));
    return made;
  }();
  return words;
}

std::string wordOfSounds(const std::string& choice) {
  return choice.empty() ? allSounds : choice;
}

std::optional<std::string> soundsOfWord(const std::string& word) {
  if (lowerCase(word) == allSounds)
    return std::string();
  const std::string choice = lowerCase(word);
  return isSoundChoice(choice) ? std::optional(choice) : std::nullopt;
}

std::string targetWord(Target target) {
  const TargetRow* row = targetRow(target);
  return std::string(row ? row->word : targetTable.back().word);
}

std::string speedWord(Speed speed) {
  const bool isKnown = speed >= speedKeep && speed <= speedSlow;
  return std::string(speedTable[static_cast<std::size_t>(isKnown ? speed : speedKeep)].word);
}

}  // namespace tessarin
