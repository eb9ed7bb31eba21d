#include "core/movieNames.h"

#include <fmt/format.h>

#include <vector>

#include "classShared/TextAdditions.h"
#include "encoding/outputName.h"
#include "prefs/utilsAlert.h"
#include "utils/files.h"

namespace tessarin {

namespace {

std::string listOfFields() {
  std::vector<std::string> fields;
  for (const std::string_view word : nameFields())
    fields.push_back(fmt::format("{{{}}}", word));
  return joinTexts(fields, " ");
}

std::string wordsOf(const NameMistake& mistake) {
  switch (mistake.kind) {
    case NameMistake::Kind::field:
      return localisationString("names_field", "", fmt::format("{{{}}}", mistake.word));
    case NameMistake::Kind::brace:
      return localisationString("names_brace");
    case NameMistake::Kind::slash:
      return localisationString("names_slash");
    case NameMistake::Kind::notText:
      return localisationString("names_notText");
    case NameMistake::Kind::empty:
      break;
  }
  return localisationString("names_empty");
}

Row exampleRow(const Interface& interface) {
  Row row;
  row.source.path = "00012.MTS";
  row.source.recorded = "2010-12-24 14:05:33";
  row.source.recordedBy = RecordedBy::stream;
  row.source.recording.timeCode = "10:00:00:00";
  row.source.recording.make = "Sony";
  row.source.recording.model = "HDR-CX730";
  row.choice.target = interface.target.value_or(
      applicationTable[static_cast<std::size_t>(interface.editingSoft.selected())].firstTarget);
  return row;
}

}  // namespace

std::optional<std::string> refusalOfPattern(std::string_view text) {
  const auto pattern = NamePattern::parsed(text);
  if (const auto* mistake = std::get_if<NameMistake>(&pattern))
    return localisationString("why_names", "", wordsOf(*mistake), listOfFields());
  return std::nullopt;
}

std::optional<std::string> mistakeInNames(const Interface& interface) {
  const std::string& text = interface.names.text();
  const auto pattern = NamePattern::parsed(text);
  const auto* mistake = std::get_if<NameMistake>(&pattern);
  return mistake && !text.empty() ? std::optional(wordsOf(*mistake)) : std::nullopt;
}

NamePattern namesOf(const Interface& interface) {
  auto pattern = NamePattern::parsed(interface.names.text());
  auto* names = std::get_if<NamePattern>(&pattern);
  return names ? std::move(*names) : NamePattern();
}

std::optional<std::string> refusalOfNames(const Interface& interface) {
  return interface.names.text().empty() ? std::nullopt : refusalOfPattern(interface.names.text());
}

std::optional<std::string> usablePattern(const Interface& interface) {
  if (refusalOfNames(interface))
    return std::nullopt;
  const std::string& text = interface.names.text();
  return text.empty() ? std::string(usualNames) : text;
}

std::string exampleName(const Interface& interface, const Row* row) {
  const Row shown = row ? *row : exampleRow(interface);
  OutputNames taken;
  return fileName(outputPath(shown.source, shown.choice.target, "/", taken, namesOf(interface)));
}

}  // namespace tessarin
