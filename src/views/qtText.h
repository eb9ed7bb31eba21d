// Texts between the rooms, which use UTF-8, and Qt.
#pragma once

#include <QString>
#include <string>

namespace tessarin {

inline QString qtText(const std::string& text) {
  return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

}  // namespace tessarin
