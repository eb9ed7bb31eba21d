#include "analysis/sourceFacts.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>

#include "classShared/TextAdditions.h"
#include "ffmpeg/pictureColours.h"
#include "ffmpeg/reportNumbers.h"

namespace tessarin {

namespace {

// Longer than what ffmpeg says of any source, shorter than what would be of use to anybody.
constexpr std::size_t longestWord = 200;
constexpr std::size_t longestText = 4096;
constexpr std::size_t longestList = 10000;  // chapters, remarks
// Streams of one kind. ffmpeg opens no file with more than 1000 streams.
constexpr std::size_t longestIndex = 3;  // digits

// Fields a second, of twice as many as pictures.
constexpr NumberRange fieldRate{ReportRange::pictureRate.least, 2 * ReportRange::pictureRate.most};
constexpr NumberRange milliseconds{1000 * ReportRange::time.least, 1000 * ReportRange::time.most};
constexpr NumberRange behindStart{0, ReportRange::time.most};  // seconds
constexpr NumberRange reading{1, 1e12};                        // bytes or microseconds
constexpr NumberRange one{1, 1};
constexpr NumberRange anything{0, 0};  // of texts

enum class Kind {
  integer,    // within the range
  number,     // within the range
  word,       // printable ASCII without blanks
  text,       // UTF-8 without control characters
  ratio,      // "16:9"
  numbers,    // a list, each of them within the range
  remarks,    // a list of "KEY NUMBER"
  claim,      // "TFF" or "BFF"
  primaries,  // ffmpeg's names for them
  transfer,
  matrix,
  moment,     // "2010-12-24 14:05:33", perhaps with " +0100" behind it
  witness,    // one of RecordedBy
  container,  // a format that ffmpeg is told of
};

struct Rule {
  std::string_view key;  // of a stream's key the field
  Kind kind;
  NumberRange range = anything;
};

constexpr std::array containerRules = {
    Rule{SourceKey::wrapper, Kind::word},
    Rule{SourceKey::wDuration, Kind::number, ReportRange::duration},
    Rule{SourceKey::wSeconds, Kind::number, ReportRange::duration},
    Rule{SourceKey::wBytes, Kind::word},
    Rule{SourceKey::recorded, Kind::moment},
    Rule{SourceKey::recordedBy, Kind::witness},
    Rule{SourceKey::wOffset, Kind::number, ReportRange::time},
    Rule{SourceKey::wForce, Kind::container},
    Rule{SourceKey::wBitrate, Kind::integer, ReportRange::bitRate},
    Rule{SourceKey::wProbeSize, Kind::integer, reading},
    Rule{SourceKey::wAnalyzeDuration, Kind::integer, reading},
    Rule{SourceKey::wMap, Kind::integer, one},
    Rule{SourceKey::chapters, Kind::numbers, ReportRange::duration},
    Rule{SourceKey::remarks, Kind::remarks},
    Rule{SourceKey::intraOffset, Kind::number, behindStart},
    Rule{SourceKey::vOffsetMs, Kind::integer, milliseconds},
    Rule{SourceKey::v0FieldsClaim, Kind::claim},
    Rule{SourceKey::v0Primaries, Kind::primaries},
    Rule{SourceKey::v0Transfer, Kind::transfer},
    Rule{SourceKey::v0Matrix, Kind::matrix},
    Rule{SourceKey::v0Begin, Kind::number, ReportRange::time}};

constexpr std::array streamRules = {
    Rule{StreamField::id, Kind::integer, ReportRange::streamNumber},
    Rule{StreamField::lang, Kind::text},
    Rule{StreamField::title, Kind::text},
    Rule{StreamField::codec, Kind::word},
    Rule{StreamField::bitrate, Kind::integer, ReportRange::bitRate},
    Rule{StreamField::fps, Kind::number, fieldRate},
    Rule{StreamField::tbc, Kind::number, ReportRange::codecClock},
    Rule{StreamField::width, Kind::integer, ReportRange::pictureSide},
    Rule{StreamField::height, Kind::integer, ReportRange::pictureSide},
    Rule{StreamField::par, Kind::ratio},
    Rule{StreamField::dar, Kind::ratio},
    Rule{StreamField::chroma, Kind::word},
    Rule{StreamField::fields, Kind::text},
    Rule{StreamField::rotation, Kind::integer, ReportRange::rotation},
    Rule{StreamField::rate, Kind::integer, ReportRange::soundRate},
    Rule{StreamField::channels, Kind::integer, ReportRange::channels},
    Rule{StreamField::force, Kind::integer, one},
    Rule{StreamField::offsetMs, Kind::integer, milliseconds},
    Rule{StreamField::offsetDts, Kind::integer, milliseconds}};

template <class Rules>
const Rule* find(const Rules& rules, std::string_view key) {
  const auto found =
      std::find_if(rules.begin(), rules.end(), [key](const Rule& rule) { return rule.key == key; });
  return found == rules.end() ? nullptr : &*found;
}

bool isDigits(std::string_view text) {
  return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

// The field of "v0_fps"; nothing when the key is none of a stream.
std::optional<std::string_view> fieldOfKey(std::string_view key) {
  constexpr std::string_view kinds = "wvas";
  const std::size_t line = key.find('_');
  if (line == std::string_view::npos || line < 2 || line > 1 + longestIndex ||
      kinds.find(key.front()) == std::string_view::npos || !isDigits(key.substr(1, line - 1)))
    return std::nullopt;
  return key.substr(line + 1);
}

const Rule* ruleOf(std::string_view key) {
  if (const Rule* rule = find(containerRules, key))
    return rule;
  const auto field = fieldOfKey(key);
  return field ? find(streamRules, *field) : nullptr;
}

bool isNumber(const Value& value, NumberRange range) {
  const auto number = value.isBoolean() ? std::nullopt : value.number();
  return number && isWithin(*number, range);
}

bool isWord(std::string_view text) {
  return !text.empty() && text.size() <= longestWord &&
         std::all_of(text.begin(), text.end(), [](char byte) { return byte > ' ' && byte <= '~'; });
}

bool isText(std::string_view text) {
  const auto isControl = [](char byte) {
    return (byte >= 0 && byte < ' ' && byte != '\t') || byte == 0x7F;
  };
  return text.size() <= longestText && isUtf8(text) &&
         std::none_of(text.begin(), text.end(), isControl);
}

bool isOneOf(std::string_view text, std::initializer_list<std::string_view> words) {
  return std::find(words.begin(), words.end(), text) != words.end();
}

// It becomes part of a movie's name: every character counts.
bool isMoment(std::string_view text) {
  const auto hasShape = [text](std::string_view shape) {
    return text.size() == shape.size() &&
           std::equal(text.begin(), text.end(), shape.begin(), [](char byte, char wanted) {
             return wanted == '0'   ? byte >= '0' && byte <= '9'
                    : wanted == '+' ? byte == '+' || byte == '-'
                                    : byte == wanted;
           });
  };
  return hasShape("0000-00-00 00:00:00") || hasShape("0000-00-00 00:00:00 +0000");
}

bool isRemark(const Value& value) {
  const std::string* text = value.textContent();
  return text && isOneOf(textUpTo(*text, " "), {Remark::soundUnreadable, Remark::programs}) &&
         text->size() <= longestWord && isDigits(textAfter(*text, " ").value_or(""));
}

bool obeys(const Value& value, const Rule& rule) {
  const std::string* text = value.textContent();
  switch (rule.kind) {
    case Kind::integer:
      return isNumber(value, rule.range) && std::trunc(*value.number()) == *value.number();
    case Kind::number:
      return isNumber(value, rule.range);
    case Kind::word:
      return text && isWord(*text);
    case Kind::text:
      return text && isText(*text);
    case Kind::ratio:
      return text && ratioText(*text) == *text;
    case Kind::claim:
      return text && isOneOf(*text, {"TFF", "BFF"});
    case Kind::primaries:
      return text && isPrimaries(*text);
    case Kind::transfer:
      return text && isTransfer(*text);
    case Kind::matrix:
      return text && isMatrix(*text);
    case Kind::moment:
      return text && isMoment(*text);
    case Kind::witness:
      return text && isOneOf(*text, {RecordedBy::card, RecordedBy::beside, RecordedBy::stream,
                                     RecordedBy::container, RecordedBy::file});
    case Kind::container:
      return text && isOneOf(*text, {"dv", "mpeg", "mpegvideo"});
    case Kind::numbers:
      return value.list() && value.list()->size() <= longestList &&
             std::all_of(value.list()->begin(), value.list()->end(),
                         [&rule](const Value& item) { return isNumber(item, rule.range); });
    case Kind::remarks:
      return value.list() && value.list()->size() <= longestList &&
             std::all_of(value.list()->begin(), value.list()->end(), isRemark);
  }
  return false;
}

}  // namespace

Fact judgeFact(std::string_view key, const Value& value) {
  const Rule* rule = ruleOf(key);
  if (!rule)
    return Fact::unknown;
  return obeys(value, *rule) ? Fact::good : Fact::wrong;
}

}  // namespace tessarin
