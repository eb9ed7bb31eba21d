#include "ffmpeg/proresCommand.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <string_view>

#include "ffmpeg/ffmpegCommandLine.h"
#include "ffmpeg/steadySize.h"

namespace tessarin {

namespace {

using Kind = FfmpegOptionGroup::Kind;
using Names = std::initializer_list<std::string_view>;

// What an output may be told, by who goes by it.
constexpr std::array<std::string_view, 5> forBoth{"map", "ss", "t", "to", "threads"};
constexpr std::array<std::string_view, 4> forPictures{"r", "r:v", "frames:v", "vframes"};
constexpr std::array<std::string_view, 7> forSound{"c:a", "codec:a", "acodec",        "ac",
                                                   "ar",  "async",   "channel_layout"};
constexpr std::array<std::string_view, 20> forTheMovie{
    "af",        "filter:a",        "an",         "c:v",         "codec:v",  "vcodec",   "profile",
    "profile:v", "flags",           "flags:v",    "vf",          "filter:v", "movflags", "f",
    "color_trc", "color_primaries", "colorspace", "field_order", "sn",       "dn"};
constexpr std::array<std::string_view, 4> forTheRun{"y", "n", "hide_banner", "nostdin"};

// The filters that bring pictures to ours.
constexpr std::string_view progressiveEnd = "format=yuv422p10,setfield=prog";
constexpr std::string_view fieldsEnd = "format=yuv422p10,fieldorder=tff,setfield=tff";
// Chroma of 4:2:0 pictures that carry fields is brought to 4:2:2 per field; "interl=-1" goes by the
// flag of each picture, as MPEG streams of interlaced sequences hold progressive pictures, too. The
// order is changed behind that, as it moves the picture by a line, which 4:2:0 chroma cannot.
constexpr std::string_view perField = "scale=interl=-1,";

template <std::size_t count>
bool isIn(const std::array<std::string_view, count>& names, const FfmpegOption& option) {
  return std::find(names.begin(), names.end(), option.name) != names.end();
}

std::string valueOf(const FfmpegOptionGroup& group, Names names) {
  const FfmpegOption* option = group.last(names);
  return option != nullptr ? option->value.value_or("") : "";
}

// What is said of one track of the movie's sound, "ac:a:1", or of all of them.
bool isOfSounds(const FfmpegOption& option) {
  return option.name == "disposition:a" || option.name.starts_with("metadata:s:a:") ||
         option.name.starts_with("ac:a:");
}

bool isKnown(const FfmpegOption& option) {
  return isOfSounds(option) || isIn(forBoth, option) || isIn(forPictures, option) ||
         isIn(forSound, option) || isIn(forTheMovie, option) || isIn(forTheRun, option);
}

std::string chained(const std::string& first, const std::string& second) {
  return first.empty() ? second : first + "," + second;
}

bool makesProresMovie(const FfmpegOptionGroup& output) {
  const std::string codec = valueOf(output, {"c:v", "codec:v", "vcodec"});
  const std::string sound = valueOf(output, {"c:a", "codec:a", "acodec"});
  const std::string profile = valueOf(output, {"profile", "profile:v"});
  const bool hasProfile =
      profile.empty() || (profile.size() == 1 && profile >= "0" && profile <= "3");
  const std::string format = valueOf(output, {"f"});
  const std::string order = valueOf(output, {"field_order"});
  const std::string chain = valueOf(output, {"vf", "filter:v"});
  const bool isMovie = format.empty() ? hasEnding(output.file, ".mov") : format == "mov";
  return (codec == "prores" || codec == "prores_ks") && hasProfile && isMovie &&
         (sound.empty() || sound == "pcm_s16le") && (order.empty() || order == "tb") &&
         (chain.ends_with(progressiveEnd) || chain.ends_with(fieldsEnd)) &&
         std::all_of(output.options.begin(), output.options.end(), isKnown);
}

// What is looked at before the options: the other files' streams, and what speaks for the run.
bool isPlain(const std::vector<FfmpegOptionGroup>& groups) {
  if (groups.size() < 2 || groups.back().kind != Kind::output)
    return false;
  return std::all_of(groups.begin(), groups.end() - 1, [](const FfmpegOptionGroup& group) {
    return group.kind == Kind::input &&
           group.last({"filter_complex", "lavfi", "progress"}) == nullptr;
  });
}

// Samples as they are, where the pictures keep their fields: the encoder brings chroma to all lines
// and the fields to their order, which spares the pipe more than half.
std::optional<std::string> keptChainOf(std::string_view chain) {
  const std::string end = std::string(perField) + std::string(fieldsEnd);
  if (!chain.ends_with(end))
    return std::nullopt;
  const std::string_view own = chain.substr(0, chain.size() - end.size());
  for (std::size_t at = own.find("scale="); at != own.npos; at = own.find("scale=", at + 1))
    if (!isSteadySizeFilter(own.substr(at, own.find(',', at) - at)))
      return std::nullopt;
  return std::string(own) + "scale=interl=-1,format=yuv420p|yuv422p|yuv420p10|yuv422p10";
}

template <class... Lists>
FfmpegOptionGroup outputWith(const FfmpegOptionGroup& given, const Lists&... lists) {
  FfmpegOptionGroup group;
  group.kind = Kind::output;
  group.file = "pipe:1";
  for (const FfmpegOption& option : given.options)
    if ((isIn(lists, option) || ...))
      group.options.push_back(option);
  for (const char* name : {"sn", "dn"})
    group.options.push_back({name, std::nullopt});
  return group;
}

// ffmpeg counts time from the beginning of the streams that a run uses, which for some formats is
// not that of all. With this further output, which costs nothing, both runs use the same ones.
FfmpegOptionGroup sameStreams(const FfmpegOptionGroup& given) {
  FfmpegOptionGroup group = outputWith(given, forBoth);
  group.options.push_back({"c", "copy"});
  group.options.push_back({"f", "null"});
  group.file = "-";
  return group;
}

std::size_t mapCount(const FfmpegOptionGroup& given) {
  return static_cast<std::size_t>(
      std::count_if(given.options.begin(), given.options.end(),
                    [](const FfmpegOption& option) { return option.name == "map"; }));
}

// Of more than two maps the first is that of the pictures.
std::size_t soundCount(const FfmpegOptionGroup& given) {
  return std::max<std::size_t>(mapCount(given), 2) - 1;
}

// One track of the sound as WAVE.
FfmpegOptionGroup soundOutput(const FfmpegOptionGroup& given, std::size_t track) {
  FfmpegOptionGroup sound = outputWith(given, forBoth, forSound);
  if (mapCount(given) > 2)
    std::erase_if(sound.options,
                  [place = std::size_t{0}, track](const FfmpegOption& option) mutable {
                    return option.name == "map" && place++ != track + 1;
                  });
  if (const FfmpegOption* channels = given.last({"ac:a:" + std::to_string(track)}))
    sound.options.push_back({"ac", channels->value});
  sound.options.push_back({"af", chained(valueOf(given, {"af", "filter:a"}), movieSoundFilter)});
  sound.options.push_back({"vn", std::nullopt});
  sound.options.push_back({"f", "wav"});
  return sound;
}

// "0:2" is stream 2 of the input.
std::optional<int> streamOf(const FfmpegOptionGroup& sound) {
  const std::string map = valueOf(sound, {"map"});
  int number = 0;
  const auto [end, error] = std::from_chars(map.data() + std::min<std::size_t>(map.size(), 2),
                                            map.data() + map.size(), number);
  const bool isNumber =
      map.starts_with("0:") && error == std::errc() && end == map.data() + map.size();
  return isNumber ? std::optional(number) : std::nullopt;
}

std::vector<std::string> argumentsOf(std::vector<FfmpegOptionGroup> groups,
                                     FfmpegOptionGroup output, FfmpegOptionGroup same) {
  groups.pop_back();
  groups.push_back(std::move(output));
  groups.push_back(std::move(same));
  return ffmpegArguments(groups);
}

// Of two runs one is enough to tell of the source.
void makeQuiet(std::vector<FfmpegOptionGroup>& groups) {
  for (FfmpegOptionGroup& group : groups)
    std::erase_if(group.options, [](const FfmpegOption& option) {
      return option.name == "loglevel" || option.name == "v";
    });
  groups.front().options.insert(groups.front().options.begin(), {"loglevel", "warning"});
}

PictureColours coloursOf(const FfmpegOptionGroup& output) {
  PictureColours colours{valueOf(output, {"color_primaries"}), valueOf(output, {"color_trc"}),
                         valueOf(output, {"colorspace"})};
  // The options have other words for two of the curves.
  if (colours.transfer == "gamma22")
    colours.transfer = "bt470m";
  if (colours.transfer == "gamma28")
    colours.transfer = "bt470bg";
  return colours;
}

}  // namespace

std::string proresFilters(std::string_view chain, bool hasFields) {
  if (!hasFields)
    return std::string(progressiveEnd);
  return std::string(leavesSourceFields(chain) ? "" : perField) + std::string(fieldsEnd);
}

std::optional<ProresCommand> proresCommand(const std::vector<std::string>& arguments) {
  std::vector<FfmpegOptionGroup> groups = parseFfmpegArguments(arguments);
  if (!isPlain(groups) || !makesProresMovie(groups.back()))
    return std::nullopt;
  const FfmpegOptionGroup given = groups.back();
  ProresCommand command;
  if (const std::string profile = valueOf(given, {"profile", "profile:v"}); !profile.empty())
    command.profile = profile.front() - '0';
  command.interlaced = valueOf(given, {"flags", "flags:v"}).find("+ildct") != std::string::npos;
  command.colours = coloursOf(given);
  command.source = groups[groups.size() - 2].file;
  command.output = given.file;
  command.replace = std::any_of(groups.begin(), groups.end(), [](const FfmpegOptionGroup& group) {
    return group.last({"y"}) != nullptr;
  });

  const auto picturesBy = [&](const std::string& filters) {
    FfmpegOptionGroup pictures = outputWith(given, forBoth, forPictures);
    for (const FfmpegOption& option :
         {FfmpegOption{"an", std::nullopt}, FfmpegOption{"vsync", "1"}, FfmpegOption{"vf", filters},
          FfmpegOption{"c:v", "wrapped_avframe"}, FfmpegOption{"strict", "-1"},
          FfmpegOption{"f", "yuv4mpegpipe"}})
      pictures.options.push_back(option);
    return argumentsOf(groups, std::move(pictures), sameStreams(given));
  };
  const std::string chain = valueOf(given, {"vf", "filter:v"});
  command.pictures = picturesBy(chain);
  if (const auto kept = keptChainOf(chain))
    command.keptFields = picturesBy(*kept);
  if (given.last({"c:a", "codec:a", "acodec"}) == nullptr || given.last({"an"}) != nullptr)
    return command;

  makeQuiet(groups);
  for (std::size_t track = 0; track < soundCount(given); ++track) {
    FfmpegOptionGroup sound = soundOutput(given, track);
    const auto stream = streamOf(sound);
    command.sounds.push_back({argumentsOf(groups, std::move(sound), sameStreams(given)), stream});
  }
  return command;
}

}  // namespace tessarin
