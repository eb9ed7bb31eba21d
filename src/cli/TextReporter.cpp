#include <fmt/format.h>

#include <cmath>
#include <set>

#include "classShared/TextAdditions.h"
#include "classShared/descriptorBytes.h"
#include "classShared/log.h"
#include "cli/Reporter.h"
#include "cli/terminal.h"
#include "cli/texts.h"
#include "core/batchSummary.h"
#include "core/clipWords.h"
#include "encoding/outputPreset.h"
#include "jobs/remarks.h"
#include "platform/openFiles.h"
#include "prefs/utilsAlert.h"
#include "utils/files.h"

namespace tessarin::cli {

namespace {

std::string pictureOf(const Row& row) {
  const Source::Pictures& pictures = row.source.pictures;
  if (!pictures.width)
    return "-";
  return fmt::format("{}x{}{} {:.5g}", *pictures.width, pictures.height.value_or(0),
                     row.isProgressive ? "p" : "i", pictures.rate.value_or(0));
}

std::string soundOf(const Source::Sound& sound) {
  if (!sound.id)
    return "-";
  return fmt::format("{} {}x{}", sound.codec, sound.channels.value_or(0), sound.rate.value_or(0));
}

std::string percent(double fraction) {
  return fmt::format("{:.0f} %", std::min(99.0, fraction * 100));
}

std::vector<std::string> withFirst(std::string first, std::vector<std::string> others) {
  others.insert(others.begin(), std::move(first));
  return others;
}

// Lines of text; on a terminal a line of progress that is written over and over.
class TextReporter final : public Reporter {
 public:
  TextReporter() : showsProgress_(canRewriteLine(standardError)) {}

  void problem(const std::string& path, const std::string& reason) override {
    clearProgress();
    complain(fmt::format("{}: {}", path, reason));
  }

  // "[2/3] clip.MTS  analysing", "[35 %] tape.dv  analysing"
  void analysing(const AnalysisStand& stand) override {
    const std::string place =
        stand.searched ? percent(*stand.searched) : fmt::format("{}/{}", stand.number, stand.count);
    showProgress(fmt::format("[{}] {}  {}", place, printable(fileName(stand.path)),
                             localisationString("analysing", textTable)));
  }

  void analysisEnded() override { clearProgress(); }

  void analysed(const Row& row, const std::optional<Forecast>& movie) override {
    clearProgress();
    if (!headerShown_)
      printRow(localisationString("duration", textTable), localisationString("picture", textTable),
               localisationString("codec", textTable), localisationString("sound", textTable),
               localisationString("container", textTable), localisationString("clip", textTable));
    headerShown_ = true;
    const Source& source = row.source;
    const std::string& codec = source.pictures.codec;
    printRow(source.duration ? clockText(*source.duration) : "-", pictureOf(row),
             codec.empty() ? "-" : codec, soundOf(source.sound),
             std::string(firstContainer(source)), printable(row.path()));
    if (const std::string parts = partWords(source); !parts.empty())
      printBelow(parts);
    if (const std::vector<std::string> sounds = soundsInWords(source); sounds.size() > 1)
      for (const std::string& sound : sounds)
        printBelow(localisationString("clip_sound", "", sound));
    if (movie)
      printBelow("-> " + summaryOf(*movie));
    for (const std::string& note : movie ? notesOf(*movie) : remarkTexts(source))
      printBelow(note);
  }

  // Lines that a shell runs as they stand. Those of one movie are a command of its own: when one of
  // them fails the others are left out, and "sh -e" ends.
  void planned(const Row& row, const std::string& output, const std::vector<Arguments>& commands,
               const std::optional<Forecast>& movie) override {
    if (movie)
      comment(row, joinTexts(withFirst(summaryOf(*movie), notesOf(*movie)), "; "));
    const std::string folder = parentFolder(output);
    if (!isDirectory(folder) && foldersMade_.insert(folder).second)
      print("mkdir -p -- " + shellQuoted(folder));
    std::vector<std::string> lines;
    for (const Arguments& command : commands) {
      std::vector<std::string> quoted;
      for (const std::string& argument : command)
        quoted.push_back(shellQuoted(argument));
      lines.push_back(forTerminal(joinTexts(quoted, " ")));
    }
    const std::string text = joinTexts(lines, " &&\n ");
    print(lines.size() == 1 ? text : "(" + text + ")");
  }

  void wouldKeep(const Row& row, const std::string&, const std::string& reason) override {
    comment(row, reason);
  }

  void jobStarted(const std::string&, const std::string&) override {}

  // "[2/3, 40 %] clip.MTS  12 %  3.1x  1:05 left"; of several clips at the same time the names come
  // last, for they may be long.
  void progress(const BatchProgress& progress) override {
    std::string pace;
    if (progress.speed)
      pace += fmt::format("  {:.1f}x", *progress.speed);
    if (progress.left)
      pace += "  " + localisationString("left", textTable, clockText(*progress.left));
    std::string clips;
    for (const BatchProgress::Clip& clip : progress.inHand)
      clips += fmt::format("{}{}  {}", clips.empty() ? " " : "  ", printable(fileName(clip.source)),
                           percent(clip.fraction));
    const int first = progress.inHand.front().number;
    const int last = progress.inHand.back().number;
    std::string place = std::to_string(first);
    if (last != first)
      place += fmt::format("-{}", last);
    place += fmt::format("/{}", progress.rows);
    if (progress.rows > 1)
      place += ", " + percent(progress.fraction);
    showProgress(fmt::format("[{}]{}", place, last == first ? clips + pace : pace + " " + clips));
  }

  void jobEnded(const JobEnd& end, bool isFine) override {
    clearProgress();
    switch (end.kind) {
      case JobEnd::Kind::converted:
        print(localisationString("converted", textTable, printable(end.source),
                                 printable(end.output)) +
              (end.reason.empty() ? "" : " (" + end.reason + ")"));
        break;
      case JobEnd::Kind::kept:
        if (isFine)
          print(fmt::format("{}: {}", printable(end.source), printable(end.reason)));
        else
          problem(end.source, end.reason);
        break;
      case JobEnd::Kind::failed:
      case JobEnd::Kind::stopped:
        problem(end.source, end.output.empty() ? end.reason
                                               : localisationString("leftOver", textTable,
                                                                    end.reason, end.output));
        break;
    }
  }

  // When there are so many that their lines may have run out of sight.
  void missing(const std::vector<std::string>& sources) override {
    if (sources.size() > 1)
      complain(missingText(sources));
  }

  void leftOut(const std::vector<std::string>& sources, const std::string& trouble) override {
    clearProgress();
    if (!trouble.empty())
      complain(trouble);
    if (debugMode())
      for (const std::string& source : sources)
        complain(fmt::format("{}: {}", source, localisationString("convertedBefore", textTable)));
    if (sources.size() == 1)
      complain(localisationString("leftOut_one", textTable));
    else if (!sources.empty())
      complain(localisationString("leftOut", textTable, fmt::format("{}", sources.size())));
  }

  void batchWritten(const std::string& path, std::size_t rows) override {
    clearProgress();
    print(localisationString("batchWritten", textTable, printable(path), fmt::format("{}", rows)));
  }

  void rowState(std::int64_t number, const RowResult& result, bool isInHand) override {
    const Row& row = result.row;
    std::string line = fmt::format("{:>5}  {}  {}", number, textOf(rowStateOf(result, isInHand)),
                                   printable(row.path()));
    if (row.mark == RowMark::success && !isInHand)
      line += " -> " + printable(row.movie) +
              (result.damage.empty() ? "" : fmt::format(" ({})", printable(result.damage)));
    else if (!isInHand && !row.reason.empty())
      line += ": " + printable(row.reason);
    print(line);
  }

  void batchState(const std::string& path, std::size_t rows, RowStateCount count) override {
    std::vector<std::string> parts;
    for (const auto& [state, number] : count)
      parts.push_back(fmt::format("{} {}", number, textOf(state)));
    print(fmt::format("{}: {}", printable(path),
                      localisationString("batchRows", textTable, fmt::format("{}", rows),
                                         joinTexts(parts, ", "))));
  }

  void note(const std::string& text) override {
    clearProgress();
    print(text);
  }

 private:
  // A shell takes the bytes of a name as they are; a terminal would obey some of them.
  std::string forTerminal(std::string line) {
    std::string shown = printable(line);
    if (shown == line || !isTerminal(standardOutput))
      return line;
    print("# " + localisationString("planOnlyShown", textTable));
    return shown;
  }

  static std::string textOf(RowState state) {
    static constexpr const char* keys[] = {"stateWaiting", "stateInHand", "stateConverted",
                                           "stateKept", "stateFailed"};
    return localisationString(keys[static_cast<int>(state)], textTable);
  }

  void printRow(std::string_view duration, std::string_view picture, std::string_view codec,
                std::string_view sound, std::string_view container, std::string_view clip) {
    print(fmt::format("{:>9}  {:<18}  {:<12}  {:<18}  {:<10}  {}", duration, picture, codec, sound,
                      container, clip));
  }

  // A line of a plan that a shell passes over.
  void comment(const Row& row, const std::string& text) {
    print(fmt::format("# {}: {}", printable(row.path()), printable(text)));
  }

  // What belongs to a line of the table, below it.
  void printBelow(const std::string& text) {
    constexpr std::size_t indent = 11;
    constexpr std::size_t width = 80;
    std::string line(indent - 1, ' ');
    std::size_t used = line.size();
    bool isFirst = true;
    const std::string shown = printable(text);
    for (const std::string_view word : split(shown, " ")) {
      const std::size_t length = characterCount(word);
      if (!isFirst && used + 1 + length > width) {
        print(line);
        line.assign(indent + 1, ' ');
        used = line.size();
      }
      line.append(1, ' ').append(word);
      used += 1 + length;
      isFirst = false;
    }
    print(line);
  }

  void showProgress(std::string_view line) {
    if (!showsProgress_)
      return;
    writeText(stderr,
              fmt::format("\r{}\033[K", firstCharacters(line, terminalWidth(standardError) - 1)));
    progressShown_ = true;
  }

  void clearProgress() {
    if (progressShown_)
      writeText(stderr, "\r\033[K");
    progressShown_ = false;
  }

  bool showsProgress_;
  bool progressShown_ = false;
  bool headerShown_ = false;
  std::set<std::string> foldersMade_;
};

}  // namespace

std::unique_ptr<Reporter> textReporter() {
  return std::make_unique<TextReporter>();
}

}  // namespace tessarin::cli
