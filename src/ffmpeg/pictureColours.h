// What the colours of pictures are, in ffmpeg's names, and what they are where nobody says so. Pure
// functions.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tessarin {

// Each by the name that ffmpeg's reports, options and filters have for it ("bt709"); empty where
// it is not said.
struct PictureColours {
  std::string primaries;
  std::string transfer;
  std::string matrix;

  bool operator==(const PictureColours&) const = default;
};

// Whether ffmpeg has this name. The matrix of pictures that are red, green and blue is none.
bool isPrimaries(std::string_view name);
bool isTransfer(std::string_view name);
bool isMatrix(std::string_view name);

// What a report says in the brackets behind a pixel format: "yuv420p(tv, bt709, top first)",
// "yuv420p(smpte170m/bt470bg/bt709)". Names that ffmpeg does not have count as not said.
PictureColours coloursOfReport(std::string_view description);
// Whether luma goes from 0 to 255 rather than from 16 to 235: "yuvj420p(…", "yuv420p(pc, …".
bool isFullRange(std::string_view description);

// What pictures have by convention: those of high definition BT.709, smaller ones BT.601 of the
// kind with 525 or 625 lines. `rate`: pictures or fields a second, for sizes that neither has.
PictureColours usualColours(int width, int height, double rate);
// What is said, and by convention what is not.
PictureColours completeColours(PictureColours said, int width, int height, double rate);

// Of BT.2020: more colours than BT.709 has.
bool isWide(const PictureColours& colours);
// HLG or PQ: more tones, too.
bool hasHighRange(const PictureColours& colours);

// The same in the names that a ProRes picture's own header knows.
PictureColours coloursInProres(PictureColours colours);

// The names' numbers in ITU-T H.273, which headers of movies and pictures have; 2 is unknown.
struct ColourNumbers {
  int primaries = 2;
  int transfer = 2;
  int matrix = 2;
};
ColourNumbers colourNumbers(const PictureColours& colours);

// For an output: what the movie says of its colours.
std::vector<std::string> colourOptions(const PictureColours& colours);
// A filter for the end of a chain: what the pictures say, which encoders go by.
std::string colourFilter(const PictureColours& colours);

}  // namespace tessarin
