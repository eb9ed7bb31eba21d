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

bool isTurned(const Source& source) {
  return std::abs(source.pictures.rotation) == 90;
}

std::string_view firstContainer(const Source& source) {
  return textUpTo(source.container, ",");
}

}  // namespace tessarin
