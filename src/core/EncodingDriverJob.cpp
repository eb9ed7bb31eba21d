// The steps of one job: preparing it, running its tools and judging what came out.
#include <fmt/chrono.h>
#include <fmt/format.h>

#include <random>

#include "analysis/SourceInfo.h"
#include "classShared/TextAdditions.h"
#include "classShared/log.h"
#include "core/EncodingDriver.h"
#include "core/exportPlan.h"
#include "core/failureReason.h"
#include "core/outputPlace.h"
#include "core/setAside.h"
#include "core/stepState.h"
#include "encoding/arithmetic.h"
#include "encoding/exportStep.h"
#include "encoding/naming.h"
#include "encoding/outputPreset.h"
#include "encoding/recordingDate.h"
#include "platform/Bundle.h"
#include "prefs/utilsAlert.h"
#include "utils/files.h"

namespace tessarin {

namespace {

// Of the job: files to be deleted when it ends.
constexpr const char* keyIntermediate = "postProcessPurge";  // an intermediate movie
constexpr const char* keyMaster = "purgePathStr1";           // what the export reads

constexpr const char* answerKeep = "keep";
constexpr const char* answerReplace = "replace";

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

bool isMovie(const std::string& path) {
  return pathExists(path) && poidsFile(path, "k") > smallestOutput;
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
  interface_.encoding.action.setText(localisationString("D_action_encode", "", fileName(source)));
  if (!tasks_.tasklauncherStart(std::move(start)))
    fail(localisationString("why_toolMissing", "", command.front()));
}

void EncodingDriver::taskEnded(const TaskEnd& end) {
  const Dico current = job();
  const std::string source = current.textOrEmpty(RowInfoKey::srcPathStr);
  const std::string output = current.textOrEmpty(JobKey::dstPathStr);
  const std::string words = withoutPath(end.lastOutput, source);
  if (outcome_ || (end.status == 0 && !tellsOfLostOutput(withoutPath(words, output)))) {
    encSend("encProcesses");
    return;
  }
  logFormat("encoding failed     :-( {}", end.lastOutput);
  // What the tool says about a missing folder would be taken for the source.
  const auto gone = reasonOfMissingFolder(output);
  fail(gone ? *gone : failureReason(words, source));
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
  else if (isMovie(end.output))
    end.kind = JobEnd::Kind::converted;
  else
    end.reason = reasonOfMissingFolder(end.output).value_or(localisationString("why_tinyOutput"));

  const std::string place = end.output;
  if (end.kind == JobEnd::Kind::stopped) {
    if (hasBegun_)
      removeFile(place);
    end.output.clear();
  }
  if (end.kind == JobEnd::Kind::failed)
    end.output = hasBegun_ ? setAsideFailure(place) : "";
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
