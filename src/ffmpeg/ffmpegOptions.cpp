#include "ffmpeg/ffmpegOptions.h"

#include <algorithm>
#include <charconv>
#include <optional>

#include "ffmpeg/ffmpegCommandLine.h"

namespace tessarin {

namespace {

using Kind = FfmpegOptionGroup::Kind;

constexpr FfmpegVersion firstWithFpsMode{5, 1};
constexpr FfmpegVersion firstWithPacketLengths{5, 1};  // settable by -bsf:v setts
constexpr FfmpegVersion firstWithoutAsync{6, 0};
constexpr FfmpegVersion firstWithoutTop{7, 0};

const std::string& valueOf(const FfmpegOption* option) {
  static const std::string none;
  return option != nullptr && option->value ? *option->value : none;
}

bool has(const std::vector<FfmpegOptionGroup>& groups, std::string_view baseName) {
  return std::any_of(groups.begin(), groups.end(), [&](const FfmpegOptionGroup& group) {
    return std::any_of(group.options.begin(), group.options.end(), [&](const FfmpegOption& option) {
      return option.baseName() == baseName && option.value;
    });
  });
}

const std::string& videoCodec(const FfmpegOptionGroup& group) {
  return valueOf(group.last({"c:v", "codec:v", "vcodec", "c", "codec"}));
}

const std::string& audioCodec(const FfmpegOptionGroup& group) {
  return valueOf(group.last({"c:a", "codec:a", "acodec", "c", "codec"}));
}

bool encodesVideo(const FfmpegOptionGroup& group) {
  return group.kind == Kind::output && videoCodec(group) != "copy" && !group.last({"vn"});
}

bool encodesAudio(const FfmpegOptionGroup& group) {
  return group.kind == Kind::output && audioCodec(group) != "copy" && !group.last({"an"});
}

// An output whose streams come out of a complex filter graph cannot have simple filters as well.
bool takesFromComplexGraph(const FfmpegOptionGroup& group) {
  return std::any_of(group.options.begin(), group.options.end(), [](const FfmpegOption& option) {
    return option.name == "map" && option.value && option.value->starts_with('[');
  });
}

// The filter option of this group that counts, made when there is none.
FfmpegOption& filterOption(FfmpegOptionGroup& group, const char* shortName, const char* longName) {
  const auto found =
      std::find_if(group.options.rbegin(), group.options.rend(), [&](const FfmpegOption& option) {
        return (option.name == shortName || option.name == longName) && option.value;
      });
  if (found != group.options.rend())
    return *found;
  return group.options.emplace_back(FfmpegOption{shortName, std::string()});
}

std::string joined(const std::string& first, const std::string& second) {
  if (first.empty() || second.empty())
    return first + second;
  return first + "," + second;
}

void renameOptions(FfmpegOptionGroup& group) {
  for (FfmpegOption& option : group.options) {
    if (option.name == "q:vscale")
      option.name = "q:v";
    else if (option.name == "vframes")
      option.name = "frames:v";
    else if (option.name == "profile" && group.kind == Kind::output)
      option.name = "profile:v";  // what versions took it for when it says nothing else
  }
}

void removeOptions(FfmpegOptionGroup& group, std::string_view baseName) {
  std::erase_if(group.options, [&](const FfmpegOption& option) {
    return option.baseName() == baseName && option.value;
  });
}

// -vsync took numbers; -fps_mode takes names only.
std::string fpsMode(const std::string& vsync) {
  if (vsync == "0")
    return "passthrough";
  if (vsync == "1")
    return "cfr";
  if (vsync == "2")
    return "vfr";
  if (vsync == "-1")
    return "auto";
  return vsync;
}

bool anyVideoEncoded(const std::vector<FfmpegOptionGroup>& groups) {
  return std::any_of(groups.begin(), groups.end(), encodesVideo);
}

// -vsync was one setting for the whole run, wherever it stood; -fps_mode belongs to an output. It
// says nothing about copied streams.
void translateVsync(std::vector<FfmpegOptionGroup>& groups, FfmpegVersion version) {
  std::string value;
  for (const FfmpegOptionGroup& group : groups)
    if (const FfmpegOption* option = group.last({"vsync"}); option && option->value)
      value = *option->value;
  if (value.empty() || (anyVideoEncoded(groups) && !version.isAtLeast(firstWithFpsMode)))
    return;
  for (FfmpegOptionGroup& group : groups) {
    removeOptions(group, "vsync");
    if (encodesVideo(group) && !group.last({"fps_mode", "fps_mode:v"}))
      group.options.push_back({"fps_mode", fpsMode(value)});
  }
}

// What the filter corrects are the lengths of packets; the movie is nearly as good without it.
void translateTimestampFilter(FfmpegOptionGroup& group, FfmpegVersion version) {
  if (version.isAtLeast(firstWithPacketLengths))
    return;
  std::erase_if(group.options, [](const FfmpegOption& option) {
    return option.name == "bsf:v" && option.value && option.value->starts_with("setts=");
  });
}

// -async was one setting for the whole run, too. The filter's settings are those that ffmpeg 5.1
// reports to put in for it, and its place is before all other filters. Versions that have -async
// keep it: when the sound changes its channels in mid-stream they leave first_pts out for the new
// filter graph, where ours would fill the sound from 0 with silence.
void translateAsync(std::vector<FfmpegOptionGroup>& groups, FfmpegVersion version) {
  if (!version.isAtLeast(firstWithoutAsync))
    return;
  std::string value;
  for (const FfmpegOptionGroup& group : groups)
    if (const FfmpegOption* option = group.last({"async"}); option && option->value)
      value = *option->value;
  if (value.empty())
    return;
  for (FfmpegOptionGroup& group : groups) {
    removeOptions(group, "async");
    if (value == "0" || !encodesAudio(group) || takesFromComplexGraph(group))
      continue;
    FfmpegOption& filter = filterOption(group, "af", "filter:a");
    filter.value =
        joined("aresample=async=" + value + ":min_hard_comp=0.100000:first_pts=0", *filter.value);
  }
}

bool writesInterlacedProres(const FfmpegOptionGroup& group) {
  if (!videoCodec(group).starts_with("prores"))
    return false;
  const std::string& flags = valueOf(group.last({"flags:v", "flags"}));
  return flags.find("ildct") != std::string::npos && flags.find("-ildct") == std::string::npos;
}

// True when the pictures of this chain do not come with the source's fields in them any more: it
// takes them apart into progressive pictures, or weaves fields from progressive pictures.
bool leavesSourceFields(std::string_view chain) {
  static const std::vector<std::string> makers = {"yadif", "bwdif",     "w3fdif",     "estdif",
                                                  "nnedi", "kerndeint", "tinterlace", "interlace"};
  const std::vector<std::string> names = filterNames(chain);
  return std::any_of(names.begin(), names.end(), [](const std::string& name) {
    return std::find(makers.begin(), makers.end(), name) != makers.end();
  });
}

// Pictures for an interlaced ProRes stream that claims this field order.
// Chroma of 4:2:0 pictures that carry fields is brought to 4:2:2 per field; "interl=-1" goes by
// the flag of each picture, as MPEG streams of interlaced sequences hold progressive pictures,
// too. The order is changed behind that, as it moves the picture by a line, which 4:2:0 chroma
// cannot. Where the chain itself made the pictures out of progressive ones, it is left to one of
// its own scalers to reach 4:2:2, as early as it can.
std::string interlacedProresFilters(const std::string& chain, bool topFirst) {
  const std::string order = topFirst ? "tff" : "bff";
  std::string filters = "format=yuv422p10,fieldorder=" + order + ",setfield=" + order;
  if (!leavesSourceFields(chain))
    filters = joined("scale=interl=-1", filters);
  return joined(chain, filters);
}

void translateTop(FfmpegOptionGroup& group, FfmpegVersion version) {
  const FfmpegOption* top = group.last({"top", "top:v"});
  if (group.kind != Kind::output || top == nullptr)
    return;
  const std::string value = valueOf(top);
  const bool decided = (value == "0" || value == "1") && encodesVideo(group);
  if (decided && !takesFromComplexGraph(group)) {
    if (writesInterlacedProres(group)) {
      FfmpegOption& filter = filterOption(group, "vf", "filter:v");
      filter.value = interlacedProresFilters(*filter.value, value == "1");
    } else if (version.isAtLeast(firstWithoutTop)) {
      FfmpegOption& filter = filterOption(group, "vf", "filter:v");
      filter.value = joined(*filter.value, value == "1" ? "setfield=tff" : "setfield=bff");
    }
  }
  if (version.isAtLeast(firstWithoutTop))
    removeOptions(group, "top");
}

}  // namespace

FfmpegVersion ffmpegVersionFromText(std::string_view text) {
  constexpr std::string_view announcement = "version ";
  text = text.substr(0, text.find('\n'));
  if (const std::size_t found = text.find(announcement); found != std::string_view::npos)
    text.remove_prefix(found + announcement.size());
  if (text.starts_with('n'))
    text.remove_prefix(1);  // release tags are called "n7.1"
  FfmpegVersion version;
  const char* end = text.data() + text.size();
  const auto major = std::from_chars(text.data(), end, version.major);
  if (major.ec != std::errc() || version.major <= 0)
    return newestFfmpeg;
  if (major.ptr != end && *major.ptr == '.')
    std::from_chars(major.ptr + 1, end, version.minor);
  return version;
}

bool ffmpegOptionsNeedVersion(const std::vector<std::string>& arguments) {
  const std::vector<FfmpegOptionGroup> groups = parseFfmpegArguments(arguments);
  return has(groups, "async") || has(groups, "bsf") || has(groups, "top") ||
         (has(groups, "vsync") && anyVideoEncoded(groups));
}

std::vector<std::string> translateFfmpegOptions(const std::vector<std::string>& arguments,
                                                FfmpegVersion version) {
  std::vector<FfmpegOptionGroup> groups = parseFfmpegArguments(arguments);
  for (FfmpegOptionGroup& group : groups) {
    renameOptions(group);
    translateTop(group, version);
    translateTimestampFilter(group, version);
  }
  translateVsync(groups, version);
  translateAsync(groups, version);
  std::vector<std::string> translated = ffmpegArguments(groups);
  translated.insert(translated.begin(), "-nostdin");
  return translated;
}

}  // namespace tessarin
