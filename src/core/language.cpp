#include "core/language.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include "classShared/TextAdditions.h"
#include "platform/Bundle.h"

namespace tessarin {

namespace {

constexpr std::string_view folderSuffix = ".lproj";

std::string environment(const char* name) {
  const char* value = std::getenv(name);
  return value ? value : "";
}

}  // namespace

std::vector<std::string> availableLanguages() {
  std::vector<std::string> codes;
  std::error_code failed;
  for (const auto& entry :
       std::filesystem::directory_iterator(Bundle::main().resourcePath(), failed)) {
    const std::string name = entry.path().filename().string();
    if (endsWith(name, folderSuffix))
      codes.push_back(name.substr(0, name.size() - folderSuffix.size()));
  }
  std::sort(codes.begin(), codes.end());
  return codes;
}

std::string languageName(const std::string& code) {
  return Bundle(Bundle::main().resourcePath(), {code})
      .localizedString("languageName", "Localizable");
}

void useLanguage(const std::string& code) {
  auto languages = wantedLanguages(environment("LANGUAGE"), environment("LC_ALL"),
                                   environment("LC_MESSAGES"), environment("LANG"));
  if (!code.empty())
    languages.insert(languages.begin(), code);
  Bundle::setMain(Bundle(Bundle::main().resourcePath(), std::move(languages)));
}

void listLanguages(PopUpButton& popup, const PreferenceStore& preferences) {
  const std::string chosen = preferences.prefReadString(languageKey);
  std::vector<PopUpButton::Item> items{{"", "", ""}};
  int selected = 0;
  for (const std::string& code : availableLanguages()) {
    if (code == chosen)
      selected = static_cast<int>(items.size());
    items.push_back({code, "", ""});
  }
  popup.setItems(std::move(items));
  popup.select(selected);
}

}  // namespace tessarin
