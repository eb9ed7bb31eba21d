#include "encoding/naming.h"

#include <cerrno>

#include "classShared/TextAdditions.h"
#include "classShared/log.h"
#include "utils/PrivateFolder.h"
#include "utils/files.h"
#include "utils/text.h"

namespace tessarin {

namespace {

constexpr int tidyRounds = 10;
constexpr std::string_view masterEnding = "_MASTER";
constexpr std::size_t masterNameLength = 27;  // characters, the ending included

std::string tidied(std::string_view title) {
  if (characterCount(title) > 1)
    for (int round = 0; round < tidyRounds; ++round) {
      if (endsWith(title, " "))
        title = withoutLastCharacters(title, 2);  // the character before the blank goes with it
      else if (startsWith(title, " "))
        title.remove_prefix(1);
      else
        break;
    }
  return std::string(title);
}

Outcome<void> tryFolder(const std::string& path) {
  TESSARIN_TAKE(const PrivateFolder trial, PrivateFolder::create(path));
  if (!removeFile(path) || isNameTaken(path))
    return Failure{systemReason(errno)};
  return {};
}

}  // namespace

std::string pathes2Titles(std::string_view path, const std::vector<std::string>& extraSuffixes) {
  if (debugMode())
    logLine("pathes2Titles - begin");
  std::vector<std::string> suffixes = extraSuffixes;
  suffixes.insert(suffixes.end(), {"-PAL", "-NV", "-NF"});
  if (debugMode())
    logFormat("suffixesMa : {}", joinTexts(suffixes, ", "));
  const std::string name = fileName(withoutExtension(expandTilde(path)));
  std::string_view rest = name;
  for (const std::string& suffix : suffixes)
    if (!suffix.empty() && endsWith(rest, suffix))
      rest = textUpTo(rest, suffix);
  std::string title = tidied(rest);
  if (title.empty())
    title = name;
  debugFormat("str def : {}", title);
  if (debugMode())
    logLine("pathes2Titles - end");
  return title;
}

std::string masterPathStr(std::string_view path) {
  const std::string extension = pathExtension(path);
  const std::string whole = withoutExtension(path).append(masterEnding);
  if (characterCount(whole) <= masterNameLength)
    return withExtension(whole, extension);
  const std::string name = findAndReplace(fileName(withoutExtension(path)), ".", "_", true);
  const std::string cut = trimPathStr(name, masterNameLength - masterEnding.size());
  // A name of which nothing is left is none: the ending alone goes into the folder.
  return withExtension(joinPath(parentFolder(path), cut + std::string(masterEnding)), extension);
}

Outcome<void> isFolderWritable(std::string_view path) {
  const std::string whole = expandTilde(path);
  const std::string folder = isDirectory(whole) ? whole : parentFolder(whole);
  const std::string test = PrivateFolder::newPath(folder, trialPrefix);
  debugFormat("testStr : {}", test);
  auto writable = tryFolder(test);
  logFormat("droitsAcces         ? {} ({})", writable ? 1 : 0, folder);
  return writable;
}

}  // namespace tessarin
