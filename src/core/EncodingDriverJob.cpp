// The steps of one job: preparing it and running its tools.
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
#include "core/outputPlace.h"
#include "core/stepState.h"
#include "encoding/arithmetic.h"
#include "encoding/exportStep.h"
#include "encoding/naming.h"
#include "encoding/outputPreset.h"
#include "platform/Bundle.h"
#include "prefs/utilsAlert.h"
#include "utils/files.h"

namespace tessarin {

namespace {

// In both languages, for it is a mistake of the program's and not of its texts.
std::string unknownPresetMessage(const std::string& preset) {
  return fmt::format(
      "{}\n\n(en) …the computed preset was not found (please contact us, menu item "
      "'Tessarin'>'Report a bug…')\n\n(fr) …le préréglage calculé n'a pas été trouvé (merci "
      "de nous contacter, menu 'Tessarin'>'Signaler un problème…')",
      preset);
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
  const std::string source = row_.path();
  const Choice& choice = row_.choice;
  debugFormat("out                 = {} ({})", choice.target, source);
  debugFormat("fps                 = {} ({})", static_cast<int>(choice.speed), source);
  debugFormat("sizeOutInt          = {} ({})", choice.sizeOut, source);
  const std::string folder = outputFolder(interface_.destination.text());
  output_ = outputPath(row_.source, choice.target, folder, outputNames_);
  jobStarted.emit(source, output_);
  if (outcome_)
    return;  // stopped by whoever was told

  if (const auto refusal = refusalOf(row_, hasExportTool())) {
    fail(*refusal);
    return;
  }
  // A card has its old names on other clips once it was used again, and a field order, a size and a
  // length that were found in the old ones would spoil the new.
  const std::string lookedAt = row_.source.textOrEmpty(SourceKey::wBytes);
  if (!lookedAt.empty() && sourceState_ && lookedAt != std::to_string(sourceState_->size)) {
    fail(localisationString("why_sourceReplaced"));
    return;
  }
  if (const auto wrong = refusalOfDestination(interface_.destination.text())) {
    fail(wrong->reason);
    return;
  }
  if (table_.isSourceFile(output_)) {
    fail(localisationString("why_outputIsSource", "", output_));
    return;
  }
  folderPath_ = newJobFolder(output_);
  work_ = workPath(folderPath_, output_);
  plan_ = planJob(row_, work_, services_.preferences.text(PrefKey::prores));
  if (!plan_) {
    if (verboseLevel(2)) {
      logLine(":-(");
      logLine("encodage('processEncDico') => nil");
    }
    fail(localisationString("why_noCommand"));
    return;
  }
  storeJob(jobRecord(row_, output_));
  if (hasRoom(*plan_) && !outcome_)
    checkOverwriting(*plan_);
}

bool EncodingDriver::hasRoom(const JobPlan& plan) {
  const int freeMB = freeDiskSpaceMo(parentFolder(output_));
  const double neededMB =
      encDstPoidsEstimatif(plan.seconds, poidsFile(row_.path(), "M"), row_.choice.target);
  logFormat("free necessary space: {:.1f} vs {} (MB)", neededMB, freeMB);
  if (freeMB < 0 || freeMB >= neededMB)
    return true;
  const std::string needed = fmt::format("{:.0f}", neededMB);
  const std::string available = fmt::format("{}", freeMB);
  fail(localisationString("why_noRoom", "", needed, available));
  services_.alerts.show({localisationString("D_go_echec_disque1", "", fileName(output_)),
                         localisationString("D_go_echec_disque2", "", needed, available)});
  return false;
}

void EncodingDriver::checkOverwriting(const JobPlan& plan) {
  if (!isNameTaken(output_)) {
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
  services_.alerts.show({localisationString("D_go_dossier_destination4Bis", "", fileName(output_)),
                         output_,
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
  keep(output_);
}

void EncodingDriver::keep(const std::string& output) {
  outcome_ = JobEnd::Kind::kept;
  reason_ = localisationString("why_kept", "", output);
  dropJobSteps();
  encSend("encProcesses");
}

// ---- The tools

void EncodingDriver::startEncoding(const JobPlan& plan, bool replace) {
  const auto segment = static_cast<std::size_t>(row_.choice.target);
  readMe_ = fmt::format("format              : {}\n",
                        interface_.editingSoft.segments().at(segment).label);
  if (const auto movie = table_.forecast(table_.encBatchInprogressRowIdentification())) {
    readMe_ += fmt::format("movie               : {}\n", summaryOf(*movie));
    for (const std::string& note : notesOf(*movie))
      readMe_ += fmt::format("                      {}\n", note);
  }
  Dico record = jobRecord(row_, output_);
  if (plan.needsExport || plan.needsSlowing)
    record.set("encQtEnc", 1);
  storeJob(std::move(record));
  debugFormat("encProcesses        > encDeb: ffmpeg task");
  debugFormat("enc ffmpeg task     > pré-release");
  if (isDirectory(output_) && replace) {
    fail(whyInTheWay(output_));
    return;
  }
  isReplacing_ = replace;
  folderBegins.emit(row_.path(), folderPath_);
  Outcome<PrivateFolder> made = makeJobFolder(folderPath_);
  if (!made) {
    logFormat("job folder          :-( {}: {}", folderPath_, made.reason());
    fail(whyNothingIsWritten(parentFolder(output_), made.reason()));
    return;
  }
  folder_ = std::move(*made);
  hasBegun_ = true;
  taskStart_ = std::chrono::steady_clock::now();
  isExporting_ = plan.isExport;
  if (plan.isExport) {
    startTask(plan.command.arguments, ParseMode::pourcentage, 100);
    return;
  }
  // The copy is slowed down behind this.
  startTask(plan.command.arguments, ParseMode::time, plan.seconds / (plan.needsSlowing ? 2 : 1));
}

void EncodingDriver::stepV() {
  debugFormat("stepNameStr         : encProcesses > encV");
  if (!plan_) {
    fail(localisationString("why_noCommand"));
    return;
  }
  debugFormat("argsArray : {}", fmt::join(plan_->command.arguments, " "));
  Dico current = job();
  current.set("encVPostDeb", 1);
  storeJob(std::move(current));
  startTask(plan_->command.arguments, ParseMode::time, plan_->seconds);
}

void EncodingDriver::stepQtEnc() {
  debugFormat("encProcesses        > encQtEnc");
  if (!plan_->needsSlowing)
    startExport();
  else if (job().textOrEmpty(JobKey::intermediate).empty())
    startSlowing();
  else
    takeSlowed();
}

// Makes the slowed copy. The step is done again after it.
void EncodingDriver::startSlowing() {
  const std::string slowed =
      joinPath(folder_.path(), fmt::format("slow{}.mov", std::random_device()()));
  Dico current = job();
  current.set(JobKey::intermediate, slowed);
  current.set("encQtEnc", 1);
  storeJob(std::move(current));
  startTask(slowingCommand(work_, slowed), ParseMode::time, plan_->seconds);
}

// Puts the slowed copy in the place of the copy; for a stream copy that is the movie.
void EncodingDriver::takeSlowed() {
  if (!moveFile(job().textOrEmpty(JobKey::intermediate), work_, "y"))
    fail(whyDestination());
  else if (plan_->isCopy)
    encSend("encProcesses");
  else
    startExport();
}

void EncodingDriver::startExport() {
  const std::string& preset = plan_->settings;
  debugFormat("presetStr (final)   : {}", preset);
  if (!Bundle::main().pathForResource(joinPath("presetQt", preset), "")) {
    logLine("no quicktime preset :-(");
    fail(localisationString("why_noPreset", "", preset));
    services_.alerts.show({unknownPresetMessage(preset), "", {}, "", Alert::Style::critical});
    return;
  }
  isExporting_ = true;
  Dico current = job();
  current.set(JobKey::master, masterPathStr(work_));
  storeJob(std::move(current));
  const auto step = encQt(work_, plan_->seconds, preset, displayRatio(row_.source));
  if (!step) {
    // The copy is still there when it could not be moved.
    fail(pathExists(work_) ? whyDestination() : localisationString("why_noRoomForExport"));
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
  const std::string source = row_.path();
  start.source = source;
  start.output = work_;
  const bool isCheck = check_ == CheckStep::measuring || check_ == CheckStep::reading;
  if (check_ == CheckStep::measuring)
    start.takeOutputLine = [this](std::string_view line) { meter_.addLine(line); };
  interface_.encoding.action.setText(
      isCheck ? localisationString("D_action_check", "", fileName(source))
              : localisationString("D_action_encode", "", fileName(source)));
  if (const auto started = tasks_.tasklauncherStart(std::move(start)); !started)
    fail(started.reason());
}

void EncodingDriver::taskEnded(const TaskEnd& end) {
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
    if (!isDirectory(folder_.path()))
      fail(whyDestination());
    else if (end.status == 0 && !end.troubles.readError().empty())
      fail(localisationString("why_readError", "", end.troubles.readError()));
    else
      fail(failureReason(end, row_.path()));
    return;
  }
  if (!end.troubles.givenUp().empty() || end.troubles.endsEarly())
    troubles_ = end.troubles;
  // The copy that one tool makes is read by the next, which meets the same damage.
  damagedPictures_ = std::max(damagedPictures_, end.troubles.damagedPictures());
  damagedSound_ = std::max(damagedSound_, end.troubles.damagedSound());
  encSend("encProcesses");
}

}  // namespace tessarin
