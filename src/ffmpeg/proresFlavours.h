// The flavours of ProRes: one table for whoever offers, stores, names or makes them.
#pragma once

#include <algorithm>
#include <iterator>
#include <string_view>

namespace tessarin {

struct ProresFlavour {
  std::string_view code;         // four characters, by which it is stored
  std::string_view word;         // at the command line and in the settings of exports
  std::string_view title;        // in what is told of a movie
  std::string_view encoderName;  // in what is offered, behind "Apple ProRes "
  std::string_view inName;       // in the names of the exports' settings, behind "pr"
  int profile;                   // ffmpeg's number
  // That of its quicker encoder, which has no 4444: standard is taken.
  int quickProfile;
};

// In the order in which they are offered.
inline constexpr ProresFlavour proresFlavours[] = {
    {"ap4h", "4444", "ProRes 4444", "4444", "4x4", 4, 2},
    {"apch", "hq", "ProRes HQ", "422 High Quality", "Hd", 3, 3},
    {"apcn", "standard", "ProRes", "422 Standard Quality", "", 2, 2},
    {"apco", "proxy", "ProRes Proxy", "422 Proxy", "Proxy", 0, 0},
    {"apcs", "lt", "ProRes LT", "422 LT", "Lt", 1, 1},
};

// Null when there is none of this code.
constexpr const ProresFlavour* proresFlavour(std::string_view code) {
  const auto* found = std::find_if(std::begin(proresFlavours), std::end(proresFlavours),
                                   [code](const ProresFlavour& each) { return each.code == code; });
  return found == std::end(proresFlavours) ? nullptr : found;
}

// Likewise of this word.
constexpr const ProresFlavour* proresFlavourOfWord(std::string_view word) {
  const auto* found = std::find_if(std::begin(proresFlavours), std::end(proresFlavours),
                                   [word](const ProresFlavour& each) { return each.word == word; });
  return found == std::end(proresFlavours) ? nullptr : found;
}

// Likewise of this number of ffmpeg's.
constexpr const ProresFlavour* proresFlavourOfProfile(int profile) {
  const auto* found =
      std::find_if(std::begin(proresFlavours), std::end(proresFlavours),
                   [profile](const ProresFlavour& each) { return each.profile == profile; });
  return found == std::end(proresFlavours) ? nullptr : found;
}

// The one of this code; standard for others.
constexpr const ProresFlavour& proresFlavourOrStandard(std::string_view code) {
  constexpr const ProresFlavour* standard = &proresFlavours[2];
  static_assert(standard->code == "apcn");
  const ProresFlavour* flavour = proresFlavour(code);
  return flavour != nullptr ? *flavour : *standard;
}

}  // namespace tessarin
