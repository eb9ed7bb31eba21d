#include "ffmpeg/pictureColours.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <optional>

#include "classShared/TextAdditions.h"

namespace tessarin {

namespace {

// Names with their numbers in ITU-T H.273.
struct Numbered {
  std::string_view name;
  int number;
};
constexpr Numbered primariesNames[] = {{"bt709", 1},     {"bt470m", 4},    {"bt470bg", 5},
                                       {"smpte170m", 6}, {"smpte240m", 7}, {"film", 8},
                                       {"bt2020", 9},    {"smpte428", 10}, {"smpte431", 11},
                                       {"smpte432", 12}, {"ebu3213", 22}};
constexpr Numbered transferNames[] = {
    {"bt709", 1},         {"bt470m", 4},     {"bt470bg", 5},       {"smpte170m", 6},
    {"smpte240m", 7},     {"linear", 8},     {"log100", 9},        {"log316", 10},
    {"iec61966-2-4", 11}, {"bt1361e", 12},   {"iec61966-2-1", 13}, {"bt2020-10", 14},
    {"bt2020-12", 15},    {"smpte2084", 16}, {"smpte428", 17},     {"arib-std-b67", 18}};
constexpr Numbered matrixNames[] = {{"bt709", 1},
                                    {"fcc", 4},
                                    {"bt470bg", 5},
                                    {"smpte170m", 6},
                                    {"smpte240m", 7},
                                    {"ycgco", 8},
                                    {"bt2020nc", 9},
                                    {"bt2020c", 10},
                                    {"smpte2085", 11},
                                    {"chroma-derived-nc", 12},
                                    {"chroma-derived-c", 13},
                                    {"ictcp", 14}};

// The name's number; nothing when there is none of it.
template <std::size_t count>
std::optional<int> numberOf(const Numbered (&names)[count], std::string_view name) {
  const auto* found = std::find_if(std::begin(names), std::end(names),
                                   [name](const Numbered& each) { return each.name == name; });
  return found == std::end(names) ? std::nullopt : std::optional(found->number);
}

std::string known(std::string_view name, bool (*isName)(std::string_view)) {
  return isName(name) ? std::string(name) : std::string();
}

// "bt709", or "smpte170m/bt470bg/bt709": matrix, primaries and transfer.
PictureColours coloursOfWord(std::string_view word) {
  const auto names = split(word, "/");
  if (names.size() != 1 && names.size() != 3)
    return {};
  const bool isSame = names.size() == 1;
  return {known(names[isSame ? 0 : 1], isPrimaries), known(names[isSame ? 0 : 2], isTransfer),
          known(names[0], isMatrix)};
}

bool isHighDefinition(int width, int height) {
  constexpr int mostWidth = 768;
  constexpr int mostLines = 576;
  return width > mostWidth || height > mostLines;
}

// Television of 25 pictures a second has 625 lines, of which 576 are seen.
bool isOf625Lines(int height, double rate) {
  for (const int lines : {480, 486, 240, 243})
    if (height == lines)
      return false;
  if (height == 576 || height == 288 || rate <= 0)
    return height > 486 || height == 288;
  const double times = rate / 25;
  return std::abs(times - std::round(times)) < 0.01 && std::round(times) > 0;
}

}  // namespace

bool isPrimaries(std::string_view name) {
  return numberOf(primariesNames, name).has_value();
}

bool isTransfer(std::string_view name) {
  return numberOf(transferNames, name).has_value();
}

bool isMatrix(std::string_view name) {
  return numberOf(matrixNames, name).has_value();
}

PictureColours coloursOfReport(std::string_view description) {
  for (std::size_t open = description.find('('); open != std::string_view::npos;
       open = description.find('(', open + 1)) {
    const std::string_view inside = textUpTo(description.substr(open + 1), ")");
    for (const std::string_view word : split(inside, ", "))
      if (PictureColours colours = coloursOfWord(word); colours != PictureColours())
        return colours;
  }
  return {};
}

bool isFullRange(std::string_view description) {
  return contains(description, ", yuvj") || contains(description, "(pc,") ||
         contains(description, "(pc)");
}

PictureColours usualColours(int width, int height, double rate) {
  if (isHighDefinition(width, height))
    return {"bt709", "bt709", "bt709"};
  return {isOf625Lines(height, rate) ? "bt470bg" : "smpte170m", "smpte170m", "smpte170m"};
}

PictureColours completeColours(PictureColours said, int width, int height, double rate) {
  PictureColours usual = usualColours(width, height, rate);
  if (isWide(said))
    usual = {"bt2020", "bt2020-10", "bt2020nc"};
  if (said.primaries.empty())
    said.primaries = usual.primaries;
  if (said.transfer.empty())
    said.transfer = usual.transfer;
  if (said.matrix.empty())
    said.matrix = usual.matrix;
  return said;
}

bool isWide(const PictureColours& colours) {
  return startsWith(colours.primaries, "bt2020") || startsWith(colours.matrix, "bt2020") ||
         hasHighRange(colours);
}

bool hasHighRange(const PictureColours& colours) {
  return colours.transfer == "arib-std-b67" || colours.transfer == "smpte2084";
}

PictureColours coloursInProres(PictureColours colours) {
  // By other names the same curve and the same matrix.
  for (const char* same : {"smpte170m", "bt2020-10", "bt2020-12"})
    if (colours.transfer == same)
      colours.transfer = "bt709";
  if (colours.matrix == "bt470bg")
    colours.matrix = "smpte170m";
  return colours;
}

ColourNumbers colourNumbers(const PictureColours& colours) {
  constexpr int unknown = 2;
  return {numberOf(primariesNames, colours.primaries).value_or(unknown),
          numberOf(transferNames, colours.transfer).value_or(unknown),
          numberOf(matrixNames, colours.matrix).value_or(unknown)};
}

std::vector<std::string> colourOptions(const PictureColours& colours) {
  // The options have other words for two of the curves than reports and filters.
  const std::string transfer = colours.transfer == "bt470m"    ? "gamma22"
                               : colours.transfer == "bt470bg" ? "gamma28"
                                                               : colours.transfer;
  return {"-color_primaries", colours.primaries, "-color_trc",
          transfer,           "-colorspace",     colours.matrix};
}

std::string colourFilter(const PictureColours& colours) {
  return "setparams=color_primaries=" + colours.primaries + ":color_trc=" + colours.transfer +
         ":colorspace=" + colours.matrix;
}

}  // namespace tessarin
