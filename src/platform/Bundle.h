// The program's resources: files, Info.plist, tools and the texts in the user's language.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "classShared/Value.h"
#include "platform/StringsTable.h"

namespace tessarin {

// A resources folder laid out as
//   Info.plist, tools/NAME, CODE.lproj/TABLE.strings for each language, and other files.
// What is missing or damaged is reported in the log once and then treated as absent. Main thread
// only: tables are read when they are first asked for.
class Bundle {
 public:
  // `languages` are language codes, the user's favourite first ("fr", "pt_BR"). English is always
  // asked last, so it need not be among them.
  Bundle(std::string resourcePath, std::vector<std::string> languages);

  // The bundle of this program. Unless setMain was called, the folder is found from the
  // executable: <its folder>/../resources (a build), else <its folder>/../lib/tessarin/resources
  // (an installation); the languages come from the environment.
  static const Bundle& main();
  static void setMain(Bundle bundle);

  const std::string& resourcePath() const { return resourcePath_; }

  // The full path of the resource NAME.TYPE (NAME alone when the type is empty): beside Info.plist,
  // else in the folder of the first language that has it. Nothing when there is no such file.
  std::optional<std::string> pathForResource(std::string_view name, std::string_view type) const;

  // Where the tool of this name stands, whether it is there or not.
  std::string toolPath(std::string_view name) const;

  // The entry of Info.plist, owned by the bundle; null when there is none.
  const Value* objectForInfoDictionaryKey(std::string_view key) const;

  // "CFBundleName"; "Tessarin" when Info.plist does not say.
  std::string name() const;

  // The text of the key in TABLE.strings: of the first language that has one. The key itself when
  // there is none.
  std::string localizedString(std::string_view key, std::string_view table) const;

  // The code of the language that most texts are in: the first of the wanted ones that the
  // resources have, else "en".
  const std::string& language() const { return language_; }

 private:
  const StringsTable& tableOf(const std::string& language, std::string_view table) const;

  std::string resourcePath_;
  std::vector<std::string> languages_;  // those that have a folder, in the order of asking
  std::string language_;
  Dico info_;
  mutable std::map<std::string, StringsTable, std::less<>> tables_;  // by "language/table"
};

// The languages that a POSIX environment asks for, favourite first, as language codes with and
// without region: LANGUAGE (a list divided by colons, heeded unless the locale is "C"), then the
// first of LC_ALL, LC_MESSAGES and LANG that is not empty. Empty for "C" and "POSIX".
std::vector<std::string> wantedLanguages(std::string_view language, std::string_view lcAll,
                                         std::string_view lcMessages, std::string_view lang);

}  // namespace tessarin
