#include "jobs/failureReason.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>

#include "classShared/TextAdditions.h"
#include "ffmpeg/failureWords.h"
#include "ffmpeg/reportText.h"
#include "platform/Signals.h"
#include "prefs/utilsAlert.h"
#include "utils/files.h"

namespace tessarin {

namespace {

constexpr std::string_view ofExportTool = "movtool: ";
// Stands for the path of the source.
constexpr std::string_view placeholder = "«source»";

struct Cause {
  std::string_view phrase;  // as the tool prints it
  std::string_view key;     // of the text in table "Localized"
};

// The first cause whose phrase occurs is the reason: causes before their consequences.
constexpr std::array<Cause, 20> causes{{
    {"No space left on device", "why_diskFull"},
    {"Disk quota exceeded", "why_diskFull"},
    {"File too large", "why_fileTooLarge"},
    {"Read-only file system", "why_readOnly"},
    {"Permission denied", "why_permission"},
    {"No such file or directory", "why_missing"},
    {"Is a directory", "why_folder"},
    {"Input/output error", "why_inputOutput"},
    // Only the name says that it is a movie: no byte of it does.
    {"mp4,m4a,3gp,3g2,mj2 detected only with low score of 1,", "why_noMovie"},
    {"moov atom not found", "why_incomplete"},
    {"Invalid data found when processing input", "why_noMovie"},
    {"could not find codec parameters", "why_noMovie"},
    {"Could not find codec parameters", "why_noMovie"},
    {"does not contain any stream", "why_noPicture"},
    {"there are no pictures in", "why_noPicture"},
    {"Could not find tag for codec", "why_codecForMov"},
    {"no ffmpeg", "why_noFfmpeg"},
    // How up to 5.1, and then up to 7, a copy ends that is to store a picture before itself.
    {"av_interleaved_write_frame(): Not yet implemented in FFmpeg", "why_wrongTimes"},
    {"Error muxing a packet: Not yet implemented in FFmpeg", "why_wrongTimes"},
    {"Error submitting a packet to the muxer: Not yet implemented in FFmpeg", "why_wrongTimes"},
}};

}  // namespace

std::string withoutPath(std::string_view toolOutput, const std::string& path) {
  return withoutSource(toolOutput, path, placeholder);
}

std::string failureReason(std::string_view toolOutput, const std::string& source) {
  for (const Cause& cause : causes)
    if (contains(toolOutput, cause.phrase))
      return localisationString(cause.key);
  std::string words = replaceAll(failureWords(toolOutput), placeholder, fileName(source));
  if (endsWith(words, ".") && !endsWith(words, ".."))
    words.pop_back();  // it stands inside a sentence
  if (words.empty())
    return localisationString("why_silent");
  // The export tool is ours and says what happened.
  if (startsWith(words, ofExportTool))
    return words.substr(ofExportTool.size());
  return localisationString("why_toolSays", "", words);
}

namespace {

// The export tool tells of the ffmpeg that it runs.
constexpr std::string_view signalOfFfmpeg = "ffmpeg was ended by signal ";

bool hasKnownCause(std::string_view words) {
  return std::any_of(causes.begin(), causes.end(),
                     [words](const Cause& cause) { return contains(words, cause.phrase); });
}

// What puts the files of a source together names the one that it cannot read, while ffmpeg speaks
// of its pipe. Nothing for other lines, and of the source itself where the cause is known.
std::optional<std::string> reasonOfReader(std::string_view line, const std::string& source) {
  if (startsWith(line, ofExportTool))
    line.remove_prefix(ofExportTool.size());
  const auto told = wordsOfReader(line);
  if (!told)
    return std::nullopt;
  const std::string words =
      replaceAll(replaceAll(*told, RunTroubles::sourcePlaceholder, fileName(source)),
                 parentFolder(source) + "/", "");
  if (!hasKnownCause(words))
    return words;
  const std::string file(textUpTo(words, ": "));
  return file == fileName(source) ? std::nullopt
                                  : std::optional(file + ": " + failureReason(words, source));
}

std::string crashReason(int signal) {
  return localisationString("why_crashed", "", "ffmpeg", std::to_string(signal),
                            signalText(signal));
}

}  // namespace

std::string failureReason(const ToolEnd& end, const std::string& source) {
  if (end.signal != 0 && !isOfFileLimit(end.signal))
    return crashReason(end.signal);
  std::string complaints;
  for (const std::string& line : end.troubles.complaints()) {
    if (const auto signal = textAfter(line, signalOfFfmpeg))
      return crashReason(static_cast<int>(leadingInteger(*signal)));
    if (const auto reason = reasonOfReader(line, source))
      return *reason;
    complaints += replaceAll(line, RunTroubles::sourcePlaceholder, placeholder) + "\n";
  }
  // Of a crash, which a shell between us and the tool tells as 128 and its number. Other statuses
  // would be ffmpeg's own.
  const int signal = end.status - 128;
  if (!hasKnownCause(complaints) && isCrash(signal))
    return crashReason(signal);
  const std::string reason =
      failureReason(complaints.empty() ? withoutPath(end.lastOutput, source) : complaints, source);
  return replaceAll(reason, RunTroubles::outputPlaceholder, fileName(end.troubles.output()));
}

std::string whyNotStarted(const std::string& tool, const std::string& cause) {
  return withCause(localisationString("why_toolMissing", "", tool), cause);
}

std::string withCause(const std::string& sentence, const std::string& cause) {
  return cause.empty() ? sentence : sentence + " (" + cause + ")";
}

}  // namespace tessarin
