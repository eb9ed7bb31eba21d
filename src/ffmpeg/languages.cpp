#include "ffmpeg/languages.h"

#include <array>

namespace tessarin {

namespace {

struct Language {
  std::string_view own;
  std::string_view ofLibraries;
  bool isCopiedByOwn;  // the code in ffmpeg's table is its own
};
// Swedish has a third, by mistake.
constexpr std::array<Language, 21> twofold{{
    {"sqi", "alb", false}, {"hye", "arm", false}, {"eus", "baq", false}, {"mya", "bur", false},
    {"zho", "chi", false}, {"ces", "cze", true},  {"nld", "dut", false}, {"fra", "fre", true},
    {"kat", "geo", false}, {"deu", "ger", false}, {"ell", "gre", false}, {"isl", "ice", false},
    {"mkd", "mac", false}, {"mri", "mao", false}, {"msa", "may", false}, {"fas", "per", false},
    {"ron", "rum", true},  {"slk", "slo", true},  {"bod", "tib", false}, {"cym", "wel", false},
    {"swe", "sve", false},
}};

}  // namespace

std::string_view languageInCopies(std::string_view code) {
  for (const Language& each : twofold)
    if (code == each.own || code == each.ofLibraries)
      return each.isCopiedByOwn ? each.own : each.ofLibraries;
  return code;
}

std::string_view ownLanguageCode(std::string_view code) {
  for (const Language& each : twofold)
    if (code == each.ofLibraries)
      return each.own;
  return code;
}

}  // namespace tessarin
