#include "utils/text.h"

#include <random>

#include "classShared/TextAdditions.h"
#include "classShared/log.h"

namespace tessarin {

namespace {

constexpr std::size_t longestExtension = 12;  // characters

// How much repeated replacing may write, in bytes, before it is given up.
constexpr std::size_t growthLimit = std::size_t{1} << 20U;

}  // namespace

std::string findAndReplace(std::string_view text, std::string_view search,
                           std::string_view replacement, bool recursive) {
  if (search.empty() || !contains(text, search))
    return std::string(text);
  std::string singlePass = replaceAll(text, search, replacement);
  if (!recursive || !contains(singlePass, search))
    return singlePass;
  if (contains(replacement, search)) {
    debugFormat("findAndReplace      : oops, isRecursive != safe (returnStr:'{}')", singlePass);
    // Putting a stand-in that lacks the search text into every place, and the replacement into
    // the stand-in's places, comes to the single pass. Only the log tells that there was none.
    const std::string standIn =
        contains("ZyW", search) ? std::to_string(std::random_device()()) : "ZyW";
    if (contains(standIn, search))
      debugFormat("findAndReplace      :-( '{}'->'{}'", search, replacement);
    return singlePass;
  }

  // A longer replacement can build up the search text anew without containing it ("ab" for
  // "bbaa"), and the text grows for ever.
  const bool grows = replacement.size() > search.size();
  std::size_t written = 0;
  std::string result = singlePass;
  while (contains(result, search)) {
    result = replaceAll(result, search, replacement);
    written += result.size();
    if (grows && written > growthLimit)
      return singlePass;
  }
  return result;
}

std::string trimPathStr(std::string_view path, std::size_t maximumLength) {
  std::string extension = pathExtension(path);
  if (characterCount(extension) > longestExtension) {
    logFormat("trimPathStr() oops! :-( too many chars, post-'.' was not an ext ({})", extension);
    extension.clear();
  }
  std::string name = replaceAll(fileName(withoutExtension(path)), "`", "");
  name = replaceAll(name, ":", "-");
  const std::string_view cut = firstCharacters(name, maximumLength);
  return joinPath(parentFolder(path), withExtension(cut, extension));
}

}  // namespace tessarin
