#include "cli/options.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <map>
#include <sstream>
#include <string_view>

#include "classShared/TextAdditions.h"
#include "cli/clipList.h"
#include "cli/exitStatus.h"
#include "cli/sources.h"
#include "cli/terminal.h"
#include "cli/texts.h"
#include "core/appDelegate.h"
#include "core/movieNames.h"
#include "core/storedRow.h"
#include "encoding/choiceWords.h"
#include "prefs/utilsAlert.h"
#include "utils/files.h"

namespace tessarin::cli {

namespace {

const std::map<std::string, Overwrite>& overwriting() {
  static const std::map<std::string, Overwrite> names{
      {"ask", Overwrite::ask}, {"keep", Overwrite::keep}, {"replace", Overwrite::replace}};
  return names;
}

template <class Map>
std::string choices(const Map& map) {
  std::vector<std::string> names;
  names.reserve(map.size());
  for (const auto& [name, value] : map)
    names.push_back(name);
  return joinTexts(names, "|");
}

// What is wrong with an option's value, in the user's words.
class Mistake final : public CLI::ParseError {
 public:
  Mistake(const std::string& flag, const std::string& word, const std::string& choices)
      : CLI::ParseError(
            "Mistake",
            flag + ": " +
                localisationString("wrong_choice", textTable, "\"" + word + "\"", choices),
            wrongUse) {}
};

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
              throw Mistake(flag, word, choices(map));
            result = found->second;
          },
          help)
      ->type_name(choices(map))
      ->take_last();
}

// A number from 1 to `most`.
void addCount(CLI::App& app, const std::string& flag, int most, std::optional<int>& result,
              const std::string& help) {
  app.add_option_function<std::string>(
         flag,
         [&result, flag, most](const std::string& word) {
           const auto number = leadingInteger(word);
           if (std::to_string(number) != word || number < 1 || number > most)
             throw Mistake(flag, word, fmt::format("1..{}", most));
           result = static_cast<int>(number);
         },
         help)
      ->type_name("N")
      ->take_last();
}

// The command named by the first of the words that are no options; it is taken out of them. The
// library's subcommands would take the word anywhere, so that no clip could have such a name, and
// would want a help of their own.
Command takeCommand(std::vector<std::string>& words) {
  static const std::map<std::string, Command> commands{{"convert", Command::convert},
                                                       {"analyse", Command::analyse},
                                                       {"analyze", Command::analyse},
                                                       {"plan", Command::plan}};
  if (words.empty())
    return Command::convert;
  const auto found = commands.find(words.front());
  if (found == commands.end())
    return Command::convert;
  words.erase(words.begin());
  return found->second;
}

// The usage of the tables says more than the library's line would.
class HelpText final : public CLI::Formatter {
  std::string make_description(const CLI::App*) const override { return {}; }
  std::string make_usage(const CLI::App*, std::string) const override {
    return localisationString("help_usage", textTable) + "\n";
  }
  // Which options exclude each other their names tell.
  std::string make_option_opts(const CLI::Option* option) const override {
    const std::string type = option->get_type_name();
    return (type.empty() ? "" : " " + type) + (option->get_expected_max() > 1 ? " ..." : "");
  }
};

// What is wrong with the words when an option has a value too few or too many. The library says it
// in English, and has no name for the option but in that sentence.
std::string wrongValue(const CLI::App& app, const std::vector<std::string>& words) {
  for (auto word = words.rbegin(); word != words.rend(); ++word) {
    if (!startsWith(*word, "-"))
      continue;
    const bool isLong = startsWith(*word, "--");
    const std::string name(isLong ? std::string(textUpTo(*word, "="))
                                  : std::string("-") + word->back());
    const CLI::Option* option = app.get_option_no_throw(name);
    if (option == nullptr)
      continue;
    // Only behind the last word there is nothing to take.
    if (option->get_items_expected_max() > 0 && word == words.rbegin())
      return localisationString("wrong_needsValue", textTable, option->get_name(),
                                option->get_type_name());
    if (option->get_items_expected_max() == 0 && contains(*word, "="))
      return localisationString("wrong_takesNoValue", textTable, name);
  }
  return localisationString("wrong_option", textTable, joinTexts(words, " "));
}

// The first of these options that was given.
std::optional<std::string> given(const CLI::App& app, std::initializer_list<const char*> names) {
  for (const char* name : names)
    if (app.count(name) > 0)
      return name;
  return std::nullopt;
}

// Options that do not go with what is to be done.
std::optional<std::string> contradiction(const CLI::App& app, const Options& options) {
  const bool isStored = options.recover || options.forget || options.batchFile;
  if (options.recover && options.forget)
    return localisationString("wrong_excludes", textTable, "--recover", "--forget");
  if (options.recover || options.forget) {
    if (options.command != Command::convert || !options.paths.empty())
      return localisationString("wrong_recoverClips", textTable);
    if (const auto option =
            given(app, {"--batch", "--row", "--report", "--preset", "--for", "--format", "--prores",
                        "--size", "--speed", "--surround", "--no-surround", "--sound",
                        "--slow-sound", "--destination", "--name", "--parts", "--split-tapes"}))
      return localisationString("wrong_recoverOption", textTable, *option);
    if (options.recover && options.onlyNew)
      return localisationString("wrong_recoverOption", textTable, "--new");
  } else if (options.batchFile && options.command != Command::convert) {
    return localisationString("wrong_batchCommand", textTable);
  } else if (const auto single = given(app, {"--row", "--report"});
             single && (!options.batchFile || !options.paths.empty())) {
    return localisationString("wrong_needsBatch", textTable, *single);
  } else if (options.row && options.report) {
    return localisationString("wrong_excludes", textTable, "--row", "--report");
  } else if (options.batchFile && options.paths.empty()) {
    if (const auto option = given(
            app, {"--preset", "--for", "--format", "--size", "--speed", "--surround",
                  "--no-surround", "--sound", "--slow-sound", "--parts", "--split-tapes", "--new"}))
      return localisationString("wrong_batchOption", textTable, *option);
  }
  // Taken as it stands it would mean the usual folder, which is not what was said.
  if (options.destination && options.destination->empty())
    return localisationString("wrong_needsValue", textTable, "--destination", "DIR");
  if (options.paths.empty() && !isStored)
    return localisationString("wrong_noClips", textTable);
  if (options.command == Command::analyse)
    // Nothing is written.
    if (const auto option = given(app, {"--prores", "--surround", "--no-surround", "--destination",
                                        "--name", "--overwrite"}))
      return localisationString("wrong_analyseOption", textTable, *option);
  return std::nullopt;
}

Exit refuse(const std::string& reason) {
  complain(localisationString("wrong_use", textTable, reason));
  return Exit{wrongUse};
}

}  // namespace

std::variant<Options, Exit> readOptions(int count, char** arguments, const std::string& version) {
  std::vector<std::string> words(arguments + std::min(count, 1), arguments + count);
  // The library reads "[a]" as a list of one and leaves out some other words: it sees options
  // only, and not what stands behind "--".
  const auto separator = std::find(words.begin(), words.end(), "--");
  const std::vector<std::string> paths(separator == words.end() ? separator : separator + 1,
                                       words.end());
  words.erase(separator, words.end());

  Options options;
  CLI::App app("", "tessarin");
  app.formatter(std::make_shared<HelpText>());
  app.option_defaults()->group(localisationString("help_options", textTable));
  app.footer(localisationString("help_footer", textTable));
  app.allow_extras();
  app.set_help_flag("-h,--help", localisationString("help_help", textTable));
  app.set_version_flag("-V,--version", "Tessarin " + version,
                       localisationString("help_version", textTable));
  std::optional<std::string> preset;
  app.add_option("--preset", preset, localisationString("help_preset", textTable))
      ->type_name("NAME")
      ->take_last();
  addChoice(app, "--for", applicationWords(), options.choices.application,
            localisationString("help_for", textTable));
  addChoice(app, "--format", targetWords(), options.choices.target,
            localisationString("help_format", textTable));
  addChoice(app, "--prores", flavourWords(), options.choices.flavour,
            localisationString("help_prores", textTable));
  addChoice(app, "--size", sizeWords(), options.choices.size,
            localisationString("help_size", textTable))
      ->type_name("auto|same|SIZE");
  addChoice(app, "--speed", speedWords(), options.choices.speed,
            localisationString("help_speed", textTable));
  CLI::Option* surround = app.add_flag_callback(
      "--surround", [&] { options.choices.keepsSurround = true; },
      localisationString("help_surround", textTable));
  app.add_flag_callback(
         "--no-surround", [&] { options.choices.keepsSurround = false; },
         localisationString("help_noSurround", textTable))
      ->excludes(surround);
  app.add_option_function<std::string>(
         "--sound",
         [&](const std::string& word) {
           options.choices.sound = soundsOfWord(word);
           if (!options.choices.sound)
             throw Mistake("--sound", word, "all|first|N,M");
         },
         localisationString("help_sound", textTable))
      ->type_name("all|first|N,M")
      ->take_last();
  addChoice(app, "--slow-sound", slowSoundChoices(), options.choices.slowSound,
            localisationString("help_slowSound", textTable));
  app.add_option("-d,--destination", options.destination,
                 localisationString("help_destination", textTable))
      ->type_name("DIR")
      ->take_last();
  app.add_option("--name", options.choices.names, localisationString("help_name", textTable))
      ->type_name("PATTERN")
      ->take_last();
  addChoice(app, "--overwrite", overwriting(), options.overwrite,
            localisationString("help_overwrite", textTable));
  app.add_flag("--parts", options.keepsPartsApart, localisationString("help_parts", textTable));
  app.add_flag("--split-tapes", options.splitsTapes,
               localisationString("help_splitTapes", textTable));
  app.add_flag("--new", options.onlyNew, localisationString("help_new", textTable));
  addCount(app, "--jobs", mostJobs, options.jobs, localisationString("help_jobs", textTable));
  std::vector<std::string> lists;
  app.add_option("--from", lists, localisationString("help_from", textTable))
      ->type_name("FILE")
      ->allow_extra_args(false);  // each names one
  app.add_option("--batch", options.batchFile, localisationString("help_batch", textTable))
      ->type_name("FILE")
      ->take_last();
  addCount(app, "--row", highestOrder, options.row, localisationString("help_row", textTable));
  app.add_flag("--report", options.report, localisationString("help_report", textTable));
  app.add_flag("--recover", options.recover, localisationString("help_recover", textTable));
  app.add_flag("--forget", options.forget, localisationString("help_forget", textTable));
  app.add_flag("--json", options.json, localisationString("help_json", textTable));
  app.add_flag("-v,--verbose", options.verbose, localisationString("help_verbose", textTable));
  for (CLI::Option* option : app.get_options())
    if (option->get_items_expected_max() == 0)
      option->disable_flag_override();

  try {
    app.parse(std::vector<std::string>(words.rbegin(), words.rend()));
  } catch (const CLI::Success& asked) {
    std::ostringstream text;
    app.exit(asked, text);
    return Exit{writeOutput(text.str()) ? allConverted : someNot};
  } catch (const Mistake& mistake) {
    return refuse(mistake.what());
  } catch (const CLI::ExcludesError&) {
    return refuse(localisationString("wrong_excludes", textTable, "--surround", "--no-surround"));
  } catch (const CLI::ParseError&) {
    return refuse(wrongValue(app, words));
  }
  options.paths = app.remaining();
  for (const std::string& word : options.paths)
    if (startsWith(word, "-") && word != "-")
      return refuse(localisationString("wrong_option", textTable, word));
  options.command = takeCommand(options.paths);
  options.paths.insert(options.paths.end(), paths.begin(), paths.end());
  for (const std::string& list : lists) {
    const auto clips = readClipList(list);
    if (!clips)
      return refuse(clips.reason());
    options.paths.insert(options.paths.end(), clips->begin(), clips->end());
  }
  if (const auto reason = contradiction(app, options))
    return refuse(*reason);
  if (options.choices.names)
    if (const auto refusal = refusalOfPattern(*options.choices.names))
      return refuse("--name: " + *refusal);
  if (preset && preset->empty())
    return refuse(localisationString("wrong_needsValue", textTable, "--preset", "NAME"));
  if (preset) {
    const auto choices = presetCalled(*preset);
    if (!choices)
      return refuse(localisationString("wrong_preset", textTable, *preset, choices.reason()));
    complete(options.choices, *choices);
  }
  if (options.batchFile) {
    options.batchFile = absolutePath(expandTilde(*options.batchFile));
    if (!options.paths.empty())
      options.command = Command::prepare;
  }
  return options;
}

}  // namespace tessarin::cli
