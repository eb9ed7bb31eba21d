// Makes the settings files of the exports, from the same lists of sizes and targets that the user
// chooses from.
//
//   makePresets FOLDER
//
// For every size row, scan and rate there is one file per kind of movie, with and without black
// bars; docs/export.md explains names and keys. Exit status 1 when a file cannot be written.
#include <fmt/format.h>

#include <cstdio>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "classShared/TextAdditions.h"
#include "encoding/sizes.h"
#include "encoding/targets.h"
#include "ffmpeg/proresFlavours.h"
#include "tools/aic/aicEncoder.h"
#include "utils/files.h"

namespace {

using namespace tessarin;

// A kind of movie: what stands in front of the size in its files' names, and its codec's keys.
struct Kind {
  std::string prefix;
  std::string_view codec;
  std::string_view profile;  // "" where there are none
};

std::vector<Kind> allKinds() {
  std::vector<Kind> kinds;
  for (const TargetRow& target : targetTable) {
    if (target.codec.empty())
      continue;  // copies
    if (!target.hasFlavours)
      kinds.push_back({std::string(target.settings), target.codec, ""});
    else
      for (const ProresFlavour& flavour : proresFlavours)
        kinds.push_back(
            {fmt::format("{}{}", target.settings, flavour.inName), target.codec, flavour.word});
  }
  return kinds;
}

struct Size {
  FrameSize frame;
  bool interlaced = false;
  std::string rate;  // "": that of the source

  std::string key() const {
    return fmt::format("{}x{}{}{}", frame.width, frame.height, interlaced ? "i" : "p", rate);
  }
};

// The sizes of a row: one for each of its rates, and one that keeps the source's.
std::vector<Size> sizesOf(const SizeRow& row) {
  if (!row.isSize())
    return {};
  std::vector<Size> sizes = {{row.frame, row.isInterlaced(), ""}};
  for (const int rate : row.rates)
    if (rate != 0)
      sizes.push_back({row.frame, row.isInterlaced(), std::to_string(rate)});
  return sizes;
}

std::string propertyList(const Size& size, const Kind& kind, bool letterbox) {
  std::string entries;
  const auto add = [&](std::string_view key, std::string_view type, const auto& value) {
    entries += fmt::format("  <key>{0}</key><{1}>{2}</{1}>\n", key, type, value);
  };
  add("version", "integer", 1);
  add("codec", "string", kind.codec);
  if (kind.profile.empty())
    add("quantiser", "integer", aic::shippedQuantiser);
  else
    add("profile", "string", kind.profile);
  add("width", "integer", size.frame.width);
  add("height", "integer", size.frame.height);
  add("scan", "string", size.interlaced ? "i" : "p");
  add("rate", "string", size.rate.empty() ? "source" : size.rate);
  entries += fmt::format("  <key>letterbox</key><{}/>\n", letterbox ? "true" : "false");
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
         "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
         "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
         "<plist version=\"1.0\">\n<dict>\n" +
         entries + "</dict>\n</plist>\n";
}

bool writePresets(const std::string& folder) {
  if (!mkdir(folder))
    return false;
  const std::vector<Kind> kinds = allKinds();
  std::set<std::string> written;
  for (const SizeRow& row : sizeRows()) {
    for (const Size& size : sizesOf(row)) {
      for (const Kind& kind : kinds) {
        for (const bool letterbox : {false, true}) {
          const std::string name =
              fmt::format("{}{}{}", kind.prefix, size.key(), letterbox ? "Letterbox" : "");
          // Rows of one size and scan share the file that keeps the source's rate.
          if (!written.insert(name).second)
            continue;
          if (!writeFileAtomically(joinPath(folder, name), propertyList(size, kind, letterbox)))
            return false;
        }
      }
    }
  }
  // Files of an earlier list must not stay.
  for (const std::string& path : filesBelow(folder)) {
    if (written.count(fileName(path)) == 0)
      removeFile(path);
  }
  return true;
}

}  // namespace

int main(int count, char** values) {
  if (count != 2) {
    std::fprintf(stderr, "makePresets FOLDER\n");
    return 2;
  }
  if (!writePresets(values[1])) {
    std::fprintf(stderr, "makePresets: %s cannot be filled\n", values[1]);
    return 1;
  }
  return 0;
}
