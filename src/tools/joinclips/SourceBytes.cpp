#include "tools/joinclips/SourceBytes.h"

#include "utils/fileSection.h"

namespace tessarin::joining {

SourceBytes openSource(const std::string& path, OpenFor what) {
  const auto section = sectionOf(path);
  SourceBytes source{openFile(fileOfSource(path), what)};
  if (!section || !source.file.isOpen())
    return source;
  source.begin = section->begin;
  source.most = section->end - section->begin;
  if (!moveTo(source.file.number(), source.begin))
    source.file.close();
  return source;
}

}  // namespace tessarin::joining
