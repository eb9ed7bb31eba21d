// A pattern by which the user names movies: text with facts of the clip in braces, such as
// "{date} {time} {title}".
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "analysis/Source.h"

namespace tessarin {

// Why a text is no pattern.
struct NameMistake {
  enum class Kind {
    empty,    // it would give names of blanks and marks alone
    field,    // no fact is called `word`
    brace,    // without its partner
    slash,    // of a path, and a pattern is for names
    notText,  // bytes that are no UTF-8, or control characters
  };
  Kind kind = Kind::empty;
  std::string word = {};
};

class NamePattern {
 public:
  // The usual names: no pattern at all.
  NamePattern() = default;
  // The pattern "{usual}" alone gives the usual names, too.
  static std::variant<NamePattern, NameMistake> parsed(std::string_view text);

  bool isUsual() const { return pieces_.empty(); }

  // The name of the clip's movie, without extension. `usual` is what it is called without a
  // pattern. A fact that the clip does not have goes with one separator beside it (blanks, dashes,
  // dots …) or the brackets around it; where nothing is left, the clip's title is the name. UTF-8
  // in one line, whatever the clip says of itself: what file systems and shells take amiss becomes
  // "-". It may be too long.
  std::string nameOf(const Source& source, const std::string& usual) const;

  bool operator==(const NamePattern&) const = default;

 private:
  struct Piece {
    bool isField = false;
    std::size_t field = 0;  // its place among nameFields()
    std::string text = {};  // of what is no field
    bool operator==(const Piece&) const = default;
  };
  std::vector<Piece> pieces_;
};

// What may stand in braces, in the order in which it is told.
std::vector<std::string_view> nameFields();

}  // namespace tessarin
