#include "encoding/outputName.h"

#include <fmt/format.h>

#include "classShared/TextAdditions.h"
#include "encoding/naming.h"
#include "encoding/targets.h"
#include "utils/files.h"

namespace tessarin {

namespace {

constexpr const char* folderName = "Tessarin";

// Bytes of a movie's name without endings and extension.
constexpr std::size_t longestTitle = 200;

std::string titleOf(const Source& source, Target target, const NamePattern& names) {
  const TargetRow* row = targetRow(target);
  std::string title = row && row->isNamedAfterRecording ? dateCreation2iMovieN(source.path, source)
                                                        : pathes2Titles(source.path, {});
  if (!names.isUsual())
    title = names.nameOf(source, title);
  // A name that is blank or starts with a dot could not be seen.
  if (trimmed(title).empty())
    title = "_";
  if (startsWith(title, "."))
    title = "_" + title.substr(1);
  while (title.size() > longestTitle)
    title = withoutLastCharacters(title, 1);
  return replaceAll(title, "/", "-");
}

}  // namespace

bool IgnoringCase::operator()(const std::string& one, const std::string& other) const {
  return lowerCase(one) < lowerCase(other);
}

std::string outputFolder(const std::string& destination) {
  const std::string folder = expandTilde(destination);
  return fileName(folder) == folderName ? folder : joinPath(folder, folderName);
}

std::string outputPath(const Source& source, Target target, const std::string& folder,
                       OutputNames& taken, const NamePattern& names) {
  const std::string title = titleOf(source, target, names);
  std::string path = joinPath(folder, title + ".mov");
  for (int number = 2; taken.count(path) > 0 && taken[path] != source.path; ++number)
    path = joinPath(folder, fmt::format("{}-{}.mov", title, number));
  taken[path] = source.path;
  return path;
}

std::string otherOutputPath(const std::string& path, OutputNames& taken, const std::string& own) {
  const auto isFree = [&](const std::string& name) {
    return taken.count(name) == 0 && (name == own || !isNameTaken(name));
  };
  std::string other;
  for (int number = 2; other.empty() || !isFree(other); ++number)
    other = withExtension(fmt::format("{}-{}", withoutExtension(path), number), "mov");
  taken[other] = taken[path];
  taken.erase(path);
  return other;
}

}  // namespace tessarin
