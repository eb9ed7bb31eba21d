#include "tools/movtool/sourceTexts.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <string>
#include <utility>

#include "classShared/TextAdditions.h"
#include "ffmpeg/reportNumbers.h"
#include "ffmpeg/reportText.h"
#include "ffmpeg/streamLine.h"

namespace tessarin::movtool {

namespace {

using quicktime::MovieText;

// ffmpeg's names, and the kinds of a movie's texts. Telephones have names of their own, behind
// "com.apple.quicktime.".
constexpr std::array<std::pair<std::string_view, std::string_view>, 15> kinds{{
    {"title", "\xA9nam"},
    {"artist",
     "\xA9"
     "ART"},
    {"author",
     "\xA9"
     "aut"},
    {"album",
     "\xA9"
     "alb"},
    {"comment",
     "\xA9"
     "cmt"},
    {"description",
     "\xA9"
     "des"},
    {"date",
     "\xA9"
     "day"},
    {"creationdate",
     "\xA9"
     "day"},
    {"copyright",
     "\xA9"
     "cpy"},
    {"genre", "\xA9gen"},
    {"make", "\xA9mak"},
    {"model", "\xA9mod"},
    {"location", "\xA9xyz"},
    {"location.iso6709", "\xA9xyz"},
    {"keywords", "\xA9key"},
}};

std::string kindOf(std::string_view name) {
  constexpr std::string_view ofTelephones = "com.apple.quicktime.";
  std::string word = lowerCase(std::string(name));
  if (startsWith(word, ofTelephones))
    word.erase(0, ofTelephones.size());
  for (const auto& [known, kind] : kinds)
    if (word == known)
      return std::string(kind);
  return {};
}

// "2020-01-02T03:04:05.000000Z"; nothing for other forms, and for moments that the movie's 32 bits
// cannot count, of which the first stands for none in many files.
std::optional<std::uint64_t> secondsSince1904(std::string_view text) {
  constexpr std::string_view form = "0000-00-00T00:00:00";
  if (text.size() < form.size() || text.back() != 'Z')
    return std::nullopt;
  for (std::size_t i = 0; i < form.size(); ++i)
    if (form[i] == '0' ? text[i] < '0' || text[i] > '9' : text[i] != form[i])
      return std::nullopt;
  const auto part = [text](std::size_t at, std::size_t count) {
    return static_cast<int>(leadingInteger(text.substr(at, count)));
  };
  using namespace std::chrono;
  const year_month_day day{year(part(0, 4)), month(static_cast<unsigned>(part(5, 2))),
                           std::chrono::day(static_cast<unsigned>(part(8, 2)))};
  if (!day.ok() || part(11, 2) > 23 || part(14, 2) > 59 || part(17, 2) > 59)
    return std::nullopt;
  const seconds moment = sys_days(day) - sys_days(year(1904) / January / 1) + hours(part(11, 2)) +
                         minutes(part(14, 2)) + seconds(part(17, 2));
  if (moment.count() <= 0 || moment.count() > 0xFFFFFFFF)
    return std::nullopt;
  return static_cast<std::uint64_t>(moment.count());
}

}  // namespace

SourceTexts sourceTexts(std::string_view report) {
  SourceTexts result;
  MovieText* last = nullptr;  // what a line without a name goes on with
  bool inTexts = false;
  ReportLines lines(inputBlock(report));
  while (const auto line = lines.next()) {
    // The source's own come first, the streams' behind the duration.
    if (line->starts_with("  Duration: "))
      break;
    if (*line == "  Metadata:") {
      inTexts = true;
      continue;
    }
    const auto value = textAfter(*line, ": ");
    if (!inTexts || !line->starts_with("    ") || !value)
      continue;
    const std::string_view name = trimmed(textUpTo(*line, ": "));
    if (name.empty()) {
      if (last != nullptr)
        last->text.append("\n").append(*value);
      continue;
    }
    last = nullptr;
    if (name == "creation_time")
      result.made = secondsSince1904(trimmed(*value));
    const std::string kind = kindOf(name);
    const bool isNew = std::none_of(result.texts.begin(), result.texts.end(),
                                    [&](const MovieText& each) { return each.kind == kind; });
    if (kind.empty() || value->empty() || !isNew)
      continue;
    result.texts.push_back({kind, std::string(*value)});
    last = &result.texts.back();
  }
  return result;
}

std::vector<SourceSound> sourceSounds(std::string_view report) {
  std::vector<SourceSound> sounds;
  DescriptionLines lines(inputBlock(report));
  while (const auto line = lines.next()) {
    const auto stream = parseStreamLine(*line);
    const bool isSound =
        stream && stream->id && stream->kind == StreamKind::audio && stream->codec != "none" &&
        std::none_of(sounds.begin(), sounds.end(),
                     [&](const SourceSound& each) { return each.stream == *stream->id; });
    if (!isSound)
      continue;
    std::string text = textBelow(lines.behind(), "title");
    if (text.empty())
      text = textBelow(lines.behind(), "handler_name");
    sounds.push_back({*stream->id, {std::string(stream->lang), std::move(text)}});
  }
  return sounds;
}

SourceSound soundOf(const std::vector<SourceSound>& sounds, std::optional<int> stream) {
  const auto found = std::find_if(sounds.begin(), sounds.end(), [stream](const SourceSound& each) {
    return !stream || each.stream == *stream;
  });
  return found != sounds.end() ? *found : SourceSound{stream.value_or(0), {}};
}

}  // namespace tessarin::movtool
