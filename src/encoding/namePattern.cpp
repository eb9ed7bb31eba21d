#include "encoding/namePattern.h"

#include <algorithm>
#include <array>
#include <optional>

#include "classShared/TextAdditions.h"
#include "classShared/Utf8.h"
#include "encoding/naming.h"

namespace tessarin {

namespace {

constexpr std::string_view separators = " -_.,;+&~";
// Characters of one fact of the camera's: a clip that says more must not displace the rest.
constexpr std::size_t longestFact = 40;
// "2010-12-24 14:05:33", with anything behind it.
constexpr std::string_view momentForm = "0000-00-00 00:00:00";
constexpr std::size_t dayLength = 10;
constexpr std::size_t timeBegin = 11;

std::string_view momentOf(const Source& source) {
  const std::string_view text = std::string_view(source.recorded).substr(0, momentForm.size());
  const bool isMoment =
      text.size() == momentForm.size() &&
      std::equal(text.begin(), text.end(), momentForm.begin(), [](char own, char asked) {
        return asked == '0' ? own >= '0' && own <= '9' : own == asked;
      });
  return isMoment ? text : std::string_view();
}

std::string dateOf(const Source& source) {
  return std::string(momentOf(source).substr(0, dayLength));
}

std::string timeOf(const Source& source) {
  const std::string_view moment = momentOf(source);
  return moment.empty() ? "" : replaceAll(moment.substr(timeBegin), ":", ".");
}

std::string timeCodeOf(const Source& source) {
  return replaceAll(replaceAll(source.recording.timeCode, ":", "."), ";", ".");
}

std::string cameraWord(std::string_view word) {
  return std::string(trimmed(firstCharacters(word, longestFact)));
}

std::string makeOf(const Source& source) {
  return cameraWord(source.recording.make);
}

std::string modelOf(const Source& source) {
  return cameraWord(source.recording.model);
}

std::string clipTitleOf(const Source& source) {
  return pathes2Titles(source.path);
}

struct NameField {
  std::string_view word;
  std::string (*textOf)(const Source& source);  // none: the usual name
};

constexpr std::array<NameField, 7> knownFields = {{{"title", clipTitleOf},
                                                   {"usual", nullptr},
                                                   {"date", dateOf},
                                                   {"time", timeOf},
                                                   {"timecode", timeCodeOf},
                                                   {"make", makeOf},
                                                   {"model", modelOf}}};

bool isControl(char32_t character) {
  return character < ' ' || (character >= 0x7F && character < 0xA0);
}

struct Characters {
  char32_t first;
  char32_t last;
};

template <std::size_t count>
bool isAmong(const std::array<Characters, count>& ranges, char32_t character) {
  return std::any_of(ranges.begin(), ranges.end(), [character](const Characters& range) {
    return character >= range.first && character <= range.last;
  });
}

// That cannot be seen, or turn the direction of what is behind them, and are of no use in a name.
constexpr std::array<Characters, 15> hiddenMarks = {{{0xAD, 0xAD},
                                                     {0x34F, 0x34F},
                                                     {0x61C, 0x61C},
                                                     {0x115F, 0x1160},
                                                     {0x180E, 0x180E},
                                                     {0x200B, 0x200B},
                                                     {0x200E, 0x200F},
                                                     {0x2028, 0x202E},
                                                     {0x2060, 0x2064},
                                                     {0x2066, 0x206F},
                                                     {0x3164, 0x3164},
                                                     {0xFEFF, 0xFEFF},
                                                     {0xFFA0, 0xFFA0},
                                                     {0xE0000, 0xE00FF},
                                                     {0xE01F0, 0xE0FFF}}};
// That cannot be seen by themselves, and belong into names: joiners of Persian, Indian scripts and
// emoji, variation selectors, and blanks.
constexpr std::array<Characters, 9> unseenByThemselves = {{{0xA0, 0xA0},
                                                           {0x1680, 0x1680},
                                                           {0x2000, 0x200A},
                                                           {0x200C, 0x200D},
                                                           {0x202F, 0x202F},
                                                           {0x205F, 0x205F},
                                                           {0x3000, 0x3000},
                                                           {0xFE00, 0xFE0F},
                                                           {0xE0100, 0xE01EF}}};

// Whether the character would spoil a name: one that no file system or not every one takes, or a
// hidden one.
bool isUnfit(char32_t character) {
  constexpr std::u32string_view reserved = U"/\\:*?\"<>|";
  return isControl(character) || reserved.find(character) != reserved.npos ||
         character == replacementCharacter || isAmong(hiddenMarks, character);
}

// Behind the last separator, and before the first one that is none.
std::string withoutSeparatorsAtEnd(const std::string& text) {
  return text.substr(0, text.find_last_not_of(separators) + 1);
}
std::string withoutSeparatorsAtStart(const std::string& text) {
  return text.substr(std::min(text.size(), text.find_first_not_of(separators)));
}

// Takes the brackets away between which nothing is left.
void dropBrackets(std::string& before, std::string& behind) {
  for (const std::string_view pair : {"()", "[]"})
    if (before.ends_with(pair.front()) && behind.starts_with(pair.back())) {
      before.pop_back();
      behind.erase(0, 1);
    }
}

// Takes away what stood between a fact that is missing and its neighbours.
void closeGap(std::string& before, std::string& behind) {
  dropBrackets(before, behind);
  if (std::string rest = withoutSeparatorsAtEnd(before); rest != before)
    before = std::move(rest);
  else
    behind = withoutSeparatorsAtStart(behind);
}

std::string fitName(std::string_view text) {
  std::string name;
  while (!text.empty()) {
    const char32_t character = takeUtf8(text);
    if (isUnfit(character))
      name += '-';
    else
      appendUtf8(name, character);
  }
  name = trimmed(name);
  if (name.starts_with('-'))
    name.front() = '_';  // an option to other programs
  return name;
}

bool isVisible(std::string_view text) {
  while (!text.empty()) {
    const char32_t character = takeUtf8(text);
    const bool isSeparator =
        character < 0x80 && separators.find(static_cast<char>(character)) != separators.npos;
    if (!isSeparator && !isAmong(hiddenMarks, character) && !isAmong(unseenByThemselves, character))
      return true;
  }
  return false;
}

std::optional<NameMistake> mistakeIn(std::string_view text) {
  if (!isUtf8(text))
    return NameMistake{NameMistake::Kind::notText};
  for (std::string_view rest = text; !rest.empty();)
    if (isControl(takeUtf8(rest)))
      return NameMistake{NameMistake::Kind::notText};
  if (contains(text, "/"))
    return NameMistake{NameMistake::Kind::slash};
  if (!isVisible(text))
    return NameMistake{NameMistake::Kind::empty};
  return std::nullopt;
}

}  // namespace

std::variant<NamePattern, NameMistake> NamePattern::parsed(std::string_view text) {
  if (auto mistake = mistakeIn(text))
    return *std::move(mistake);
  NamePattern pattern;
  while (!text.empty()) {
    const std::size_t brace = std::min(text.find_first_of("{}"), text.size());
    if (brace > 0)
      pattern.pieces_.push_back({.text = std::string(text.substr(0, brace))});
    text.remove_prefix(brace);
    if (text.empty())
      break;
    const std::size_t end = text.find_first_of("{}", 1);
    if (text.front() != '{' || end == text.npos || text[end] != '}')
      return NameMistake{NameMistake::Kind::brace};
    const std::string word(text.substr(1, end - 1));
    const auto field =
        std::find_if(knownFields.begin(), knownFields.end(),
                     [&word](const NameField& each) { return each.word == lowerCase(word); });
    if (field == knownFields.end())
      return NameMistake{NameMistake::Kind::field, word};
    pattern.pieces_.push_back(
        {.isField = true, .field = static_cast<std::size_t>(field - knownFields.begin())});
    text.remove_prefix(end + 1);
  }
  const bool isUsualAlone = pattern.pieces_.size() == 1 && pattern.pieces_.front().isField &&
                            !knownFields[pattern.pieces_.front().field].textOf;
  return isUsualAlone ? NamePattern() : pattern;
}

std::string NamePattern::nameOf(const Source& source, const std::string& usual) const {
  // The text between two facts, and at both ends, is of one piece.
  std::vector<std::string> texts(1);
  std::vector<std::string> facts;
  for (const Piece& piece : pieces_) {
    if (!piece.isField) {
      texts.back() += piece.text;
      continue;
    }
    const auto textOf = knownFields[piece.field].textOf;
    facts.push_back(textOf ? textOf(source) : usual);
    texts.emplace_back();
  }
  for (std::size_t fact = 0; fact < facts.size(); ++fact)
    if (facts[fact].empty())
      closeGap(texts[fact], texts[fact + 1]);
  std::string name = texts.front();
  for (std::size_t fact = 0; fact < facts.size(); ++fact)
    name += facts[fact] + texts[fact + 1];
  name = fitName(name);
  return isVisible(name) ? name : fitName(clipTitleOf(source));
}

std::vector<std::string_view> nameFields() {
  std::vector<std::string_view> words;
  words.reserve(knownFields.size());
  for (const NameField& field : knownFields)
    words.push_back(field.word);
  return words;
}

}  // namespace tessarin
