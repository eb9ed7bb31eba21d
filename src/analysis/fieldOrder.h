// The order of a source's fields, weighed from all that tells of it. Pure functions.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "analysis/framePictures.h"

namespace tessarin {

struct FieldClues {
  // What the first picture that was decoded claims. In a clip that begins inside a group of
  // pictures it may be half a picture, and wrong.
  Fields firstPicture = Fields::progressive;
  // What ffmpeg's description of the stream claims.
  std::optional<Fields> stream;
  // How many pictures of H.264 say that they begin with the top or the bottom field.
  int topStructures = 0;
  int bottomStructures = 0;
  // What the first pictures claim at other places of the source.
  std::vector<Fields> elsewhere;
  // What the pictures themselves show, at all places.
  FieldMotion motion;
};

struct FieldOrder {
  Fields fields = Fields::progressive;
  // The other order, where the decoder claims that, be it for some pictures only: the filters have
  // to be told the right one.
  std::optional<Fields> claim;
};

// The pictures decide where they do: three and more in one order, and four times as many as in the
// other. Else the claims do, by their majority. Whether there are fields at all is said by the
// first picture, or, where the pictures that were decoded are copies of one, by the stream.
FieldOrder weighFieldOrder(const FieldClues& clues);

// Whether pictures from another place of the source would tell more: the source claims fields, and
// no pictures have shown their order.
bool needsMorePictures(const FieldClues& clues);

// What the report says: the stream's description and the structures of its pictures.
FieldClues fieldCluesOfReport(std::string_view report, std::optional<int> stream);

// Where to look, in seconds, for the `count`th time (from 0). Nothing after the last place.
struct PicturePlace {
  double seconds = 0;
  int pictures = 0;
};
std::optional<PicturePlace> picturePlace(int count, double duration);

}  // namespace tessarin
