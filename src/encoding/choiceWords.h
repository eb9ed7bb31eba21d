// The words by which choices are named at the command line, in its reports and in presets.
#pragma once

#include <map>
#include <optional>
#include <string>

#include "analysis/Source.h"
#include "encoding/BatchEntry.h"

namespace tessarin {

const std::map<std::string, Target>& targetWords();
const std::map<std::string, Speed>& speedWords();
const std::map<std::string, int>& applicationWords();      // segments of the selector
const std::map<std::string, std::string>& flavourWords();  // codes of ProRes flavours
// Rows of presetSizesList: "auto", "same", and each size at each of its rates, of PAL and NTSC.
const std::map<std::string, int>& sizeWords();

const std::map<std::string, SlowSound>& slowSoundChoices();

// "all", "first" or "1,3" for a choice of sounds, and the other way; nothing for other words.
std::string wordOfSounds(const std::string& choice);
std::optional<std::string> soundsOfWord(const std::string& word);

// "prores"; of a target that is none, the last.
std::string targetWord(Target target);
// "full"; of a number that is none, too.
std::string speedWord(Speed speed);
// The first word for the value; "" when there is none.
template <class Value>
std::string wordFor(const std::map<std::string, Value>& words, const Value& value) {
  for (const auto& [word, each] : words)
    if (each == value)
      return word;
  return {};
}

}  // namespace tessarin
