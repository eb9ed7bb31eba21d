#include "cli/runSettings.h"

#include "analysis/soundChoice.h"
#include "analysis/sourceRecord.h"
#include "core/storedRow.h"
#include "encoding/BatchEntry.h"
#include "encoding/choiceWords.h"

namespace tessarin::cli {

namespace {

constexpr std::string_view keyTarget = "target";
constexpr std::string_view keyOverwrite = "overwrite";
constexpr std::string_view keyBatchFile = "batchFile";
constexpr std::string_view keyRow = "batchRow";
constexpr std::string_view keyParts = "partsApart";     // 1: of --parts
constexpr std::string_view keyTapes = "splitTapes";     // 1: of --split-tapes
constexpr std::string_view keyNew = "onlyNew";          // 1: of --new
constexpr std::string_view keySound = "sound";          // of --sound: soundChoice.h
constexpr std::string_view keySlowSound = "slowSound";  // of --slow-sound: its word
constexpr std::string_view keyPrepares = "prepares";    // 1: the batch file is the aim

}  // namespace

Dico storedOptions(const Options& options) {
  Dico stored{{std::string(keyOverwrite), static_cast<int>(options.overwrite)}};
  if (options.choices.target)
    stored.set(keyTarget, *options.choices.target);
  if (options.batchFile)
    stored.set(keyBatchFile, *options.batchFile);
  if (options.row)
    stored.set(keyRow, *options.row);
  if (options.keepsPartsApart)
    stored.set(keyParts, 1);
  if (options.splitsTapes)
    stored.set(keyTapes, 1);
  if (options.onlyNew)
    stored.set(keyNew, 1);
  if (const std::string choice = options.choices.sound.value_or(""); !choice.empty())
    stored.set(keySound, choice);
  if (options.choices.slowSound)
    stored.set(keySlowSound, wordFor(slowSoundChoices(), *options.choices.slowSound));
  if (options.command == Command::prepare)
    stored.set(keyPrepares, 1);
  return stored;
}

Options optionsOfStored(const Dico& stored, const Options& given) {
  Options options = given;
  options.keepsPartsApart = stored.flag(keyParts);
  options.splitsTapes = stored.flag(keyTapes);
  options.onlyNew = stored.flag(keyNew);
  options.command = stored.flag(keyPrepares) ? Command::prepare : Command::convert;
  if (const auto file = stored.text(keyBatchFile); file && isStoredPath(*file))
    options.batchFile = file;
  if (const auto row = stored.integer(keyRow); row && *row >= 1 && *row <= highestOrder)
    options.row = static_cast<int>(*row);
  if (const auto target = stored.integer(keyTarget); target && *target >= 0 && *target < outNone)
    options.choices.target = static_cast<Target>(*target);
  if (const std::string sound = stored.textOrEmpty(keySound); isSoundChoice(sound))
    options.choices.sound = sound;
  if (const auto sound = slowSoundOfWord(stored.textOrEmpty(keySlowSound)))
    options.choices.slowSound = sound;
  const auto overwrite = stored.integer(keyOverwrite).value_or(0);
  if (given.overwrite == Overwrite::ask && overwrite >= static_cast<int>(Overwrite::ask) &&
      overwrite <= static_cast<int>(Overwrite::replace))
    options.overwrite = static_cast<Overwrite>(overwrite);
  return options;
}

}  // namespace tessarin::cli
