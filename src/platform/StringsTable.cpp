#include "platform/StringsTable.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>

#include "classShared/Utf8.h"

namespace tessarin {

namespace {

class Parser {
 public:
  explicit Parser(std::string_view bytes) : text_(bytes) {
    if (text_.substr(0, 3) == "\xEF\xBB\xBF")
      position_ = 3;
  }

  StringsTable parse() {
    while (skipBlanksAndComments()) {
      if (!parseEntry())
        skipLine();  // the next line most likely begins another entry
    }
    return std::move(table_);
  }

 private:
  bool atEnd() const { return position_ >= text_.size(); }
  bool startsWith(std::string_view prefix) const {
    return text_.substr(position_, prefix.size()) == prefix;
  }

  void fail(std::string_view what) {
    if (!table_.problem.empty())
      return;
    const auto line = std::count(text_.begin(), text_.begin() + offset(), '\n') + 1;
    table_.problem = fmt::format("line {}: {}", line, what);
  }
  std::string_view::difference_type offset() const {
    return static_cast<std::string_view::difference_type>(std::min(position_, text_.size()));
  }

  // False at the end of the file.
  bool skipBlanksAndComments() {
    while (!atEnd()) {
      if (text_.find_first_of(" \t\r\n", position_) == position_) {
        ++position_;
      } else if (startsWith("//")) {
        skipLine();
      } else if (startsWith("/*")) {
        const std::size_t end = text_.find("*/", position_ + 2);
        if (end == std::string_view::npos)
          fail("a comment without end");
        position_ = end == std::string_view::npos ? text_.size() : end + 2;
      } else {
        return true;
      }
    }
    return false;
  }

  void skipLine() {
    const std::size_t end = text_.find_first_of("\r\n", position_);
    position_ = end == std::string_view::npos ? text_.size() : end;
  }

  bool parseEntry() {
    const auto key = parseQuoted();
    if (!key || !expect('='))
      return false;
    const auto value = parseQuotedAhead();
    if (!value)
      return false;
    if (!table_.texts.insert_or_assign(*key, *value).second)
      table_.repeatedKeys.push_back(*key);
    expect(';');  // the entry is clear without it, so it counts and the next one may follow
    return true;
  }

  bool expect(char wanted) {
    if (skipBlanksAndComments() && text_[position_] == wanted) {
      ++position_;
      return true;
    }
    fail(fmt::format("\"{}\" is missing", wanted));
    return false;
  }

  std::optional<std::string> parseQuotedAhead() {
    if (skipBlanksAndComments())
      return parseQuoted();
    fail("a text in quotes was expected");
    return std::nullopt;
  }

  std::optional<std::string> parseQuoted() {
    if (text_[position_] != '"') {
      fail("a text in quotes was expected");
      return std::nullopt;
    }
    const std::size_t start = ++position_;
    std::string result;
    while (!atEnd() && text_[position_] != '"') {
      if (text_[position_] == '\\')
        parseEscape(result);
      else
        takeCharacter(result);
    }
    if (atEnd()) {
      position_ = start;  // so that the entries behind the faulty line are still read
      fail("a text without closing quote");
      return std::nullopt;
    }
    ++position_;
    return result;
  }

  void takeCharacter(std::string& result) {
    std::string_view rest = text_.substr(position_);
    const bool bad = takeUtf8(rest) == replacementCharacter && !startsWith("\xEF\xBF\xBD");
    const std::size_t next = text_.size() - rest.size();
    if (bad) {
      fail("a byte that is not UTF-8");
      appendUtf8(result, replacementCharacter);
    } else {
      result += text_.substr(position_, next - position_);
    }
    position_ = next;
  }

  void parseEscape(std::string& result) {
    ++position_;  // the backslash
    if (atEnd())
      return;
    const char kind = text_[position_];
    if (kind == 'U' || kind == 'u') {
      ++position_;
      parseUnit(result);
      return;
    }
    const std::string_view kinds = "nrt";
    const std::size_t index = kinds.find(kind);
    if (index == std::string_view::npos) {
      takeCharacter(result);
    } else {
      result += "\n\r\t"[index];
      ++position_;
    }
  }

  // The unit behind "\U"; two that make a surrogate pair are one character.
  void parseUnit(std::string& result) {
    const auto unit = hexUnit();
    if (!unit) {
      fail("\\U without four hexadecimal digits");
      return;
    }
    if (*unit >= 0xD800 && *unit < 0xDC00 && (startsWith("\\U") || startsWith("\\u"))) {
      const std::size_t before = position_;
      position_ += 2;
      const auto second = hexUnit();
      if (second && *second >= 0xDC00 && *second < 0xE000) {
        appendUtf8(result, 0x10000 + ((*unit - 0xD800) << 10) + (*second - 0xDC00));
        return;
      }
      position_ = before;
    }
    appendUtf8(result, *unit);
  }

  std::optional<char32_t> hexUnit() {
    char32_t unit = 0;
    if (text_.size() - position_ < 4)
      return std::nullopt;
    for (std::size_t index = 0; index < 4; ++index) {
      const std::size_t digit =
          std::string_view("0123456789abcdef0123456789ABCDEF").find(text_[position_ + index]);
      if (digit == std::string_view::npos)
        return std::nullopt;
      unit = unit * 16 + static_cast<char32_t>(digit % 16);
    }
    position_ += 4;
    return unit;
  }

  std::string_view text_;
  std::size_t position_ = 0;
  StringsTable table_;
};

}  // namespace

StringsTable parseStringsTable(std::string_view bytes) {
  return Parser(bytes).parse();
}

}  // namespace tessarin
