#include "views/popUpTitles.h"

#include "analysis/soundChoice.h"
#include "classShared/TextAdditions.h"
#include "core/language.h"
#include "encoding/outputPreset.h"
#include "prefs/utilsAlert.h"
#include "views/localize.h"
#include "views/qtText.h"

namespace tessarin {

namespace {

// The heading of the sizes below it.
constexpr const char* headingKey = "presetForceOut";

}  // namespace

PopUpTitle sizeTitle(const PopUpButton::Item& item) {
  if (trimmed(item.title).empty())
    return {{}, {}, false};
  if (hasLocalization(item.title))
    return {qtText(localisationString(item.title)), {}, item.title != headingKey};
  QString text = qtText(presetShortLabel(item.title)).simplified();
  text.replace(QLatin1String("x "), QStringLiteral("x"))
      .replace(QLatin1String("( "), QStringLiteral("("));
  text.replace(QLatin1Char('x'), QChar(0x00D7));
  const auto rates = textAfter(item.title, "->");
  return {text, qtText(std::string(rates.value_or(""))).simplified(), true};
}

PopUpTitle languageTitle(const PopUpButton::Item& item) {
  if (item.title.empty())
    return {localizedText(QStringLiteral("@@languageDesktop"))};
  return {qtText(languageName(item.title))};
}

PopUpTitle jobsTitle(const PopUpButton::Item& item) {
  if (item.value == "0")
    return {localizedText(QStringLiteral("@@jobsAutomatic"))};
  return {qtText(item.value)};
}

PopUpTitle soundTitle(const PopUpButton::Item& item) {
  if (item.value.empty())
    return {localizedText(QStringLiteral("@@soundAll"))};
  if (item.value == firstSoundAlone)
    return {localizedText(QStringLiteral("@@soundFirst"))};
  return {qtText(item.value)};
}

PopUpTitle slowSoundTitle(const PopUpButton::Item& item) {
  const auto choice = slowSoundOfWord(item.value).value_or(SlowSound::asRecorded);
  return {localizedText(choice == SlowSound::silent   ? QStringLiteral("@@prefSlowSoundSilent")
                        : choice == SlowSound::slowed ? QStringLiteral("@@prefSlowSoundSlowed")
                                                      : QStringLiteral("@@prefSlowSoundKeep"))};
}

PopUpTitle proresTitle(const PopUpButton::Item& item) {
  return {qtText(item.title), {}, true};
}

}  // namespace tessarin
