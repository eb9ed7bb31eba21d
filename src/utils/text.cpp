#include "utils/text.h"

#include <algorithm>
#include <random>

#include "classShared/TextAdditions.h"
#include "classShared/log.h"

namespace tessarin {

namespace {

constexpr std::size_t longestExtension = 12;  // characters

// How large a text may become by repeated replacing: this many times itself, or these bytes.
constexpr std::size_t largestGrowth = 64;
constexpr std::size_t smallestLimit = std::size_t{1} << 20U;

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
  // "bbaa"); a text that keeps growing is given up.
  const std::size_t largest = std::max(largestGrowth * text.size(), smallestLimit);
  std::string result = singlePass;
  while (contains(result, search)) {
    result = replaceAll(result, search, replacement);
    if (result.size() > largest)
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
  return withExtension(joinPath(parentFolder(path), firstCharacters(name, maximumLength)),
                       extension);
}

}  // namespace tessarin
