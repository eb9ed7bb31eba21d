#include "ffmpeg/ffmpegCommandLine.h"

#include <algorithm>
#include <array>

namespace tessarin {

namespace {

// ffmpeg's options without a value, of versions 4 to 7. Each may also be written with "no" before
// it.
constexpr std::array switches = {"?",
                                 "L",
                                 "accurate_seek",
                                 "an",
                                 "autorotate",
                                 "autoscale",
                                 "benchmark",
                                 "benchmark_all",
                                 "bitexact",
                                 "bsfs",
                                 "buildconf",
                                 "codecs",
                                 "colors",
                                 "copy_unknown",
                                 "copyinkf",
                                 "copyts",
                                 "debug_ts",
                                 "decoders",
                                 "deinterlace",
                                 "demuxers",
                                 "devices",
                                 "dispositions",
                                 "dn",
                                 "dump",
                                 "encoders",
                                 "filters",
                                 "find_stream_info",
                                 "fix_sub_duration",
                                 "formats",
                                 "hex",
                                 "hide_banner",
                                 "hwaccels",
                                 "ignore_unknown",
                                 "intra",
                                 "isync",
                                 "layouts",
                                 "muxers",
                                 "n",
                                 "pix_fmts",
                                 "protocols",
                                 "psnr",
                                 "qphist",
                                 "re",
                                 "recast_media",
                                 "report",
                                 "sample_fmts",
                                 "seek_timestamp",
                                 "shortest",
                                 "sn",
                                 "start_at_zero",
                                 "stats",
                                 "stdin",
                                 "version",
                                 "vn",
                                 "vstats",
                                 "xerror",
                                 "y"};

std::string_view beforeColon(std::string_view name) {
  return name.substr(0, name.find(':'));
}

bool isSwitch(std::string_view name) {
  std::string_view base = beforeColon(name);
  const auto known = [](std::string_view word) {
    return std::find(switches.begin(), switches.end(), word) != switches.end();
  };
  if (known(base))
    return true;
  return base.starts_with("no") && known(base.substr(2));
}

}  // namespace

bool hasEnding(std::string_view path, std::string_view ending) {
  return path.size() > ending.size() &&
         std::equal(ending.rbegin(), ending.rend(), path.rbegin(), [](char small, char letter) {
           return small ==
                  (letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter | 0x20) : letter);
         });
}

std::string_view FfmpegOption::baseName() const {
  return beforeColon(name);
}

const FfmpegOption* FfmpegOptionGroup::last(std::initializer_list<std::string_view> names) const {
  const auto found =
      std::find_if(options.rbegin(), options.rend(), [&](const FfmpegOption& option) {
        return std::find(names.begin(), names.end(), option.name) != names.end();
      });
  return found == options.rend() ? nullptr : &*found;
}

std::vector<FfmpegOptionGroup> parseFfmpegArguments(const std::vector<std::string>& arguments) {
  std::vector<FfmpegOptionGroup> groups;
  FfmpegOptionGroup group;
  const auto finish = [&](FfmpegOptionGroup::Kind kind, const std::string& file) {
    group.kind = kind;
    group.file = file;
    groups.push_back(std::move(group));
    group = {};
  };

  bool afterDashes = false;
  for (std::size_t index = 0; index < arguments.size(); ++index) {
    const std::string& argument = arguments[index];
    if (argument == "--" && !afterDashes) {
      afterDashes = true;
      continue;
    }
    if (afterDashes || argument.size() < 2 || argument.front() != '-') {
      group.fileAfterDashes = afterDashes;
      afterDashes = false;
      finish(FfmpegOptionGroup::Kind::output, argument);
      continue;
    }
    const bool hasValue = !isSwitch(argument.substr(1)) && index + 1 < arguments.size();
    if (argument == "-i" && hasValue) {
      finish(FfmpegOptionGroup::Kind::input, arguments[++index]);
      continue;
    }
    FfmpegOption option{argument.substr(1), std::nullopt};
    if (hasValue)
      option.value = arguments[++index];
    group.options.push_back(std::move(option));
  }
  group.fileAfterDashes = afterDashes;
  if (!group.options.empty() || afterDashes)
    groups.push_back(std::move(group));
  return groups;
}

std::vector<std::string> ffmpegArguments(const std::vector<FfmpegOptionGroup>& groups) {
  std::vector<std::string> arguments;
  for (const FfmpegOptionGroup& group : groups) {
    for (const FfmpegOption& option : group.options) {
      arguments.push_back("-" + option.name);
      if (option.value)
        arguments.push_back(*option.value);
    }
    if (group.kind == FfmpegOptionGroup::Kind::input)
      arguments.emplace_back("-i");
    if (group.fileAfterDashes)
      arguments.emplace_back("--");
    if (group.kind != FfmpegOptionGroup::Kind::trailing)
      arguments.push_back(group.file);
  }
  return arguments;
}

std::vector<std::string> filterNames(std::string_view graph) {
  std::vector<std::string> names;
  std::string name;
  bool inName = true;
  bool quoted = false;
  bool inLabel = false;
  const auto finish = [&] {
    if (!name.empty())
      names.push_back(name);
    name.clear();
    inName = true;
  };
  for (std::size_t index = 0; index < graph.size(); ++index) {
    const char letter = graph[index];
    if (letter == '\\' && !quoted) {
      ++index;  // the next letter stands for itself
    } else if (letter == '\'') {
      quoted = !quoted;
    } else if (!quoted && (letter == '[' || letter == ']')) {
      inLabel = letter == '[';
    } else if (quoted || inLabel) {
      continue;
    } else if (letter == ',' || letter == ';') {
      finish();
    } else if (letter == '=' || letter == '@') {
      inName = false;
    } else if (inName && letter != ' ' && letter != '\n' && letter != '\t') {
      name += letter;
    }
  }
  finish();
  return names;
}

bool leavesSourceFields(std::string_view chain) {
  static const std::vector<std::string> makers = {"yadif", "bwdif",     "w3fdif",     "estdif",
                                                  "nnedi", "kerndeint", "tinterlace", "interlace"};
  const std::vector<std::string> names = filterNames(chain);
  return std::any_of(names.begin(), names.end(), [](const std::string& name) {
    return std::find(makers.begin(), makers.end(), name) != makers.end();
  });
}

}  // namespace tessarin
