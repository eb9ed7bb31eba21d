#include "encoding/commandBuilder.h"

#include <fmt/format.h>

#include <algorithm>

#include "analysis/soundChoice.h"
#include "analysis/sourceRecord.h"
#include "analysis/usedStreams.h"
#include "classShared/TextAdditions.h"
#include "classShared/log.h"
#include "encoding/outputPreset.h"
#include "encoding/targets.h"
#include "ffmpeg/languages.h"
#include "ffmpeg/proresCommand.h"
#include "ffmpeg/proresEncoder.h"
#include "ffmpeg/proresFlavours.h"
#include "ffmpeg/steadySize.h"
#include "ffmpeg/timeBound.h"
#include "platform/Bundle.h"

namespace tessarin {

namespace {

void append(Arguments& arguments, const Arguments& more) {
  arguments.insert(arguments.end(), more.begin(), more.end());
}

void appendInput(Arguments& arguments, const Source& source) {
  // Before "-i" the codec is a decoder: for sound that ffmpeg would take for something else.
  for (const Source::Sound& sound : usedSounds(source))
    if (sound.isMisread && !sound.codec.empty())
      append(arguments,
             {source.otherSounds.empty() ? "-c:a" : fmt::format("-c:{}", *sound.id), sound.codec});
  append(arguments, inputOptions(source));
  append(arguments, {"-fflags", "+genpts", "-i", source.path});
  append(arguments, mapOfStreams(source));
}

void appendCopy(Arguments& arguments, const Source& source) {
  append(arguments, {"-vsync", "0", "-strict", "1", "-c:v", "copy"});
  const std::string wrapper = lowerCase(source.container);
  const bool hasTags = startsWith(wrapper, "mov") || startsWith(wrapper, "avi");
  if (hasTags && contains(source.pictures.codec, "264"))
    append(arguments, {"-vtag", "avc1"});
}

std::string scaleFilter(const Source& source, const SizeRow* size) {
  if (size == nullptr)
    return fmt::format("scale={}:{}", source.pictures.width.value_or(0),
                       source.pictures.height.value_or(0));
  // A row that is no size counts as the largest.
  const FrameSize frame = size->isSize() ? size->frame : FrameSize{1920, 1080};
  return fmt::format("scale={}:{}", frame.width, frame.height);
}

// Re-encoding: what is known before the arguments are written.
struct Treatment {
  bool interleave;   // frames become fields
  bool deinterlace;  // the row is progressive
  bool doubleFps;    // every field becomes a frame, at the field rate
  Target mode;
  int fps;
  Speed speed;
};

Treatment treatmentOf(const Row& row, const SizeRow* size, bool interleave) {
  Treatment plan{};
  plan.interleave = interleave;
  plan.deinterlace = size && size->isProgressive();
  logFormat("…to deinterlace     ? {:d}", plan.deinterlace);
  logFormat("sizeOutStr          : {}",
            size ? presetShortLabel(std::string_view(size->label)) : "nil");
  plan.fps = roundedFps(row.source);
  logFormat("fps                 : {}", plan.fps);
  plan.doubleFps = !isSourceProgressive(row.source) && isOf(size, RateFamily::p50) && plan.fps > 47;
  logFormat("…to double fps      ? {:d}", plan.doubleFps);
  // Interleaved frames cannot be copied; the intermediate is the least loss.
  plan.mode = interleave && row.choice.target == outQuickTime ? outAic : row.choice.target;
  plan.speed = plan.doubleFps ? speedSlow : row.choice.speed;
  if (plan.speed == speedKeep && plan.deinterlace)
    plan.speed = speedHalf;
  return plan;
}

void appendCodec(Arguments& arguments, const Treatment& plan, std::string_view prefProres) {
  if (plan.mode == outAic)  // the intermediate for the export: key frames only, best quantiser
    append(arguments, {"-c:v", "mpeg4", "-g", "1", "-q:vscale", "1"});
  if (plan.mode != outProres)
    return;
  const std::size_t start = arguments.size();
  append(arguments, {"-c:v", "prores", "-profile",
                     std::to_string(proresFlavourOrStandard(prefProres).quickProfile)});
  if (!plan.deinterlace)
    append(arguments, {"-flags", "+ildct+ilme", "-top", "1"});
  if (debugMode() || verboseLevel(1))
    logFormat(
        "args prores direct  : {}",
        fmt::join(arguments.begin() + static_cast<std::ptrdiff_t>(start), arguments.end(), " "));
}

// The filters and the rate. A source rate above 50 is read as the field rate of 60i material, so a
// source of 30 frames gets 25.
void appendFilters(Arguments& arguments, const Treatment& plan, const std::string& scale) {
  const std::string rate25 = plan.fps > 50 && plan.fps != 100 ? "30000/1001" : "25/1";
  if (plan.speed == speedKeep) {
    if (plan.interleave)
      append(arguments, {"-vf", scale + ",tinterlace=interleave_top"});
    append(arguments, {"-r", rate25});
  } else if (plan.speed == speedSlow) {
    const std::string stretch = plan.doubleFps ? "" : ",setpts=2.0*PTS";
    const std::string rate50 = plan.fps < 51 ? "50/1" : "60000/1001";
    append(arguments,
           {"-vf", "yadif=1:-1:0" + stretch + "," + scale, "-r", plan.doubleFps ? rate50 : rate25});
  } else if (plan.speed == speedHalf) {
    append(arguments, {"-vf", "yadif=0:-1:0," + scale, "-r", rate25});
  }
}

void appendAudio(Arguments& arguments, const Source& source) {
  constexpr std::int64_t stereo = 2;
  std::vector<std::int64_t> channels;
  for (const Source::Sound& sound : usedSounds(source)) {
    channels.push_back(channelsInMovie(source, sound));
    if (channels.back() > stereo)
      logFormat("aChannels           : {}", channels.back());
  }
  if (channels.empty())
    return;
  append(arguments, {"-async", "3000", "-c:a", "pcm_s16le"});
  const bool areSame = std::all_of(channels.begin(), channels.end(),
                                   [&](std::int64_t each) { return each == channels.front(); });
  if (areSame)
    append(arguments, {"-ac", fmt::format("{}", channels.front())});
  for (std::size_t track = 0; !areSame && track < channels.size(); ++track)
    append(arguments, {fmt::format("-ac:a:{}", track), fmt::format("{}", channels[track])});
}

void appendOutput(Arguments& arguments, const std::string& destination) {
  if (hasPathExtension(destination, "mov"))
    append(arguments, {"-movflags", "faststart"});
  append(arguments, {"-sn", "-y", destination});
}

void logDetails(std::string_view name, const Arguments& arguments) {
  if (debugMode() || verboseLevel(1))
    logFormat("{}: {}", name, fmt::join(arguments, " "));
}

// ---- What a movie needs besides

enum class FilterPlace { first, last };

// Puts a filter before or behind the command's filters; a command without any gets it alone. Stream
// copies have no filters and no "-r".
void addFilter(Arguments& arguments, const std::string& filter, FilterPlace place) {
  const auto option = std::find(arguments.begin(), arguments.end(), "-vf");
  if (option != arguments.end() && option + 1 != arguments.end()) {
    const std::string filters = *(option + 1);
    *(option + 1) = place == FilterPlace::first ? filter + "," + filters : filters + "," + filter;
    return;
  }
  const auto rate = std::find(arguments.begin(), arguments.end(), "-r");
  if (rate != arguments.end())
    arguments.insert(rate, {"-vf", filter});
}

bool isBottomFirst(const Source& source) {
  return source.pictures.fields == Fields::bottomFirst;
}

// Where what the stream claims is wrong, the filters are told what the pictures say.
void correctFields(const Source& source, EncodingCommand& command) {
  if (source.pictures.claim)
    addFilter(command.arguments, isBottomFirst(source) ? "setfield=bff" : "setfield=tff",
              FilterPlace::first);
}

// Sees to it that the encoder can take fields of as many lines as the movie has.
void correctEncoder(const Row& row, EncodingCommand& command) {
  Arguments& arguments = command.arguments;
  const auto codec = std::find(arguments.begin(), arguments.end(), "prores");
  const bool hasFields =
      std::find(arguments.begin(), arguments.end(), "+ildct+ilme") != arguments.end();
  if (codec == arguments.end() || !hasFields)
    return;
  const auto filters = std::find(arguments.begin(), arguments.end(), "-vf");
  const bool isScaled = filters != arguments.end() && contains(*(filters + 1), "scale=");
  const SizeRow* size = sizeRow(row.choice.sizeOut);
  const int lines = isScaled && size ? size->frame.height
                                     : static_cast<int>(row.source.pictures.height.value_or(0));
  *codec = proresEncoder(hasFields, lines);
}

// Sees to it that the movie says its colours: those of the source, or those of high definition for
// pictures of standard definition that are made as large, as they are converted then. Programs that
// do not ask go by the size.
void nameColours(const Source& source, EncodingCommand& command) {
  Arguments& arguments = command.arguments;
  PictureColours colours = sourceColours(source);
  const auto height = source.pictures.height.value_or(0);
  constexpr int mostStandardLines = 576;
  const auto option = std::find(arguments.begin(), arguments.end(), "-vf");
  if (option != arguments.end() && height <= mostStandardLines && !isWide(colours))
    for (const SizeRow& size : sizeRows()) {
      const std::string scale = fmt::format("scale={}:{}", size.frame.width, size.frame.height);
      const std::string converted = fmt::format("{}:out_color_matrix=bt709", scale);
      std::string& filters = *(option + 1);
      if (!size.isSize() || !contains(filters, scale) || contains(filters, converted))
        continue;  // rows share their frames
      filters = replaceAll(filters, scale, converted);
      colours = {"bt709", "bt709", "bt709"};
    }
  if (command.writesProres) {
    colours = coloursInProres(colours);
    addFilter(arguments, colourFilter(colours), FilterPlace::last);
  }
  const Arguments options = colourOptions(colours);
  const auto subtitles = std::find(arguments.begin(), arguments.end(), "-sn");
  arguments.insert(subtitles, options.begin(), options.end());
}

// Sees to it that all sounds of the movie are heard, and are called what they are in the source:
// ffmpeg would enable the first alone, takes titles over into no movie, and languages only by the
// codes that QuickTime once had numbers for.
void nameSounds(const Source& source, EncodingCommand& command) {
  const std::vector<Source::Sound> sounds = usedSounds(source);
  Arguments options;
  if (sounds.size() > 1)
    append(options, {"-disposition:a", "default"});
  for (std::size_t track = 0; track < sounds.size(); ++track) {
    const Source::Sound& sound = sounds[track];
    const auto say = [&](const char* name, const std::string& value) {
      append(options, {fmt::format("-metadata:s:a:{}", track), fmt::format("{}={}", name, value)});
    };
    if (const std::string_view code = languageInCopies(sound.language); code != sound.language)
      say("language", std::string(code));
    // ffmpeg writes its length in a byte, and does not look whether it fits.
    constexpr std::size_t longestTitle = 200;
    if (!sound.title.empty() && sound.title.size() <= longestTitle)
      say("handler_name", sound.title);
  }
  const auto subtitles = std::find(command.arguments.begin(), command.arguments.end(), "-sn");
  command.arguments.insert(subtitles, options.begin(), options.end());
}

// Sees to it that the movie begins with its first picture, and the sound with what is heard then:
// ffmpeg would fill the time before with copies of that picture, and leave out or move what is
// shown before the source's time begins. What lies behind that beginning filters count: to ffmpeg,
// packets far below zero would be the clock's leaps, and it would move them.
void beginWithFirstPicture(const Source& source, EncodingCommand& command) {
  const double begin = source.pictures.begin.value_or(0);
  Arguments& arguments = command.arguments;
  if (begin == 0 || std::find(arguments.begin(), arguments.end(), "copy") != arguments.end())
    return;
  if (begin < 0) {
    const auto input = std::find(arguments.begin(), arguments.end(), "-i");
    arguments.insert(input, {"-itsoffset", fmt::format("{:.6f}", -begin)});
    return;
  }
  const std::string seconds = fmt::format("{:.6f}", begin);
  addFilter(arguments, "setpts=" + earlierBy(seconds), FilterPlace::first);
  if (!usedSounds(source).empty())
    addSoundFilter(command, fmt::format("atrim=start={},asetpts={}", seconds, earlierBy(seconds)));
}

// Brings the pictures, behind all else, to what ProRes encoders take; these fields then need no
// option that only claims their order.
void bringToProres(EncodingCommand& command) {
  if (!command.writesProres)
    return;
  Arguments& arguments = command.arguments;
  const auto claim = std::find(arguments.begin(), arguments.end(), "-top");
  const bool hasFields = claim != arguments.end();
  if (hasFields) {
    // Without it versions disagree about what the movie claims: the lines of the first field are
    // the upper ones, shown so and stored so.
    *claim = "-field_order";
    *(claim + 1) = "tb";
  }
  if (const auto filters = std::find(arguments.begin(), arguments.end(), "-vf");
      filters != arguments.end())
    addFilter(arguments, proresFilters(*(filters + 1), hasFields), FilterPlace::last);
}

// Sees to it that no picture is lost where the pictures change their size.
void steadySize(const Source& source, EncodingCommand& command) {
  Arguments& arguments = command.arguments;
  const auto& [width, height] = std::pair(source.pictures.width, source.pictures.height);
  if (!mayChangeSize(source) || !width || !height ||
      std::find(arguments.begin(), arguments.end(), "-vf") == arguments.end())
    return;
  arguments.insert(std::find(arguments.begin(), arguments.end(), "-i"), keepingFilters.begin(),
                   keepingFilters.end());
  addFilter(arguments, steadySizeFilter(static_cast<int>(*width), static_cast<int>(*height)),
            FilterPlace::first);
}

}  // namespace

Dico jobRecord(const Row& row, const std::string& destination) {
  Dico record = recordOfSource(row.source);
  record.set(JobKey::out, row.choice.target);
  record.set(JobKey::speed, row.choice.speed);
  if (row.choice.sizeOut != keepsSize)
    record.set(JobKey::sizeOut, row.choice.sizeOut);
  if (!destination.empty())
    record.set(JobKey::dstPathStr, destination);
  return record;
}

std::optional<EncodingCommand> encodage(const Row& row, const std::string& destination,
                                        std::string_view prefProres) {
  const Source& source = row.source;
  logLine("encodage            - deb");
  debugFormat("srcPathStr          : {}", row.path());
  debugFormat("dstPathStr          : {}", destination);
  debugFormat("outInt              : {}", static_cast<int>(row.choice.target));
  if (debugMode() || verboseLevel(1))
    logFormat("dico                : {}", jobRecord(row, destination).description());

  const SizeRow* size = sizeRow(row.choice.sizeOut);
  if (!size && row.choice.sizeOut != keepsSize) {
    logFormat("encodage            :-( no size row {}", row.choice.sizeOut);
    return std::nullopt;
  }

  EncodingCommand command;
  Arguments& arguments = command.arguments;
  append(arguments, {Bundle::main().toolPath("ffmpeg"), "-loglevel", "info"});
  logDetails("argsMArray deb       ", arguments);
  appendInput(arguments, source);
  const bool interleave = needsInterleaveToI50(source, size);
  if (isSourceProgressive(source) && !interleave) {
    appendCopy(arguments, source);
  } else {
    const Treatment plan = treatmentOf(row, size, interleave);
    appendCodec(arguments, plan, prefProres);
    command.writesProres = plan.mode == outProres;
    append(arguments, {"-threads", "auto"});
    appendFilters(arguments, plan, scaleFilter(source, size));
  }
  appendAudio(arguments, source);
  appendOutput(arguments, destination);
  logDetails("argsMArray fin       ", arguments);
  logLine("encodage            - fin");
  return command;
}

void addSoundFilter(EncodingCommand& command, const std::string& filter) {
  Arguments& arguments = command.arguments;
  const auto option = std::find(arguments.begin(), arguments.end(), "-af");
  if (option != arguments.end())
    *(option + 1) += "," + filter;
  else
    arguments.insert(std::find(arguments.begin(), arguments.end(), "-sn"), {"-af", filter});
}

std::optional<EncodingCommand> movieCommand(const Row& row, const std::string& destination,
                                            std::string_view prefProres) {
  auto command = encodage(row, destination, prefProres);
  if (!command)
    return std::nullopt;
  addFilter(command->arguments, timeBound(row.source.seconds), FilterPlace::first);
  correctFields(row.source, *command);
  nameColours(row.source, *command);
  nameSounds(row.source, *command);
  beginWithFirstPicture(row.source, *command);
  correctEncoder(row, *command);
  steadySize(row.source, *command);
  bringToProres(*command);
  return command;
}

PictureColours sourceColours(const Source& source) {
  return completeColours(
      source.pictures.colours, static_cast<int>(source.pictures.width.value_or(0)),
      static_cast<int>(source.pictures.height.value_or(0)), source.pictures.rate.value_or(0));
}

}  // namespace tessarin
