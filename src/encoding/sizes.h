// The sizes that movies can have: one table, from which menus, command line, filters, export
// settings and permissions take what they need.
#pragma once

#include <array>
#include <cstdint>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "encoding/applications.h"

namespace tessarin {

// Rows of the table with a meaning of their own.
inline constexpr int rowSameAsSourceForSoft = 0;  // what the chosen application accepts
inline constexpr int rowSameAsSource = 1;         // any size
inline constexpr int firstConcreteRow = 4;        // rows 4 to 12 are sizes
inline constexpr int rowFallback = 5;             // 1280x720 progressive, 24/25/30

struct FrameSize {
  int width = 0;
  int height = 0;
  bool operator==(const FrameSize&) const = default;
};

// The kind of movie by scan and rate; each is made at the rates of PAL and of NTSC.
enum class RateFamily {
  none,  // of a row that is no size
  p25,   // 24, 25 or 30 pictures a second
  p50,   // 50 or 60 pictures
  i50,   // 50 or 60 fields
};

// Which applications accept a size.
class Applications {
 public:
  constexpr Applications(std::initializer_list<Application> applications) {
    for (const Application each : applications)
      bits_ |= 1U << static_cast<unsigned>(each);
  }
  constexpr bool contains(Application application) const {
    return application == Application::any ||
           (bits_ >> static_cast<unsigned>(application) & 1U) != 0;
  }

 private:
  unsigned bits_ = 0;
};

struct SizeRow {
  // For people, in a menu of fixed pitch; a row that is no size has a key of the texts, or a blank.
  const char* label;
  const char* image;  // the icon beside it
  RateFamily family;
  FrameSize frame;
  // Whole pictures a second, also where each is made of two fields; 0 where there are fewer.
  std::array<int, 3> rates;
  std::string_view prefix;  // of its names
  Applications takers;

  constexpr bool isSize() const { return family != RateFamily::none; }
  constexpr bool isInterlaced() const { return family == RateFamily::i50; }
  constexpr bool isProgressive() const { return isSize() && !isInterlaced(); }
  bool hasRate(int rate) const;
  // What it is called at one of its rates: "720p25", "1080i60", "hdv1080p24".
  std::string nameAt(int rate) const;
};

// All rows; the index is what is stored as "sizeOut".
std::span<const SizeRow> sizeRows();
// Null when there is no such row. The table lives as long as the program.
const SizeRow* sizeRow(std::int64_t row);

// Whether the row is one of the family.
inline bool isOf(const SizeRow* row, RateFamily family) {
  return row != nullptr && row->family == family;
}

// The row of the same frame and of the other rate family (p25 for p50 and i50 rows, p50 for p25
// rows); -1 when there is none.
int siblingSize(int row);

// The labels, or the names of the icons.
const std::vector<std::string>& presetSizesList(bool images);

// A label without the rates: the text before " ->".
std::string presetShortLabel(std::string_view label);
// That of a row; "" when there is no such row.
std::string presetShortLabel(std::int64_t row);

// Whether movies of 30 or 60 pictures a second suit a source of so many, rather than 25 or 50.
// Phones take 120 and 240; 10 and 15, as photo cameras take them, are each shown several times.
constexpr bool isOfThirty(int rate) {
  return rate == 10 || rate == 15 || (rate > 0 && rate <= 240 && rate % 30 == 0);
}

// What a row is called for a source of this rate ("v0_fps"); "" for a row that is no size.
std::string presetSizeName(std::int64_t row, double sourceFps);

// Whether the editing application accepts the row.
bool presetIsCompliant(int row, Application application);

}  // namespace tessarin
