#include "ffmpeg/ffmpegOptions.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <optional>
#include <utility>

#include "ffmpeg/ffmpegCommandLine.h"
#include "utils/fileSection.h"

namespace tessarin {

namespace {

using Kind = FfmpegOptionGroup::Kind;

// Releases and the libavcodec they came with; one between two of them counts as the older.
struct Release {
  int major;
  int minor;
  FfmpegVersion codec;
};
constexpr Release releases[] = {
    {3, 0, {57, 24}},  {3, 1, {57, 48}},  {3, 2, {57, 64}}, {3, 3, {57, 89}},
    {3, 4, {57, 107}}, {4, 0, {58, 18}},  {4, 1, {58, 35}}, {4, 2, {58, 54}},
    {4, 3, {58, 91}},  {4, 4, {58, 134}}, {5, 0, {59, 18}}, {5, 1, {59, 37}},
    {6, 0, {60, 3}},   {6, 1, {60, 31}},  {7, 0, {61, 3}},  {7, 1, {61, 19}},
};

// What is new counts from the first release that has it, what is gone from the last one on.
constexpr FfmpegVersion firstWithFpsMode{59, 37};        // 5.1
constexpr FfmpegVersion firstWithPacketLengths{59, 37};  // settable by -bsf:v setts
constexpr FfmpegVersion firstWithoutAsync{59, 38};       // behind 5.1
constexpr FfmpegVersion firstWithSetparams{58, 42};      // seen; 4.0 has none
constexpr FfmpegVersion firstToWriteColours{58, 91};     // into movies, unasked: 4.3
// The filter "fps" leaves out the last of pictures that were slowed down: from 4.0 on, before 4.2,
// which was not seen (57.48 and 59.37 do not, 58.42 does).
constexpr FfmpegVersion firstToLoseSlowEnds{58, 18};
constexpr FfmpegVersion firstToKeepSlowEnds{58, 54};
// Of the encoder "prores": before them its pictures always say BT.601, or whole pictures.
constexpr FfmpegVersion firstProresWithColours{58, 42};  // seen; 3.1 has none
constexpr FfmpegVersion firstProresWithFields{58, 54};   // 4.2; 58.42 has none

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

// Seconds by which the sound may be off before it is mended: more than a lost packet of AAC, less
// than one of AC-3.
constexpr const char* leastDrift = "0.03";

// -async was one setting for the whole run, too. It lets sound be stretched that is off, and that
// goes wrong (seen with 3.1 to 5.1): when the stretching begins ffmpeg starts to count anew and
// fills all the time before with silence, so that one lost packet puts the rest of the sound
// seconds out of step. So gaps are filled and overlaps cut instead. Versions that have -async keep
// it: when the sound changes its channels in mid-stream they leave first_pts out for the new filter
// graph, where ours would fill the sound from 0 with silence, too. For others there is the filter
// that 5.1 reports to put in for it, before all other filters.
void translateAsync(std::vector<FfmpegOptionGroup>& groups, FfmpegVersion version) {
  std::string value;
  for (const FfmpegOptionGroup& group : groups)
    if (const FfmpegOption* option = group.last({"async"}); option && option->value)
      value = *option->value;
  if (value.empty())
    return;
  const bool hasAsync = !version.isAtLeast(firstWithoutAsync);
  for (FfmpegOptionGroup& group : groups) {
    // Behind the last file an option may lack its value, and would take what is added for that.
    if (hasAsync && value != "0" && group.last({"async"}) && group.kind != Kind::trailing) {
      removeOptions(group, "async");
      group.options.push_back({"async", "1"});
      group.options.push_back({"adrift_threshold", leastDrift});
    }
    if (hasAsync)
      continue;
    removeOptions(group, "async");
    if (value == "0" || !encodesAudio(group) || takesFromComplexGraph(group))
      continue;
    FfmpegOption& filter = filterOption(group, "af", "filter:a");
    filter.value =
        joined(std::string("aresample=async=1:min_hard_comp=") + leastDrift + ":first_pts=0",
               *filter.value);
  }
}

bool isVideoFilter(const FfmpegOption& option) {
  return (option.name == "vf" || option.name == "filter:v") && option.value;
}

bool writesInterlacedProres(const FfmpegOptionGroup& group) {
  if (!videoCodec(group).starts_with("prores"))
    return false;
  const std::string& flags = valueOf(group.last({"flags:v", "flags"}));
  return flags.find("ildct") != std::string::npos && flags.find("-ildct") == std::string::npos;
}

bool usesQuickProres(const FfmpegOptionGroup& group) {
  return group.kind == Kind::output && videoCodec(group) == "prores";
}

// The other encoder has always written what the pictures are; it takes longer.
void translateProres(FfmpegOptionGroup& group, FfmpegVersion version) {
  const bool fits = writesInterlacedProres(group) ? version.isAtLeast(firstProresWithFields)
                                                  : version.isAtLeast(firstProresWithColours);
  if (!usesQuickProres(group) || fits)
    return;
  for (FfmpegOption& option : group.options)
    if (option.value == "prores")
      option.value = "prores_ks";
}

// The option said which field comes first, and changed no picture.
void translateTop(FfmpegOptionGroup& group) {
  const std::string value = valueOf(group.last({"top", "top:v"}));
  removeOptions(group, "top");
  if ((value != "0" && value != "1") || !encodesVideo(group) || takesFromComplexGraph(group))
    return;
  FfmpegOption& filter = filterOption(group, "vf", "filter:v");
  filter.value = joined(*filter.value, value == "1" ? "setfield=tff" : "setfield=bff");
}

bool tellsHighRange(const FfmpegOptionGroup& group) {
  const std::string& transfer = valueOf(group.last({"color_trc"}));
  return transfer == "arib-std-b67" || transfer == "smpte2084";
}

// A movie's header can hold the colours, those of copied pictures as well.
void translateColours(FfmpegOptionGroup& group, FfmpegVersion version) {
  if (version.isAtLeast(firstToWriteColours))
    return;
  if (tellsHighRange(group) && !encodesVideo(group))
    removeOptions(group, "color_trc");
  for (FfmpegOption& option : group.options)
    if (option.name == "colorspace" && option.value == "bt2020nc" &&
        !version.isAtLeast(firstProresWithColours))
      option.value = "bt2020_ncl";  // the name in 3.1
  for (FfmpegOption& option : group.options)
    if (option.name == "movflags" && option.value)
      *option.value += "+write_colr";
}

// The chain without its "setparams" filters, which tell what -color_primaries and the like tell
// the encoder.
std::string withoutSetparams(const std::string& chain) {
  std::string rest = "," + chain;
  constexpr std::string_view name = ",setparams=";
  for (std::size_t found = rest.find(name); found != std::string::npos;
       found = rest.find(name, found))
    rest.erase(found, std::min(rest.find(',', found + 1), rest.size()) - found);
  return rest.empty() ? rest : rest.substr(1);
}

constexpr std::string_view slowedRate = "setpts=2*PTS,fps=";

// The chain with another filter for "fps=30000/1001:…", which hands slowed pictures on as they are.
std::string withoutSlowedFps(std::string chain) {
  const std::size_t found = chain.find(slowedRate);
  if (found == std::string::npos)
    return chain;
  const std::size_t rateAt = found + slowedRate.size();
  const std::size_t rateEnd = std::min(chain.find_first_of(":,", rateAt), chain.size());
  const std::size_t filterEnd = std::min(chain.find(',', rateAt), chain.size());
  const std::string filter = "setpts=2*PTS,framerate=" + chain.substr(rateAt, rateEnd - rateAt);
  return chain.replace(found, filterEnd - found, filter);
}

void translateSlowRates(FfmpegOptionGroup& group, FfmpegVersion version) {
  if (!version.isAtLeast(firstToLoseSlowEnds) || version.isAtLeast(firstToKeepSlowEnds))
    return;
  for (FfmpegOption& option : group.options)
    if (isVideoFilter(option))
      option.value = withoutSlowedFps(*option.value);
}

void translateSetparams(FfmpegOptionGroup& group, FfmpegVersion version) {
  if (version.isAtLeast(firstWithSetparams))
    return;
  // A chain that was empty before is somebody's, as it is.
  std::erase_if(group.options, [](const FfmpegOption& option) {
    return isVideoFilter(option) && !option.value->empty() &&
           withoutSetparams(*option.value).empty();
  });
  for (FfmpegOption& option : group.options)
    if (isVideoFilter(option))
      option.value = withoutSetparams(*option.value);
}

// "58. 42.100": the numbers before the first two points.
std::optional<FfmpegVersion> versionOfLibrary(std::string_view text) {
  FfmpegVersion version;
  for (int* number : {&version.major, &version.minor}) {
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    const auto read = std::from_chars(text.data(), text.data() + text.size(), *number);
    if (read.ec != std::errc() || *number < 0)
      return std::nullopt;
    text.remove_prefix(static_cast<std::size_t>(read.ptr - text.data()));
    if (text.starts_with('.'))
      text.remove_prefix(1);
    else if (number == &version.major)
      return std::nullopt;
  }
  return version;
}

// "5.1.9-0+deb12u1", "n7.1".
std::optional<FfmpegVersion> versionOfRelease(std::string_view text) {
  if (text.starts_with('n'))
    text.remove_prefix(1);  // release tags are called "n7.1"
  int major = 0;
  int minor = 0;
  const char* end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, major);
  if (read.ec != std::errc() || major < 1)
    return std::nullopt;
  if (major < releases[0].major)
    return FfmpegVersion{};  // older than all that is known
  if (read.ptr != end && *read.ptr == '.')
    std::from_chars(read.ptr + 1, end, minor);
  const Release& last = *std::prev(std::end(releases));
  if (major > last.major)
    return std::nullopt;  // as new as can be
  const auto later =
      std::find_if(std::begin(releases), std::end(releases), [&](const Release& release) {
        return release.major > major || (release.major == major && release.minor > minor);
      });
  return std::prev(later)->codec;
}

}  // namespace

std::optional<JoinedInput> joinedInput(const std::vector<std::string>& arguments) {
  std::vector<FfmpegOptionGroup> groups = parseFfmpegArguments(arguments);
  const auto input = std::find_if(groups.begin(), groups.end(), [](const FfmpegOptionGroup& group) {
    return group.kind == Kind::input &&
           (valueOf(group.last({"joined"})) == "1" || group.last({"soundfile"}) != nullptr);
  });
  if (input == groups.end())
    return std::nullopt;
  JoinedInput joined{{std::exchange(input->file, "pipe:0")}, {}, {}};
  for (const FfmpegOption& option : input->options)
    if (option.name == "part")
      joined.files.push_back(option.value.value_or(""));
    else if (option.name == "soundfile")
      joined.sounds.push_back(option.value.value_or(""));
  for (const char* option : {"joined", "part", "soundfile"})
    removeOptions(*input, option);
  joined.arguments = ffmpegArguments(groups);
  return joined;
}

bool JoinedInput::isMxf() const {
  return !sounds.empty() || hasEnding(files.front(), ".mxf");
}

FfmpegVersion ffmpegVersionFromText(std::string_view text) {
  constexpr std::string_view library = "libavcodec ";
  if (const std::size_t found = text.find(library); found != std::string_view::npos) {
    std::string_view line = text.substr(found + library.size());
    line = line.substr(0, line.find('\n'));
    // What it was built with, and behind the stroke what it runs with.
    if (const std::size_t stroke = line.find('/'); stroke != std::string_view::npos)
      line.remove_prefix(stroke + 1);
    if (const auto version = versionOfLibrary(line))
      return *version;
  }
  constexpr std::string_view announcement = "version ";
  text = text.substr(0, text.find('\n'));
  if (const std::size_t found = text.find(announcement); found != std::string_view::npos)
    text.remove_prefix(found + announcement.size());
  return versionOfRelease(text).value_or(newestFfmpeg);
}

std::string ffmpegVersionText(FfmpegVersion version) {
  return "libavcodec " + std::to_string(version.major) + "." + std::to_string(version.minor);
}

bool ffmpegOptionsNeedVersion(const std::vector<std::string>& arguments) {
  const std::vector<FfmpegOptionGroup> groups = parseFfmpegArguments(arguments);
  // Those that do not count, because another one follows, are translated like the others.
  const auto usesNewFilters = [](const FfmpegOptionGroup& group) {
    return std::any_of(group.options.begin(), group.options.end(), [](const FfmpegOption& option) {
      return isVideoFilter(option) && (option.value->find("setparams=") != std::string::npos ||
                                       option.value->find("fps=") != std::string::npos);
    });
  };
  return has(groups, "async") || has(groups, "bsf") || has(groups, "movflags") ||
         has(groups, "color_trc") || has(groups, "colorspace") ||
         std::any_of(groups.begin(), groups.end(), usesNewFilters) ||
         std::any_of(groups.begin(), groups.end(), usesQuickProres) ||
         (has(groups, "vsync") && anyVideoEncoded(groups));
}

std::vector<std::string> translateFfmpegOptions(const std::vector<std::string>& arguments,
                                                FfmpegVersion version) {
  std::vector<FfmpegOptionGroup> groups = parseFfmpegArguments(arguments);
  for (FfmpegOptionGroup& group : groups) {
    renameOptions(group);
    if (group.kind == Kind::input)
      group.file = ffmpegInput(group.file);
    if (group.kind == Kind::output) {
      translateProres(group, version);
      translateTop(group);
      translateColours(group, version);
      translateSetparams(group, version);
      translateSlowRates(group, version);
    }
    translateTimestampFilter(group, version);
  }
  translateVsync(groups, version);
  translateAsync(groups, version);
  std::vector<std::string> translated = ffmpegArguments(groups);
  translated.insert(translated.begin(), "-nostdin");
  return translated;
}

std::string ffmpegInput(const std::string& path) {
  const auto section = sectionOf(path);
  return section ? "subfile,,start," + std::to_string(section->begin) + ",end," +
                       std::to_string(section->end) + ",,:" + section->file
                 : path;
}

std::string beyondFfmpeg(const std::vector<std::string>& arguments, FfmpegVersion version) {
  const std::vector<FfmpegOptionGroup> groups = parseFfmpegArguments(arguments);
  const bool wantsHighRange = std::any_of(
      groups.begin(), groups.end(),
      [](const FfmpegOptionGroup& group) { return encodesVideo(group) && tellsHighRange(group); });
  if (!wantsHighRange || version.isAtLeast(firstToWriteColours))
    return {};
  return "this ffmpeg is too old for movies of high dynamic range (HLG, PQ), which 4.3 or later "
         "makes";
}

}  // namespace tessarin
