#include "cli/options.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <map>
#include <string_view>

#include "classShared/TextAdditions.h"
#include "cli/exitStatus.h"
#include "encoding/BatchEntry.h"

namespace tessarin::cli {

namespace {

using Names = std::map<std::string, int>;

const Names& targets() {
  static const Names names{{"quicktime", outQuickTime}, {"aic", outAic}, {"prores", outProres}};
  return names;
}

const Names& speeds() {
  static const Names names{{"full", speedKeep}, {"half", speedHalf}, {"slow", speedSlow}};
  return names;
}

// Segments of the editing-application selector.
const Names& applications() {
  static const Names names{{"quicktime", 0}, {"imovie", 1}, {"finalcut", 2}, {"50p60p", 3}};
  return names;
}

// Rows of presetSizesList. A row stands for its rates of both the PAL and the NTSC family.
const Names& sizes() {
  static const Names names{
      {"auto", 0},       {"same", 1},       {"540p25", 4},     {"540p30", 4},     {"720p24", 5},
      {"720p25", 5},     {"720p30", 5},     {"720p50", 6},     {"720p60", 6},     {"hdv1080p24", 7},
      {"hdv1080p25", 7}, {"hdv1080p30", 7}, {"hdv1080p50", 8}, {"hdv1080p60", 8}, {"hdv1080i50", 9},
      {"hdv1080i60", 9}, {"1080p24", 10},   {"1080p25", 10},   {"1080p30", 10},   {"1080p50", 11},
      {"1080p60", 11},   {"1080i50", 12},   {"1080i60", 12}};
  return names;
}

const std::map<std::string, std::string>& flavours() {
  static const std::map<std::string, std::string> codes{
      {"proxy", "apco"}, {"lt", "apcs"}, {"standard", "apcn"}, {"hq", "apch"}, {"4444", "ap4h"}};
  return codes;
}

const std::map<std::string, Overwrite>& overwriting() {
  static const std::map<std::string, Overwrite> names{
      {"ask", Overwrite::ask}, {"keep", Overwrite::keep}, {"replace", Overwrite::replace}};
  return names;
}

template <class Map>
std::string choices(const Map& map) {
  std::vector<std::string> names;
  for (const auto& [name, value] : map)
    names.push_back(name);
  return joinTexts(names, "|");
}

// Looks the option's word up in the map, in capitals or small letters.
template <class Map, class Result>
CLI::Option* addChoice(CLI::App& app, const std::string& flag, const Map& map, Result& result,
                       const std::string& help) {
  return app
      .add_option_function<std::string>(
          flag,
          [&map, &result, flag](const std::string& word) {
            const auto found = map.find(lowerCase(word));
            if (found == map.end())
              throw CLI::ValidationError(
                  flag, fmt::format("\"{}\" is not one of {}", word, choices(map)));
            result = found->second;
          },
          help)
      ->type_name(choices(map));
}

// The command named by the first argument, if any; the rest are its arguments.
Command takeCommand(std::vector<std::string>& arguments) {
  static const std::map<std::string, Command> commands{{"convert", Command::convert},
                                                       {"analyse", Command::analyse},
                                                       {"analyze", Command::analyse},
                                                       {"plan", Command::plan}};
  if (arguments.empty())
    return Command::convert;
  const auto found = commands.find(arguments.front());
  if (found == commands.end())
    return Command::convert;
  arguments.erase(arguments.begin());
  return found->second;
}

constexpr const char* description =
    "Makes movies that an editing program plays with ease out of camcorder clips.\n"
    "\n"
    "  tessarin [OPTIONS] FILE|FOLDER...          convert into DESTINATION/Tessarin\n"
    "  tessarin analyse [OPTIONS] FILE|FOLDER...  tell what each source is\n"
    "  tessarin plan [OPTIONS] FILE|FOLDER...     show the commands that would run\n"
    "\n"
    "Folders are searched with all their subfolders. A file that is called like a command is\n"
    "named with its folder: ./plan";

constexpr const char* footer =
    "Exit status: 0 all converted, 1 some not, 2 wrong use.\n"
    "Sizes: 540p25 720p25 720p50 hdv1080p25 hdv1080p50 hdv1080i50 1080p25 1080p50 1080i50, and "
    "the\n"
    "same with 30 for 25 and 60 for 50 (or 24 for 25); hdv is 1440x1080.\n"
    "Applications: quicktime (QuickTime and what plays H.264), imovie, finalcut (also Kdenlive,\n"
    "Shotcut and DaVinci Resolve, with ProRes), 50p60p (any that edits 50 or 60 pictures a "
    "second).";

}  // namespace

std::variant<Options, Exit> readOptions(int count, char** arguments, const std::string& version) {
  std::vector<std::string> words(arguments + std::min(count, 1), arguments + count);
  Options options;
  options.command = takeCommand(words);

  CLI::App app(description, "tessarin");
  app.footer(footer);
  app.set_version_flag("-V,--version", "Tessarin " + version);
  app.add_option("paths", options.paths, "The clips, or folders of clips")
      ->type_name("FILE|FOLDER");
  addChoice(app, "--for", applications(), options.soft,
            "The editing application: which sizes it takes, and its format");
  addChoice(app, "--format", targets(), options.target, "What the movies are made in");
  addChoice(app, "--prores", flavours(), options.prores, "The flavour of ProRes");
  addChoice(
      app, "--size", sizes(), options.size,
      "The picture size (auto: what suits source and application; same: what suits the source)")
      ->type_name("auto|same|SIZE");
  addChoice(app, "--speed", speeds(), options.speed,
            "All pictures or fields, half of them, or slow motion at half the speed");
  app.add_flag("--surround", options.surround, "Keep all sound channels instead of two");
  app.add_option("-d,--destination", options.destination,
                 "The folder in which the folder Tessarin is made")
      ->type_name("DIR");
  addChoice(app, "--overwrite", overwriting(), options.overwrite,
            "What to do with a movie that is there already (without a terminal, ask keeps it)");
  app.add_flag("--json", options.json, "One JSON object a line on standard output");
  app.add_flag("-v,--verbose", options.verbose, "More lines in the detail log");

  std::reverse(words.begin(), words.end());
  try {
    app.parse(words);
  } catch (const CLI::ParseError& error) {
    const bool isMistake = error.get_exit_code() != 0;
    app.exit(error);
    return Exit{isMistake ? wrongUse : allConverted};
  }
  if (options.paths.empty()) {
    fmt::print(stderr, "tessarin: no clips are named; \"tessarin --help\" tells more\n");
    return Exit{wrongUse};
  }
  return options;
}

}  // namespace tessarin::cli
