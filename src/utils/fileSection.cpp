#include "utils/fileSection.h"

#include <charconv>

namespace tessarin {

namespace {

constexpr std::string_view rangeBegin = "bytes ";

// Takes a number that is written as we write it.
bool takeNumber(std::string_view& text, std::uint64_t& number) {
  constexpr std::uint64_t most = std::uint64_t{1} << 53;
  const auto [behind, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  const auto length = static_cast<std::size_t>(behind - text.data());
  if (error != std::errc() || number > most || std::to_string(number).size() != length)
    return false;
  text.remove_prefix(length);
  return true;
}

// ".dv"; "" where there is none.
std::string_view endingOf(std::string_view path) {
  const std::size_t dot = path.rfind('.');
  const std::size_t name = path.rfind('/') + 1;
  return dot == path.npos || dot <= name || dot + 1 == path.size() ? std::string_view()
                                                                   : path.substr(dot);
}

}  // namespace

std::optional<FileSection> sectionOf(std::string_view path) {
  const std::size_t name = path.rfind('/');
  const std::size_t range = name == path.npos || name == 0 ? path.npos : path.rfind('/', name - 1);
  if (range == path.npos || range == 0)
    return std::nullopt;
  std::string_view words = path.substr(range + 1, name - range - 1);
  if (!words.starts_with(rangeBegin))
    return std::nullopt;
  words.remove_prefix(rangeBegin.size());
  FileSection section{std::string(path.substr(0, range))};
  if (!takeNumber(words, section.begin) || !words.starts_with("-"))
    return std::nullopt;
  words.remove_prefix(1);
  const std::string_view ending = endingOf(section.file);
  if (!takeNumber(words, section.end) || !words.empty() || section.end <= section.begin ||
      ending.empty() || endingOf(path) != ending)
    return std::nullopt;
  return section;
}

std::string pathOfSection(const FileSection& section, std::string_view name) {
  return (section.file + "/").append(rangeBegin) + std::to_string(section.begin) + "-" +
         std::to_string(section.end) + "/" + std::string(name);
}

std::string fileOfSource(const std::string& path) {
  const auto section = sectionOf(path);
  return section ? section->file : path;
}

}  // namespace tessarin
