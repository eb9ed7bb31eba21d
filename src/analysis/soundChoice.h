// Which sounds of a source its movie has. Pure functions.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "analysis/Source.h"

namespace tessarin {

// As a choice is typed, stored and told: "first", or numbers in the source's order, from 1 on
// ("1,3"); "" is all of them.
inline constexpr std::string_view firstSoundAlone = "first";
bool isSoundChoice(std::string_view text);

// "keep", "silent", "slowed".
inline constexpr std::array<std::string_view, 3> slowSoundWords = {"keep", "silent", "slowed"};
std::optional<SlowSound> slowSoundOfWord(std::string_view word);

// All sounds of a source, in order.
std::vector<Source::Sound> soundsOf(const Source& source);
// Whether the movie has the sound of this place, counted from 0.
bool isSoundUsed(const Source& source, std::size_t place);
// The choice with that sound added or taken away; the last one stays.
std::string choiceWithToggled(const Source& source, std::size_t place);
// Those that its movie has, in the source's order; a number that the source has not is passed over.
std::vector<Source::Sound> usedSounds(const Source& source);
// And those that it has not.
std::vector<Source::Sound> unusedSounds(const Source& source);
// The first number of the choice that the source has not; nothing where it has all.
std::optional<int> missingSound(const Source& source);

// The channels that a sound has in the movie: two at the most unless surround sound is kept. Sounds
// beside others may be single microphones, and stay mono.
std::int64_t channelsInMovie(const Source& source, const Source::Sound& sound);

}  // namespace tessarin
