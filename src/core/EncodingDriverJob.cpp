// The steps of one job: preparing it, running its tools and judging what came out.
#include <fmt/chrono.h>
#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <random>

#include "analysis/SourceInfo.h"
#include "classShared/TextAdditions.h"
#include "classShared/log.h"
#include "core/EncodingDriver.h"
#include "core/exportPlan.h"
#include "core/failureReason.h"
#include "core/movieExpectation.h"
#include "core/outputPlace.h"
#include "core/setAside.h"
#include "core/stepState.h"
#include "encoding/arithmetic.h"
#include "encoding/exportStep.h"
#include "encoding/naming.h"
#include "encoding/outputPreset.h"
#include "encoding/recordingDate.h"
#include "movie/movieStart.h"
#include "platform/Bundle.h"
#include "prefs/utilsAlert.h"
#include "utils/files.h"

namespace tessarin {

namespace {

// Of the job: files to be deleted when it ends.
constexpr const char* keyIntermediate = "postProcessPurge";  // an intermediate movie
constexpr const char* keyMaster = "purgePathStr1";           // what the export reads

// An output of this many kilobytes or less holds no movie.
constexpr double smallestOutput = 10;

// In both languages, for it is a mistake of the program's and not of its texts.
std::string unknownPresetMessage(const std::string& preset) {
  return fmt::format(
      "{}\n\n(en) …the computed preset was not found (please contact us, menu item "
      "'Tessarin'>'Report a bug…')\n\n(fr) …le préréglage calculé n'a pas été trouvé (merci "
      "de nous contacter, menu 'Tessarin'>'Signaler un problème…')",
      preset);
}

double secondsSince(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// For a movie whose folder was removed, or whose disk was, while it was written.
std::optional<std::string> reasonOfMissingFolder(const std::string& movie) {
  if (isDirectory(parentFolder(movie)))
    return std::nullopt;
  return localisationString("why_destination", "", parentFolder(movie));
}

// Whether the source is a movie whose own index names samples that its file has not.
bool lacksSamples(const Dico& job, const std::string& source) {
  if (!startsWith(job.textOrEmpty(SourceKey::wrapper), "mov"))
    return false;
  const auto index = readMovieIndex(source);
  if (!index || index->isFragmented)
    return false;
  return std::any_of(index->tracks.begin(), index->tracks.end(),
                     [](const MovieTrack& track) { return track.missing > 0; });
}

// Whether the source is an AVI file that is shorter than it says.
bool isCutRiff(const std::string& source) {
  constexpr std::size_t start = 12;
  const std::string bytes = readFileStart(source, start).value_or("");
  if (bytes.size() < start || !startsWith(bytes, "RIFF"))
    return false;
  std::uint32_t size = 0;
  for (std::size_t place = 8; place-- > 4;)
    size = size << 8 | static_cast<std::uint8_t>(bytes[place]);
  return size != 0xFFFFFFFF && poidsFile(source, "o") + 1 < static_cast<double>(size) + 8;
}

bool isMovie(const std::string& path) {
  return pathExists(path) && poidsFile(path, "k") > smallestOutput;
}

// What is left of a failed movie: nothing when it is too small to be one.
std::string remainderOf(const std::string& output) {
  if (pathExists(output) && !isMovie(output) && removeFile(output))
    return "";
  return setAsideFailure(output);
}

std::string damageText(std::size_t pictures, std::size_t sound) {
  std::string text;
  if (pictures == 1)
    text = localisationString("D_damaged_one");
  else if (pictures > 1)
    text = localisationString("D_damaged_pictures", "", std::to_string(pictures));
  if (sound > 0)
    text += (text.empty() ? "" : ", ") + localisationString("D_damaged_sound");
  return text;
}

}  // namespace

// ---- Preparing

void EncodingDriver::stepDeb() {
  debugFormat("encProcesses        > encDeb");
  steps_.set("encFin");
  const int row = table_.encBatchInprogressRowIdentification();
  if (!table_.has(row)) {
    fail(localisationString("why_missing"));
    return;
  }
  Dico current = job();
  const int target = static_cast<int>(current.integer(JobKey::out).value_or(outProres));
  debugFormat("out                 = {} ({})", target, table_.sourcePath(row));
  debugFormat("fps                 = {} ({})", current.integer(JobKey::speed).value_or(speedKeep),
              table_.sourcePath(row));
  debugFormat("sizeOutInt          = {} ({})", current.integer(JobKey::sizeOut).value_or(-1),
              table_.sourcePath(row));
  const std::string folder = outputFolder(interface_.destination.text());
  const std::string source = table_.sourcePath(row);
  const std::string output = outputPath(table_.source(row), target, folder, outputNames_);
  jobStarted.emit(source, output);
  if (outcome_)
    return;  // stopped by whoever was told

  if (const auto refusal = refusalOf(table_.row(row), hasExportTool())) {
    fail(*refusal);
    return;
  }
  if (!mkdir(folder)) {
    fail(localisationString("why_destination", "", folder));
    return;
  }
  if (table_.isSourceFile(output)) {
    fail(localisationString("why_outputIsSource", "", output));
    return;
  }
  const auto plan = planJob(current, output, services_.preferences.text(PrefKey::prores));
  if (!plan) {
    if (verboseLevel(2)) {
      logLine(":-(");
      logLine("encodage('processEncDico') => nil");
    }
    fail(localisationString("why_noCommand"));
    return;
  }
  // The export replaces a file at the master's place and removes it in the end.
  if (plan->needsExport && pathExists(masterPathStr(output))) {
    fail(localisationString("why_masterInTheWay", "", masterPathStr(output)));
    return;
  }
  storeJob(plan->job);
  if (hasRoom(plan->job) && !outcome_)
    checkOverwriting(*plan);
}

bool EncodingDriver::hasRoom(const Dico& job) {
  const std::string output = job.textOrEmpty(JobKey::dstPathStr);
  const int freeMB = freeDiskSpaceMo(parentFolder(output));
  const double neededMB = encDstPoidsEstimatif(
      jobDuration(job), poidsFile(job.textOrEmpty(RowInfoKey::srcPathStr), "M"),
      static_cast<int>(job.integer(JobKey::out).value_or(outProres)));
  logFormat("free necessary space: {:.1f} vs {} (MB)", neededMB, freeMB);
  if (freeMB < 0 || freeMB >= neededMB)
    return true;
  const std::string needed = fmt::format("{:.0f}", neededMB);
  const std::string available = fmt::format("{}", freeMB);
  fail(localisationString("why_noRoom", "", needed, available));
  services_.alerts.show({localisationString("D_go_echec_disque1", "", fileName(output)),
                         localisationString("D_go_echec_disque2", "", needed, available)});
  return false;
}

void EncodingDriver::checkOverwriting(const JobPlan& plan) {
  const std::string output = plan.job.textOrEmpty(JobKey::dstPathStr);
  if (!pathExists(output)) {
    startEncoding(plan, false);
    return;
  }
  const std::string stored = services_.preferences.prefReadString(StateKey::replaceFiles);
  if (!stored.empty()) {
    logFormat("replaceFilesStr     : {}", stored);
    answerOverwriting(plan, stored);
    return;
  }
  debugFormat("pre-choix user      : no");
  const unsigned number = jobNumber_;
  services_.alerts.show({localisationString("D_go_dossier_destination4Bis", "", fileName(output)),
                         output,
                         {localisationString("D_keep"), localisationString("D_replace")},
                         localisationString("D_applyToAll"),
                         Alert::Style::warning},
                        [this, plan, number](AlertAnswer reply) {
                          // While the question was open the batch may have been stopped, and
                          // another begun.
                          if (number != jobNumber_ || outcome_ || !isBatchRunning())
                            return;
                          debugFormat("pre-choix user      : yes");
                          const char* answer = reply.button == 1 ? answerReplace : answerKeep;
                          if (reply.checked)
                            services_.preferences.prefWrite(StateKey::replaceFiles, answer);
                          answerOverwriting(plan, answer);
                        });
}

void EncodingDriver::answerOverwriting(const JobPlan& plan, const std::string& answer) {
  if (suspendedForAnalysis_) {
    held_ = [this, plan, answer] { answerOverwriting(plan, answer); };
    return;
  }
  logFormat("reponseA            : {}", answer);
  if (answer == answerReplace) {
    startEncoding(plan, true);
    return;
  }
  keep(plan.job.textOrEmpty(JobKey::dstPathStr));
}

void EncodingDriver::keep(const std::string& output) {
  outcome_ = JobEnd::Kind::kept;
  reason_ = localisationString("why_kept", "", output);
  dropJobSteps();
  encSend("encProcesses");
}

// ---- The tools

void EncodingDriver::startEncoding(JobPlan plan, bool replace) {
  const std::string output = plan.job.textOrEmpty(JobKey::dstPathStr);
  const auto target = plan.job.integer(JobKey::out).value_or(outProres);
  readMe_ =
      fmt::format("format              : {}\n",
                  interface_.editingSoft.segments().at(static_cast<std::size_t>(target)).label);
  if (const auto movie = table_.forecast(table_.encBatchInprogressRowIdentification())) {
    readMe_ += fmt::format("movie               : {}\n", summaryOf(*movie));
    for (const std::string& note : notesOf(*movie))
      readMe_ += fmt::format("                      {}\n", note);
  }
  if (plan.needsExport || needsSlowing(plan.job))
    plan.job.set("encQtEnc", 1);
  storeJob(plan.job);
  debugFormat("encProcesses        > encDeb: ffmpeg task");
  debugFormat("enc ffmpeg task     > pré-release");
  fileBegins.emit({plan.job.textOrEmpty(RowInfoKey::srcPathStr), output});
  const Place place = takePlace(output, replace);
  if (place == Place::occupied) {
    keep(output);
    return;
  }
  if (place == Place::unreachable) {
    fail(localisationString("why_destination", "", parentFolder(output)));
    return;
  }
  hasBegun_ = true;
  plan_ = plan;
  taskStart_ = std::chrono::steady_clock::now();
  isExporting_ = plan.isExport;
  if (plan.isExport) {
    fileBegins.emit({plan.job.textOrEmpty(RowInfoKey::srcPathStr), partialName(output), true});
    startTask(plan.command.arguments, ParseMode::pourcentage, 100);
    return;
  }
  // The copy is slowed down behind this.
  startTask(plan.command.arguments, ParseMode::time,
            jobDuration(plan.job) / (needsSlowing(plan.job) ? 2 : 1));
}

void EncodingDriver::stepV() {
  debugFormat("stepNameStr         : encProcesses > encV");
  Dico current = job();
  const auto plan = planJob(current, current.textOrEmpty(JobKey::dstPathStr),
                            services_.preferences.text(PrefKey::prores));
  if (!plan) {
    fail(localisationString("why_noCommand"));
    return;
  }
  debugFormat("argsArray : {}", fmt::join(plan->command.arguments, " "));
  current.set("encVPostDeb", 1);
  storeJob(current);
  startTask(plan->command.arguments, ParseMode::time, jobDuration(current));
}

void EncodingDriver::stepQtEnc() {
  debugFormat("encProcesses        > encQtEnc");
  Dico current = job();
  const std::string output = current.textOrEmpty(JobKey::dstPathStr);
  if (output.empty())
    logFormat(":-( encQtEnc: dstPath key does not exist: {}", output);
  if (current.textOrEmpty(JobKey::srcPathStr).empty())
    logFormat(":-( encQtEnc: srcPath key does not exist: {}", output);
  if (!needsSlowing(current))
    startExport(std::move(current));
  else if (current.textOrEmpty(keyIntermediate).empty())
    startSlowing(std::move(current));
  else
    takeSlowed(std::move(current));
}

// Makes the slowed copy. The step is done again after it.
void EncodingDriver::startSlowing(Dico current) {
  const std::string output = current.textOrEmpty(JobKey::dstPathStr);
  const std::string slowed =
      joinPath(parentFolder(output), fmt::format("slow{}.mov", std::random_device()()));
  current.set(keyIntermediate, slowed);
  current.set("encQtEnc", 1);
  const double duration = jobDuration(current);
  fileBegins.emit({current.textOrEmpty(RowInfoKey::srcPathStr), slowed, true});
  storeJob(std::move(current));
  startTask(slowingCommand(output, slowed), ParseMode::time, duration);
}

// Puts the slowed copy in the place of the copy; for a stream copy that is the movie.
void EncodingDriver::takeSlowed(Dico current) {
  const std::string output = current.textOrEmpty(JobKey::dstPathStr);
  if (!moveFile(current.textOrEmpty(keyIntermediate), output, "y"))
    fail(localisationString("why_destination", "", parentFolder(output)));
  else if (isQuickTimeCopy(current))
    encSend("encProcesses");
  else
    startExport(std::move(current));
}

void EncodingDriver::startExport(Dico current) {
  const std::string output = current.textOrEmpty(JobKey::dstPathStr);
  const std::string preset = exportPresetName(current, services_.preferences.text(PrefKey::prores));
  debugFormat("presetStr (final)   : {}", preset);
  if (!Bundle::main().pathForResource(joinPath("presetQt", preset), "")) {
    logLine("no quicktime preset :-(");
    fail(localisationString("why_noPreset", "", preset));
    services_.alerts.show({unknownPresetMessage(preset), "", {}, "", Alert::Style::critical});
    return;
  }
  isExporting_ = true;
  const double duration = jobDuration(current);
  const std::string master = masterPathStr(output);
  current.set(keyMaster, master);
  fileBegins.emit({current.textOrEmpty(RowInfoKey::srcPathStr), master, true});
  fileBegins.emit({current.textOrEmpty(RowInfoKey::srcPathStr), partialName(output), true});
  storeJob(std::move(current));
  const auto step = encQt(output, duration, preset, displayRatio(job()));
  if (!step) {
    // The copy is still there when it could not be moved.
    fail(pathExists(output) ? localisationString("why_destination", "", parentFolder(output))
                            : localisationString("why_noRoomForExport"));
    return;
  }
  // The copy has left the movie's place.
  if (takePlace(output, false) != Place::taken) {
    hasBegun_ = false;
    keep(output);
    return;
  }
  if (verboseLevel(1))
    debugFormat("movtool             - end : {}", fmt::join(step->arguments, " "));
  startTask(step->arguments, ParseMode::pourcentage, 100);
}

void EncodingDriver::startTask(const Arguments& command, ParseMode parseMode, double maximum) {
  resetPause();
  TaskStart start;
  start.commands = {command};
  start.parseMode = parseMode;
  start.progressMax = maximum;
  start.controls = &interface_.encoding;
  const std::string source = job().textOrEmpty(RowInfoKey::srcPathStr);
  start.source = source;
  start.output = job().textOrEmpty(JobKey::dstPathStr);
  const bool isCheck = check_ == CheckStep::measuring || check_ == CheckStep::reading;
  if (check_ == CheckStep::measuring)
    start.takeOutputLine = [this](std::string_view line) { meter_.addLine(line); };
  interface_.encoding.action.setText(
      isCheck ? localisationString("D_action_check", "", fileName(source))
              : localisationString("D_action_encode", "", fileName(source)));
  if (!tasks_.tasklauncherStart(std::move(start)))
    fail(localisationString("why_toolMissing", "", command.front()));
}

void EncodingDriver::taskEnded(const TaskEnd& end) {
  const Dico current = job();
  const std::string source = current.textOrEmpty(RowInfoKey::srcPathStr);
  const std::string output = current.textOrEmpty(JobKey::dstPathStr);
  if (outcome_) {
    encSend("encProcesses");
    return;
  }
  if (check_ == CheckStep::measuring) {
    judgeMeasure(end);
    return;
  }
  if (check_ == CheckStep::reading) {
    check_ = CheckStep::after;
    if (end.status == 0)
      encSend("encProcesses");
    else
      fail(localisationString("why_readError", "", systemReason(EIO)));
    return;
  }
  const bool isSound = end.troubles.readError().empty() && !end.troubles.losesOutput();
  if (end.status != 0 || !isSound) {
    logFormat("encoding failed     :-( {}", end.lastOutput);
    // What the tool says about a missing folder would be taken for the source.
    if (const auto gone = reasonOfMissingFolder(output))
      fail(*gone);
    else if (end.status == 0 && !end.troubles.readError().empty())
      fail(localisationString("why_readError", "", end.troubles.readError()));
    else
      fail(failureReason(end, source));
    return;
  }
  if (!end.troubles.givenUp().empty() || end.troubles.endsEarly())
    troubles_ = end.troubles;
  // The copy that one tool makes is read by the next, which meets the same damage.
  damagedPictures_ = std::max(damagedPictures_, end.troubles.damagedPictures());
  damagedSound_ = std::max(damagedSound_, end.troubles.damagedSound());
  encSend("encProcesses");
}

// ---- Checking

// A movie is converted when it is as long as its source, by its own index. Where what the analysis
// knows raises doubt the source is measured.
void EncodingDriver::startCheck() {
  check_ = CheckStep::after;
  const Dico current = job();
  const std::string source = current.textOrEmpty(RowInfoKey::srcPathStr);
  const std::string output = current.textOrEmpty(JobKey::dstPathStr);
  if (!isMovie(output) || !plan_) {
    stepFin();
    return;
  }
  if (isQuickTimeCopy(current))
    if (const auto shown = showFirstPictures(output); !shown)
      logFormat("check               :-( {}: {}", output, shown.reason());
  auto movie = readMovieIndex(output);
  if (!movie) {
    logFormat("check               :-( {}: {}", output, movie.reason());
    fail(localisationString("why_noIndex"));
    return;
  }
  movie_ = std::move(*movie);
  // A source that went away after it was read cannot be asked any more: the analysis decides.
  const auto state = fileState(source);
  if (state && state != sourceState_) {
    fail(localisationString("why_sourceChanged"));
    return;
  }
  if (state && lacksSamples(current, source)) {
    fail(localisationString("why_endsEarly"));
    return;
  }
  if (const MovieVerdict verdict = judgeMovie(movie_, {}); !verdict.isRight()) {
    fail(reasonOf(verdict));
    return;
  }
  const auto expected = expectedByAnalysis(*plan_, services_.preferences.text(PrefKey::prores));
  if (expected && judgeMovie(movie_, *expected).isRight()) {
    stepFin();
    return;
  }
  startMeasuring();
}

void EncodingDriver::startMeasuring() {
  const Arguments command = measuringCommandOf(*plan_);
  if (command.empty()) {
    fail(localisationString("why_notMeasured"));
    return;
  }
  logLine("check               : measuring the source");
  check_ = CheckStep::measuring;
  meter_ = PacketMeter();
  startTask(command, ParseMode::time, job().number(SourceKey::wDuration).value_or(0));
}

void EncodingDriver::judgeMeasure(const TaskEnd& end) {
  check_ = CheckStep::after;
  const Dico current = job();
  const std::string source = current.textOrEmpty(RowInfoKey::srcPathStr);
  const SourceMeasure measure = meter_.result();
  if (!end.troubles.readError().empty()) {
    fail(localisationString("why_readError", "", end.troubles.readError()));
    return;
  }
  if (end.status != 0 || !measure.pictures) {
    logFormat("check               :-( {}", end.lastOutput);
    fail(localisationString("why_notMeasured"));
    return;
  }
  const MovieVerdict verdict =
      judgeMovie(movie_, expectedByMeasure(*plan_, services_.preferences.text(PrefKey::prores),
                                           measure, damagedPictures_, damagedSound_));
  if (!verdict.isRight()) {
    fail(reasonOf(verdict));
    return;
  }
  if (!isShortOfPromise(*plan_, movie_)) {
    encSend("encProcesses");
    return;
  }
  // The source says that it has more. Either that is wrong, or nobody has read all of it.
  if (troubles_.endsEarly() || end.troubles.endsEarly() || isCutRiff(source)) {
    fail(localisationString("why_endsEarly"));
  } else if (!troubles_.givenUp().empty() || !end.troubles.givenUp().empty()) {
    fail(localisationString(
        "why_givenUp", "",
        troubles_.givenUp().empty() ? end.troubles.givenUp() : troubles_.givenUp()));
  } else if (static_cast<double>(measure.bytes) < poidsFile(source, "o") / 2) {
    fail(localisationString("why_partRead"));
  } else {
    startReading();
  }
}

// Some formats take an error of the disk for the end of the file.
void EncodingDriver::startReading() {
  check_ = CheckStep::reading;
  startTask({"/bin/dd", "if=" + job().textOrEmpty(RowInfoKey::srcPathStr), "of=/dev/null", "bs=1M",
             "status=none"},
            ParseMode::endless, 0);
}

// ---- Ending

void EncodingDriver::dropJobSteps() {
  Dico current = job();
  for (const std::string& name : steps_.names())
    current.remove(name);
  storeJob(std::move(current));
  steps_.set(steps_.last());
}

void EncodingDriver::fail(const std::string& reason) {
  const int row = table_.encBatchInprogressRowIdentification();
  if (table_.has(row))
    table_.mark(row, ResultMark::failure);
  outcome_ = JobEnd::Kind::failed;
  reason_ = reason;
  dropJobSteps();
  encSend("encProcesses");
  if (std::exchange(isExporting_, false))
    services_.alerts.show(
        {localisationString("D_go_echec_disque4", "",
                            table_.has(row) ? fileName(table_.sourcePath(row)) : ""),
         localisationString("D_go_echec_disque5")});
}

void EncodingDriver::purgeIntermediates(const Dico& current) {
  std::vector<std::string> files = {current.textOrEmpty(keyIntermediate),
                                    current.textOrEmpty(keyMaster)};
  // The export tool may have been ended without a chance to remove what it had begun.
  if (!files.back().empty() || exportsSource(current))
    files.push_back(partialName(current.textOrEmpty(JobKey::dstPathStr)));
  for (const std::string& purge : files) {
    if (purge.empty() || !pathExists(purge))
      continue;
    debugFormat("purgePathStr        : {}", purge);
    removeFile(purge);
  }
}

void EncodingDriver::stepFin() {
  steps_.remove("encFin");
  const Dico current = job();
  JobEnd end;
  end.source = current.textOrEmpty(RowInfoKey::srcPathStr);
  end.output = current.textOrEmpty(JobKey::dstPathStr);
  end.duration = jobDuration(current);
  end.elapsed = secondsSince(taskStart_);
  end.reason = reason_;
  logFormat("enc > encFin        : {} - begin", end.source);
  purgeIntermediates(current);
  if (outcome_)
    end.kind = *outcome_;
  else if (isMovie(end.output)) {
    end.kind = JobEnd::Kind::converted;
    end.damagedPictures = damagedPictures_;
    end.hasDamagedSound = damagedSound_ > 0;
    end.reason = damageText(damagedPictures_, damagedSound_);
  } else
    end.reason = reasonOfMissingFolder(end.output).value_or(localisationString("why_tinyOutput"));

  const std::string place = end.output;
  if (end.kind == JobEnd::Kind::stopped) {
    if (hasBegun_)
      removeFile(place);
    end.output.clear();
  }
  if (end.kind == JobEnd::Kind::failed)
    end.output = hasBegun_ ? remainderOf(place) : "";
  const bool isConverted = end.kind == JobEnd::Kind::converted;
  if (hasBegun_ && !isConverted)
    giveBackPlace(place);
  finishJob(std::move(end));
  if (isConverted)
    dropReplaced(place);
}

void EncodingDriver::finishJob(JobEnd end) {
  debugFormat("RESET GUI…");
  interface_.encoding.action.setText("");
  const int row = table_.encBatchInprogressRowIdentification();
  const bool isGood = end.kind == JobEnd::Kind::converted ||
                      (end.kind == JobEnd::Kind::kept && isMovie(end.output));
  if (table_.has(row)) {
    if (isGood)
      table_.setValue(row, BatchKey::dstPathStr, end.output);
    table_.mark(row, isGood ? ResultMark::success : ResultMark::failure);
  }
  if (end.kind == JobEnd::Kind::converted)
    writeReadMe(end);
  debugFormat("…RAZ GUI done");
  services_.preferences.prefRemove(StateKey::job);
  outcome_.reset();
  logFormat("enc > encFin        : {} - end (pre-[self encSend:@encBatch])", end.source);
  jobEnded.emit(end);
  encSend("encBatch");
}

void EncodingDriver::writeReadMe(const JobEnd& end) {
  const std::string path = withExtension(withoutExtension(end.output), "txt");
  if (const auto start = readFileStart(path, 64);
      start && !startsWith(*start, "format              : "))
    return;  // a text of the user's own
  const double speed = end.elapsed > 0 ? end.duration / end.elapsed : 0;
  std::string last = fmt::format("source              : {}\n", end.source);
  if (!end.reason.empty())
    last += fmt::format("damaged             : {}\n", end.reason);
  if (const auto date = recordingDate(end.source))
    last += fmt::format("recorded            : {} / {} / {}\n", date->day, date->month, date->year);
  readMe_ += fmt::format(
      "   Total speed      : real time / {:.2f}\ndate                : {:%Y-%m-%d %H:%M:%S}\n{}",
      speed, fmt::localtime(std::time(nullptr)), last);
  // By a new file: a link is not followed, and a text that was there stays whole until then.
  if (const auto written = writeFileAtomically(path, readMe_); !written)
    logFormat("read-me             :-( {}", written.reason());
}

}  // namespace tessarin
