#include "analysis/Source.h"

#include <cstdlib>

#include "classShared/TextAdditions.h"

namespace tessarin {

bool isSourceProgressive(const Source& source) {
  return source.pictures.fields == Fields::progressive;
}

double lengthOf(const Source& source) {
  return source.seconds.value_or(source.duration.value_or(0));
}

std::vector<std::string> filesOf(const Source& source) {
  std::vector<std::string> files = partsOf(source);
  for (const Source::SoundFile& sound : source.soundFiles)
    files.push_back(sound.path);
  return files;
}

std::vector<std::string> partsOf(const Source& source) {
  std::vector<std::string> files{source.path};
  for (const Source::Part& part : source.furtherParts)
    files.push_back(part.path);
  return files;
}

bool isReadJoined(const Source& source) {
  return source.isJoined || !source.furtherParts.empty();
}

bool mayChangeSize(const Source& source) {
  return isReadJoined(source) || firstContainer(source) == "mpeg";
}

Source partAt(const Source& source, double& seconds) {
  Source file = source;
  double begin = 0;
  for (const Source::Part& part : source.furtherParts)
    if (part.begin <= seconds) {
      file.path = part.path;
      begin = part.begin;
    }
  seconds -= begin;
  file.furtherParts.clear();
  file.soundFiles.clear();
  return file;
}

bool isTurned(const Source& source) {
  return std::abs(source.pictures.rotation) == 90;
}

std::string_view firstContainer(const Source& source) {
  return textUpTo(source.container, ",");
}

}  // namespace tessarin
