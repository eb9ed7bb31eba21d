#include "tools/quicktime/movieTexts.h"

#include <string_view>

#include "classShared/Utf8.h"

namespace tessarin::quicktime {

namespace {

// More than anybody writes, and less than the atom's 16 bits can count.
constexpr std::size_t mostBytes = 32000;

// The text's whole characters up to that, and UTF-8 whatever it was.
std::string fitting(std::string_view text) {
  std::string result;
  while (!text.empty() && result.size() < mostBytes)
    appendUtf8(result, takeUtf8(text));
  return result;
}

}  // namespace

void putMovieTexts(AtomWriter& out, const std::vector<MovieText>& texts) {
  if (texts.empty())
    return;
  constexpr std::uint32_t noLanguage = 0x55C4;  // "und", five bits a letter
  const AtomWriter::Atom container(out, "udta");
  for (const MovieText& each : texts) {
    const std::string text = fitting(each.text);
    const AtomWriter::Atom atom(out, each.kind);
    out.put16(text.size());
    out.put16(noLanguage);
    out.putText(text);
  }
}

}  // namespace tessarin::quicktime
