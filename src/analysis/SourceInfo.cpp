#include "analysis/SourceInfo.h"

#include <cstdlib>

#include "analysis/Fields.h"
#include "platform/Bundle.h"

namespace tessarin {

std::string streamKey(StreamKind kind, int index, std::string_view field) {
  std::string key(1, static_cast<char>(kind));
  key.append(std::to_string(index)).append(1, '_').append(field);
  return key;
}

bool isTurned(const Dico& source) {
  return std::abs(source.integer(SourceKey::v0Rotation).value_or(0)) == 90;
}

std::string fieldsText(std::string_view key) {
  return Bundle::main().localizedString(key, "fields");
}

}  // namespace tessarin
