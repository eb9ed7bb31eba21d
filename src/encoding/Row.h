// A row of the batch: a clip, what is to become of it, and what has.
#pragma once

#include <array>
#include <string>
#include <string_view>

#include "analysis/Source.h"
#include "encoding/BatchEntry.h"

namespace tessarin {

struct Choice {
  Target target = outProres;
  int sizeOut = -1;  // of the table of sizes; -1: none yet; keepsSize
  Speed speed = speedKeep;
  bool operator==(const Choice&) const = default;
};

// As a choice of size: no row of the table, the pictures stay as large as they are.
inline constexpr int keepsSize = -2;

enum class RowMark { waiting, current, success, failure };

// By RowMark: what is stored, and the name of the drawing.
inline constexpr std::array<std::string_view, 4> markNames = {"puce", "puceCurrent", "puceSuccess",
                                                              "puceFailure"};
constexpr std::string_view markName(RowMark mark) {
  return markNames[static_cast<std::size_t>(mark)];
}

struct Row {
  Source source;
  Choice choice;
  RowMark mark = RowMark::waiting;
  bool isProgressive = false;  // the source is
  std::string caption;         // what the source is, in three lines
  std::string movie;           // that a row with the mark `success` has become
  bool isKept = false;         // that movie was there already, and was left as it was
  std::string reason;  // why the last job made no movie of it, in the user's language; or ""

  const std::string& path() const { return source.path; }
  // The picture's file; "" when there is none.
  const std::string& thumbnail() const { return source.thumbnail; }
  bool operator==(const Row&) const = default;
};

}  // namespace tessarin
