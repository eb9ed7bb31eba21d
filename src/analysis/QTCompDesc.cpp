#include "analysis/QTCompDesc.h"

namespace tessarin {

namespace {

std::string fourLetters(std::uint32_t code) {
  std::string text;
  for (const unsigned shift : {24U, 16U, 8U, 0U})
    text.push_back(static_cast<char>(code >> shift & 0xFFU));
  return text;
}

}  // namespace

std::uint32_t fourCharacterCode(std::string_view text) {
  std::uint32_t code = 0;
  for (std::size_t index = 0; index < 4; ++index)
    code = code << 8U | static_cast<unsigned char>(index < text.size() ? text[index] : ' ');
  return code;
}

QTCompDesc QTCompDesc::withComponent(const ComponentDescription& description,
                                     std::string_view name) {
  QTCompDesc component;
  component.name_ = name.empty() ? noName : name;
  component.type_ = fourLetters(description.type);
  component.subType_ = fourLetters(description.subType);
  component.manufacturer_ = fourLetters(description.manufacturer);
  component.threadsafe_ = (description.flags & threadSafeFlag) != 0 ? "Yes" : "No";
  component.flags_ = description.flags;
  component.compDesc_ = description;
  return component;
}

}  // namespace tessarin
