#include "updates/address.h"

#include <curl/curl.h>

#include <memory>

#include "classShared/TextAdditions.h"
#include "prefs/utilsAlert.h"

namespace tessarin {

namespace {

using Url = std::unique_ptr<CURLU, decltype(&curl_url_cleanup)>;

Url parsed(const std::string& address) {
  Url url(curl_url(), curl_url_cleanup);
  if (url && curl_url_set(url.get(), CURLUPART_URL, address.c_str(), CURLU_NON_SUPPORT_SCHEME) !=
                 CURLUE_OK)
    url.reset();
  return url;
}

std::string part(const Url& url, CURLUPart which) {
  char* text = nullptr;
  if (curl_url_get(url.get(), which, &text, 0) != CURLUE_OK)
    return {};
  const std::unique_ptr<char, decltype(&curl_free)> owner(text, curl_free);
  return text;
}

Failure notAskable(std::string_view address) {
  return {localisationString("why_updateAddress", "", address)};
}

}  // namespace

Outcome<std::string> askableAddress(std::string_view address) {
  const std::string text(trimmed(address));
  const Url url = parsed(text);
  if (!url)
    return notAskable(text);
  const std::string scheme = part(url, CURLUPART_SCHEME);
  if ((scheme != "https" && scheme != "http") || part(url, CURLUPART_HOST).empty() ||
      !part(url, CURLUPART_USER).empty() || !part(url, CURLUPART_PASSWORD).empty())
    return notAskable(text);
  return part(url, CURLUPART_URL);
}

Outcome<std::string> addressInDocument(std::string_view document, std::string_view address) {
  const Url url = parsed(std::string(document));
  const std::string text(trimmed(address));
  if (!url || text.empty() ||
      curl_url_set(url.get(), CURLUPART_URL, text.c_str(), CURLU_NON_SUPPORT_SCHEME) != CURLUE_OK)
    return notAskable(text);
  auto whole = askableAddress(part(url, CURLUPART_URL));
  if (whole && isSecure(document) && !isSecure(*whole))
    return Failure{localisationString("why_updateUnsafe", "", *whole)};
  return whole;
}

bool isSecure(std::string_view address) {
  return startsWith(lowerCase(address.substr(0, 8)), "https://");
}

}  // namespace tessarin
