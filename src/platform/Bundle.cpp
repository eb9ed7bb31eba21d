#include "platform/Bundle.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include "classShared/log.h"
#include "platform/propertyList.h"
#include "utils/files.h"

namespace tessarin {

namespace {

constexpr const char* lastLanguage = "en";

std::optional<Bundle>& mainBundle() {
  static std::optional<Bundle> bundle;
  return bundle;
}

bool exists(const std::string& path) {
  std::error_code failed;
  return std::filesystem::exists(path, failed);
}

std::string folderOfLanguage(const std::string& resourcePath, std::string_view language) {
  return resourcePath + "/" + std::string(language) + ".lproj";
}

std::string resourcePathOfExecutable() {
  std::error_code failed;
  const auto executable = std::filesystem::read_symlink("/proc/self/exe", failed);
  const auto prefix = executable.parent_path().parent_path();
  const std::string besideBuild = (prefix / "resources").string();
  return exists(besideBuild) ? besideBuild : (prefix / "lib/tessarin/resources").string();
}

std::string environment(const char* name) {
  const char* value = std::getenv(name);
  return value ? value : "";
}

// "fr_CA.UTF-8@euro" asks for "fr_CA", then for "fr".
void addLocale(std::vector<std::string>& languages, std::string_view locale) {
  const std::string_view withRegion = locale.substr(0, locale.find_first_of(".@"));
  const std::string_view alone = withRegion.substr(0, withRegion.find('_'));
  for (const std::string_view code : {withRegion, alone})
    if (!code.empty() && code != "C" && code != "POSIX" &&
        std::find(languages.begin(), languages.end(), code) == languages.end())
      languages.emplace_back(code);
}

}  // namespace

std::vector<std::string> wantedLanguages(std::string_view language, std::string_view lcAll,
                                         std::string_view lcMessages, std::string_view lang) {
  const std::string_view locale = !lcAll.empty() ? lcAll : !lcMessages.empty() ? lcMessages : lang;
  std::vector<std::string> languages;
  std::vector<std::string> ofLocale;
  addLocale(ofLocale, locale);
  if (ofLocale.empty())
    return languages;
  while (!language.empty()) {
    const std::size_t colon = std::min(language.find(':'), language.size());
    addLocale(languages, language.substr(0, colon));
    language.remove_prefix(std::min(colon + 1, language.size()));
  }
  addLocale(languages, locale);
  return languages;
}

Bundle::Bundle(std::string resourcePath, std::vector<std::string> languages)
    : resourcePath_(std::move(resourcePath)) {
  languages.emplace_back(lastLanguage);
  for (const std::string& code : languages)
    if (std::find(languages_.begin(), languages_.end(), code) == languages_.end() &&
        exists(folderOfLanguage(resourcePath_, code)))
      languages_.push_back(code);
  language_ = languages_.empty() ? lastLanguage : languages_.front();

  const auto info = readPropertyList(resourcePath_ + "/Info.plist");
  if (info && info.value().dico())
    info_ = *info.value().dico();
  else
    logFormat("Info.plist          :-( {}", info ? "is no dictionary" : info.reason());
}

const Bundle& Bundle::main() {
  std::optional<Bundle>& bundle = mainBundle();
  if (!bundle)
    bundle.emplace(resourcePathOfExecutable(),
                   wantedLanguages(environment("LANGUAGE"), environment("LC_ALL"),
                                   environment("LC_MESSAGES"), environment("LANG")));
  return *bundle;
}

void Bundle::setMain(Bundle bundle) {
  mainBundle() = std::move(bundle);
}

std::optional<std::string> Bundle::pathForResource(std::string_view name,
                                                   std::string_view type) const {
  std::string file = "/" + std::string(name);
  if (!type.empty())
    file += "." + std::string(type);
  if (exists(resourcePath_ + file))
    return resourcePath_ + file;
  for (const std::string& code : languages_)
    if (const std::string path = folderOfLanguage(resourcePath_, code) + file; exists(path))
      return path;
  return std::nullopt;
}

std::string Bundle::toolPath(std::string_view name) const {
  return resourcePath_ + "/tools/" + std::string(name);
}

const Value* Bundle::objectForInfoDictionaryKey(std::string_view key) const {
  return info_.find(key);
}

std::string Bundle::name() const {
  return info_.text("CFBundleName").value_or("Tessarin");
}

std::string Bundle::localizedString(std::string_view key, std::string_view table) const {
  for (const std::string& code : languages_) {
    const auto& texts = tableOf(code, table).texts;
    if (const auto found = texts.find(key); found != texts.end())
      return found->second;
  }
  return std::string(key);
}

const StringsTable& Bundle::tableOf(const std::string& language, std::string_view table) const {
  const std::string name = language + "/" + std::string(table);
  const auto known = tables_.find(name);
  if (known != tables_.end())
    return known->second;
  const std::string path =
      folderOfLanguage(resourcePath_, language) + "/" + std::string(table) + ".strings";
  StringsTable read;
  if (const auto bytes = readWholeFile(path))
    read = parseStringsTable(bytes.value());
  else if (exists(path))
    read.problem = bytes.reason();
  if (!read.problem.empty())
    logFormat("string table        :-( {}: {}", path, read.problem);
  return tables_.emplace(name, std::move(read)).first->second;
}

}  // namespace tessarin
