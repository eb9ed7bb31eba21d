#include "updates/address.h"

#include <QUrl>

#include "classShared/TextAdditions.h"
#include "prefs/utilsAlert.h"

namespace tessarin {

namespace {

QUrl parsed(std::string_view address) {
  return {QString::fromUtf8(address.data(), static_cast<qsizetype>(address.size())),
          QUrl::StrictMode};
}

Failure notAskable(std::string_view address) {
  return {localisationString("why_updateAddress", "", address)};
}

}  // namespace

Outcome<std::string> askableAddress(std::string_view address) {
  const QUrl url = parsed(trimmed(address));
  const bool isWeb = url.scheme() == "https" || url.scheme() == "http";
  if (!url.isValid() || !isWeb || url.host().isEmpty() || !url.userInfo().isEmpty())
    return notAskable(trimmed(address));
  return url.toEncoded().toStdString();
}

Outcome<std::string> addressInDocument(std::string_view document, std::string_view address) {
  const std::string_view text = trimmed(address);
  const QUrl relative = parsed(text);
  if (text.empty() || !relative.isValid())
    return notAskable(text);
  auto whole = askableAddress(parsed(document).resolved(relative).toEncoded().toStdString());
  if (whole && isSecure(document) && !isSecure(*whole))
    return Failure{localisationString("why_updateUnsafe", "", *whole)};
  return whole;
}

bool isSecure(std::string_view address) {
  return startsWith(lowerCase(address.substr(0, 8)), "https://");
}

}  // namespace tessarin
