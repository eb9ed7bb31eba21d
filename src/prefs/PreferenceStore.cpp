#include "prefs/PreferenceStore.h"

#include <fmt/format.h>

#include "classShared/TextAdditions.h"
#include "classShared/log.h"
#include "platform/propertyList.h"
#include "utils/files.h"

namespace tessarin {

namespace {

std::string described(const Value* value) {
  return value ? value->description() : "nil";
}

// A record of thousands of entries is only put into words when somebody reads them.
void debugValue(const char* label, const Value* value) {
  if (debugMode())
    logFormat("{} {}", label, described(value));
}

// A value of a property list with its kind and, for what counts as a number, that.
void logReadValue(const std::string& key, const Value& value) {
  const char* kind = value.dico()          ? "dictionary"
                     : value.list()        ? "list"
                     : value.bytes()       ? "data"
                     : value.date()        ? "date"
                     : value.textContent() ? "text"
                                           : "number";
  const auto number = value.number();
  logFormat("readPlist key       : {} = {}", key, value.description());
  logFormat("readPlist class     : {}", kind);
  logFormat("readPlist class nb  : {}", number ? fmt::format("{}", *number) : "nil");
}

const Value* defaultOf(std::string_view key) {
  static const Dico defaults = prefDefaults();
  return defaults.find(key);
}

}  // namespace

Dico prefDefaults() {
  return {
      {std::string(PrefKey::color), -1},      {std::string(PrefKey::checkMatrix), 1},
      {std::string(PrefKey::alertEnd), 1},    {std::string(PrefKey::preset), 0},
      {std::string(PrefKey::prores), "apcn"}, {std::string(PrefKey::assistantSkip), 0},
      {std::string(PrefKey::easy), 1},        {std::string(PrefKey::editingSoft), 2},
      {std::string(PrefKey::surround), 0},    {std::string(PrefKey::speed), 2},
      {std::string(PrefKey::update), 1},      {std::string(PrefKey::destination), "~/Movies/"},
      {std::string(PrefKey::names), ""},      {std::string(PrefKey::sound), ""},
      {std::string(PrefKey::slowSound), 0},
  };
}

const Value* PreferenceStore::prefRead(std::string_view key) const {
  const Value* value = key.empty() ? nullptr : domain_.read(key);
  debugValue("prefRead            :", value);
  return value;
}

std::string PreferenceStore::prefReadString(std::string_view key) const {
  const Value* value = prefRead(key);
  return value ? value->description() : std::string();
}

bool PreferenceStore::prefWrite(std::string_view key, Value value) {
  if (key.empty())
    return false;
  debugValue("prefWrite           - old ?", domain_.read(key));
  domain_.write(key, std::move(value));
  debugValue("prefWrite           - def :", domain_.read(key));
  return true;
}

bool PreferenceStore::prefRemove(std::string_view key) {
  if (!key.empty())
    domain_.remove(key);
  return true;
}

bool PreferenceStore::prefDeleteChildDico(std::string_view key, std::string_view child) {
  const Value* value = key.empty() ? nullptr : domain_.read(key);
  const Dico* stored = value ? value->dico() : nullptr;
  if (!stored || !stored->contains(child))
    return true;
  if (verboseLevel(1))
    logFormat("prefDeleteChildDico0: key={} : {}", key, stored->description());
  Dico rest = *stored;
  if (debugMode())
    logFormat("key to delete       : key={}, value={}", child, described(rest.find(child)));
  rest.remove(child);
  if (verboseLevel(1))
    logFormat("newMDico 1          : key={} : {}", key, rest.description());
  domain_.write(key, std::move(rest));
  return true;
}

std::int64_t PreferenceStore::integer(std::string_view key) const {
  const Value* stored = prefRead(key);
  if (stored && stored->integer())
    return *stored->integer();
  const Value* standard = defaultOf(key);
  return standard ? standard->integer().value_or(0) : 0;
}

std::string PreferenceStore::text(std::string_view key) const {
  const Value* stored = prefRead(key);
  if (stored && stored->text())
    return *stored->text();
  const Value* standard = defaultOf(key);
  return standard ? standard->text().value_or("") : "";
}

std::optional<Dico> readPlist(const std::string& path) {
  const auto read = readPropertyList(expandTilde(path));
  if (!read || !read.value().dico())
    return std::nullopt;
  Dico content = *read.value().dico();
  if (verboseLevel(1))
    for (const auto& [key, value] : content)
      logReadValue(key, value);
  return content;
}

bool writePlist(const std::string& path, const Value& value) {
  if (path.empty())
    return false;
  const auto bytes = serializedPropertyList(value);
  if (!bytes) {
    logLine(bytes.reason());
    return false;
  }
  const std::string target = replaceAll(expandTilde(path), ":", "");
  logLine("No error creating XML data…");
  const auto written = writeFileAtomically(target, bytes.value());
  if (!written)
    logLine(written.reason());
  const bool exists = pathExists(target);
  logFormat("write plist :-{} {}", exists ? ")" : "(", target);
  return exists;
}

}  // namespace tessarin
