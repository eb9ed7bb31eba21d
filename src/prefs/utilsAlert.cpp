#include "prefs/utilsAlert.h"

#include <fmt/format.h>

#include <algorithm>

#include "classShared/TextAdditions.h"
#include "classShared/log.h"
#include "platform/Alerts.h"
#include "platform/Bundle.h"
#include "prefs/textEncodings.h"

namespace tessarin {

namespace {

constexpr std::string_view messageTable = "Localized";

using Variables = std::vector<std::string_view>;

// Takes a placeholder ("%@" or "%2$@") off the text and answers which variable it means, counted
// from 0; `next` is the one that a plain "%@" means. Nothing when the text begins with none.
std::optional<std::size_t> takenPlaceholder(std::string_view& text, std::size_t next) {
  if (startsWith(text, "%@")) {
    text.remove_prefix(2);
    return next;
  }
  const bool numbered = text.size() >= 4 && text[0] == '%' && text[1] >= '1' && text[1] <= '9' &&
                        text.substr(2, 2) == "$@";
  if (!numbered)
    return std::nullopt;
  const auto number = static_cast<std::size_t>(text[1] - '1');
  text.remove_prefix(4);
  return number;
}

std::string filled(std::string_view format, const Variables& variables) {
  std::string result;
  std::size_t next = 0;
  while (!format.empty()) {
    const std::string_view before = format;
    if (const auto number = takenPlaceholder(format, next)) {
      if (before[1] == '@')
        ++next;
      result += *number < variables.size() ? variables[*number]
                                           : before.substr(0, before.size() - format.size());
    } else {
      const std::size_t length = startsWith(format, "%%") ? 2 : 1;
      result += format.front();
      format.remove_prefix(length);
    }
  }
  return result;
}

}  // namespace

std::string localisationString(std::string_view key, std::string_view table,
                               std::string_view variable1, std::string_view variable2,
                               std::string_view variable3, std::string_view variable4,
                               std::string_view variable5) {
  const std::string text =
      Bundle::main().localizedString(key, table.empty() ? messageTable : table);
  Variables variables = {variable1, variable2, variable3, variable4, variable5};
  variables.erase(std::find_if(variables.begin(), variables.end(),
                               [](std::string_view variable) { return variable.empty(); }),
                  variables.end());
  return variables.empty() ? text : filled(text, variables);
}

bool hasLocalization(std::string_view key) {
  return Bundle::main().localizedString(key, messageTable) != key;
}

std::optional<std::string> localLanguageCode() {
  constexpr std::string_view key = "D_Langue";
  const std::string text = Bundle::main().localizedString(key, messageTable);
  if (!hasLocalization(key) || characterCount(text) != 3)
    return std::nullopt;
  return std::string(firstCharacters(text, 2));
}

void languageGuardAlert(const std::string& informativeText) {
  constexpr std::string_view french =
      ":-(\nVous n'auriez pas du voir cette alerte apparaître. Merci d'en faire une capture (et de "
      "préparer -en plus- une capture de l'application…)";
  constexpr std::string_view english =
      ":-(\nYou would not have to see this alert. Thanks to make a screenshot of it (and to "
      "prepare "
      "a screenshot of the application...)";
  // A table may also hold the code alone.
  const bool isFrench = localLanguageCode() == "fr" || localisationString("D_Langue") == "fr";
  Alert alert;
  alert.message = isFrench ? french : english;
  alert.informative = informativeText;
  alert.style = Alert::Style::critical;
  userAlerts().show(alert);
}

void alertDidEnd(std::int64_t returnCode) {
  if (returnCode == firstButtonReturnCode)
    logLine("1m");
  logLine("2");
  if (returnCode != 0)
    logFormat("returnCode:{}", returnCode);
}

std::optional<Value> encodingTable(std::int64_t number, std::string_view name) {
  constexpr std::int64_t wholeTable = -1;
  const auto& encodings = textEncodings();
  for (const TextEncoding& encoding : encodings)
    if (encoding.name == name)
      return Value(encoding.number);
  if (!name.empty())
    logFormat("not found :-( {}", name);
  if (number == wholeTable) {
    Dico table;
    for (const TextEncoding& encoding : encodings)
      table.set(fmt::format("{}", encoding.number), encoding.name);
    return Value(table);
  }
  for (const TextEncoding& encoding : encodings)
    if (encoding.number == number)
      return Value(encoding.name);
  return std::nullopt;
}

}  // namespace tessarin
