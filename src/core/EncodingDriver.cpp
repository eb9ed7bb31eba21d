#include "core/EncodingDriver.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <random>

#include "analysis/SourceInfo.h"
#include "classShared/TextAdditions.h"
#include "classShared/log.h"
#include "core/exportPlan.h"
#include "core/failureReason.h"
#include "core/setAside.h"
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

// Of the job: files to be deleted when it ends.
constexpr const char* keyIntermediate = "postProcessPurge";  // an intermediate movie
constexpr const char* keyMaster = "purgePathStr1";           // what the export reads

constexpr const char* cancelled = "cancel";
// Stands for the row before the first one, when the first row was removed: no path is like it.
constexpr const char* beforeFirstRow = "totoCestLePlusBeau";

constexpr const char* answerKeep = "keep";
constexpr const char* answerReplace = "replace";

// An output of this many kilobytes or less holds no movie.
constexpr double smallestOutput = 10;

// In both languages, for it is a mistake of the program's and not of its texts.
std::string unknownPresetMessage(const std::string& preset) {
  return fmt::format(
      "{}\n\n(en) …the computed preset was not found (please contact us, menu item "
      "'Tessarin'>'Report a bug…')\n\n(fr) …le préréglage calculé n'a pas été trouvé (merci de "
      "nous "
      "contacter, menu 'Tessarin'>'Signaler un problème…')",
      preset);
}

double secondsSince(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

}  // namespace

EncodingDriver::EncodingDriver(CoreServices& services, Interface& interface, BatchTable& table,
                               ToolTasks& tasks)
    : services_(services),
      interface_(interface),
      table_(table),
      tasks_(tasks),
      steps_(services.preferences, encSteps) {
  tasks_.ended.connect([this](const TaskEnd& end) {
    if (!end.isAnalysis)
      taskEnded(end);
  });
  tasks_.measured.connect([this](const Dico& values) {
    Dico measured = job();
    if (measured.empty())
      return;
    measured.merge(values);
    storeJob(std::move(measured));
  });
}

EncodingDriver::~EncodingDriver() {
  services_.loop.cancel(next_);
}

// ---- Starting, pausing, stopping

void EncodingDriver::iba_batchGoBt() {
  logLine("-------------------- iba_batchGoBt");
  if (!mayBegin())
    return;
  for (int row = 0; row < table_.count(); ++row)
    table_.mark(row, ResultMark::waiting);
  begin();
}

void EncodingDriver::continueBatch() {
  logLine("-------------------- continueBatch");
  if (mayBegin())
    begin();
}

// Whether there is something to do and a place for the movies; the user is told when there is
// none.
bool EncodingDriver::mayBegin() {
  if (table_.count() == 0 || isBatchRunning())
    return false;
  if (interface_.destination.text().empty())
    interface_.destination.setText(expandTilde("~/Movies/"));
  const std::string folder = outputFolder(interface_.destination.text());
  if (!mkdir(folder) || !isFolderWritable(folder)) {
    services_.alerts.show({localisationString("D_go_dossier_destination1", "", folder),
                           localisationString("D_go_dossier_destination3")});
    batchRefused.emit(localisationString("why_destination", "", folder));
    return false;
  }
  return true;
}

void EncodingDriver::begin() {
  interface_.batchGoBt.setEnabled(false);
  interface_.batchGoBt.setState(1);
  stopAsked_ = false;
  outputNames_.clear();
  for (int row = 0; row < table_.count(); ++row)
    if (table_.isFinished(row))
      outputNames_[table_.row(row).textOrEmpty(BatchKey::dstPathStr)] = table_.sourcePath(row);
  encSend("encBatch");
}

void EncodingDriver::iba_taskStopBt() {
  SegmentedControl& control = interface_.encoding.stopBt;
  const int selected = control.selected();
  if (selected == stopSegment) {
    stop();
    return;
  }
  if (selected != pauseSegment || !control.has(pauseSegment))
    return;
  const std::string image = control.segments()[pauseSegment].image;
  const std::string look = contains(lowerCase(image), "hud") ? "Hud" : "";
  if (contains(image, "btPause")) {
    tasks_.tasklauncherSuspend();
    control.setImage(pauseSegment, "btPlay" + look);
  } else {
    tasks_.tasklauncherResume();
    control.setImage(pauseSegment, "btPause" + look);
  }
}

void EncodingDriver::stop() {
  logLine("process             : stop");
  if (!isBatchRunning() || stopAsked_)
    return;
  stopAsked_ = true;
  suspendedForAnalysis_ = false;
  heldStep_.reset();
  if (job().empty()) {  // between two rows
    encSend("encBatch");
    return;
  }
  interface_.encoding.action.setText("");
  const int row = table_.encBatchInprogressRowIdentification();
  if (table_.has(row))
    table_.mark(row, ResultMark::failure);
  outcome_ = JobEnd::Kind::stopped;
  reason_ = localisationString("D_action_stop");
  logFormat("sender stop         : btStop (analysis={} || enc={})", tasks_.isRunning(true) ? 1 : 0,
            tasks_.isRunning(false) ? 1 : 0);
  dropJobSteps();
  logLine("process             : stop (pre-enc)");
  if (tasks_.isRunning(false))
    tasks_.taskLauncherDone(false);
  else
    encSend("encProcesses");
}

void EncodingDriver::suspendForAnalysis() {
  if (suspendedForAnalysis_ || tasks_.isEncodingSuspended())
    return;  // a pause of the user's own outlasts the analysis
  suspendedForAnalysis_ = true;
  SegmentedControl& control = interface_.encoding.stopBt;
  if (control.count() >= 2 && contains(control.segments()[pauseSegment].image, "btPause")) {
    control.setEnabled(false);
    control.select(pauseSegment);
    iba_taskStopBt();
  } else {
    tasks_.tasklauncherSuspend();
  }
}

void EncodingDriver::resumeAfterAnalysis() {
  if (!std::exchange(suspendedForAnalysis_, false))
    return;
  SegmentedControl& control = interface_.encoding.stopBt;
  if (control.count() > 1 && control.selected() == pauseSegment) {
    control.setEnabled(true);
    iba_taskStopBt();
    control.select(-1);
  } else {
    tasks_.tasklauncherResume();
  }
  if (const auto step = std::exchange(heldStep_, std::nullopt))
    encSend(*step);
}

// ---- The machine

void EncodingDriver::encSend(const std::string& stepName) {
  services_.loop.cancel(next_);
  next_ = services_.loop.runSoon([this, stepName] {
    next_ = 0;
    enc(stepName);
  });
}

void EncodingDriver::enc(const std::string& stepName) {
  if (suspendedForAnalysis_) {
    heldStep_ = stepName;
    return;
  }
  logFormat("enc                 : {} - begin", stepName);
  if (stepName == "encBatch")
    stepBatch();
  else
    stepProcesses();
}

void EncodingDriver::stepBatch() {
  if (stopAsked_) {
    logLine("enc stop            = 1");
    services_.preferences.prefWrite(StateKey::encoded, cancelled);
    services_.preferences.prefRemove(StateKey::job);
    steps_.remove(steps_.last());
    endOfBatch();
    return;
  }
  int row = 0;
  if (!services_.preferences.prefReadString(StateKey::encoded).empty()) {
    debugFormat("batch, c'est parti  : suivantes…");
    row = table_.encBatchInprogressRowIdentification() + 1;
  }
  while (table_.has(row) && table_.isFinished(row))
    ++row;
  if (row >= table_.count()) {
    endOfBatch();
    return;
  }
  debugFormat("new indexBatchInt   # {}", row);
  if (pathExists(table_.sourcePath(row)))
    startRow(row);
  else
    skipMissingRow(row);
}

void EncodingDriver::startRow(int row) {
  outcome_.reset();
  reason_.clear();
  outputIsOurs_ = false;
  readMe_.clear();
  taskStart_ = std::chrono::steady_clock::now();
  Dico job = jobOfRow(table_.row(row));
  table_.mark(row, ResultMark::current);
  services_.preferences.prefWrite(StateKey::encoded, table_.sourcePath(row));
  job.set("encDeb", 1);
  debugFormat("processEncDico      - write encDeb ? {}", 1);
  storeJob(std::move(job));
  encSend("encProcesses");
}

void EncodingDriver::skipMissingRow(int row) {
  const std::string path = table_.sourcePath(row);
  logLine("@@@la src existe même p'us… à la suivante");
  logFormat("current src does not exist anymore (-> skip to next one), current: {}", path);
  services_.preferences.prefWrite(StateKey::encoded,
                                  row > 0 ? table_.sourcePath(row - 1) : beforeFirstRow);
  table_.select(row);
  table_.encBatchRemove(false);
  JobEnd end;
  end.source = path;
  end.reason = localisationString("why_missing");
  jobEnded.emit(end);
  encSend("encBatch");
}

void EncodingDriver::endOfBatch() {
  logLine("enc ended           :-)");
  if (stopAsked_ && verboseLevel(1))
    logLine(":-( [stopIntId intValue]==1 !!!");
  stopAsked_ = false;
  interface_.batchGoBt.setState(0);
  interface_.batchGoBt.setEnabled(table_.count() > 0);
  interface_.encoding.action.setText("");
  services_.preferences.prefRemove(StateKey::encoded);
  services_.preferences.prefRemove(StateKey::replaceFiles);
  if (services_.preferences.integer(PrefKey::alertEnd) == 1)
    services_.alerts.show({localisationString("D_fin_GUI"), "", {}, "", Alert::Style::information});
  if (services_.reveal)
    services_.reveal(outputFolder(interface_.destination.text()));
  batchEnded.emit();
}

void EncodingDriver::stepProcesses() {
  if (takeJobFlag("encDeb"))
    stepDeb();
  else if (takeJobFlag("encV"))
    stepV();
  else if (takeJobFlag("encQtEnc"))
    stepQtEnc();
  else
    stepFin();
}

// ---- Preparing and starting a job

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
  debugFormat("out                 = {}", target);
  debugFormat("fps                 = {}", current.integer(JobKey::speed).value_or(speedKeep));
  debugFormat("sizeOutInt          = {}", current.integer(JobKey::sizeOut).value_or(-1));
  const std::string folder = outputFolder(interface_.destination.text());
  const std::string source = table_.sourcePath(row);
  const std::string output = outputPath(source, target, folder, outputNames_);
  jobStarted.emit(source, output);

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
  auto plan = planJob(current, output, services_.preferences.text(PrefKey::prores));
  if (!plan) {
    logLine("encodage('processEncDico') => nil");
    fail(localisationString("why_noCommand"));
    return;
  }
  storeJob(plan->job);
  if (!hasRoom(plan->job))
    return;
  checkOverwriting(std::move(*plan));
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
  services_.alerts.show({localisationString("D_go_echec_disque1", "", fileName(output)),
                         localisationString("D_go_echec_disque2", "", needed, available)});
  fail(localisationString("why_noRoom", "", needed, available));
  return false;
}

void EncodingDriver::checkOverwriting(JobPlan plan) {
  const std::string output = plan.job.textOrEmpty(JobKey::dstPathStr);
  if (!pathExists(output)) {
    startEncoding(std::move(plan));
    return;
  }
  const auto act = [this, plan, output](const std::string& answer) {
    logFormat("reponseA            : {}", answer);
    if (answer == answerReplace) {
      startEncoding(plan);
      return;
    }
    outcome_ = JobEnd::Kind::kept;
    reason_ = localisationString("why_kept", "", output);
    dropJobSteps();
    encSend("encProcesses");
  };
  const std::string stored = services_.preferences.prefReadString(StateKey::replaceFiles);
  if (!stored.empty()) {
    logFormat("replaceFilesStr     : {}", stored);
    act(stored);
    return;
  }
  debugFormat("pre-choix user      : no");
  const std::string source = plan.job.textOrEmpty(RowInfoKey::srcPathStr);
  services_.alerts.show(
      {localisationString("D_go_dossier_destination4Bis", "", fileName(output)),
       output,
       {localisationString("D_keep"), localisationString("D_replace")},
       localisationString("D_applyToAll"),
       Alert::Style::warning},
      [this, act, source](AlertAnswer reply) {
        // The batch may have been stopped while the question was open.
        if (services_.preferences.prefReadString(StateKey::encoded) != source || stopAsked_)
          return;
        const char* answer = reply.button == 1 ? answerReplace : answerKeep;
        if (reply.checked)
          services_.preferences.prefWrite(StateKey::replaceFiles, answer);
        act(answer);
      });
}

void EncodingDriver::startEncoding(JobPlan plan) {
  const std::string output = plan.job.textOrEmpty(JobKey::dstPathStr);
  const auto target = plan.job.integer(JobKey::out).value_or(outProres);
  readMe_ =
      fmt::format("format              : {}\n",
                  interface_.editingSoft.segments().at(static_cast<std::size_t>(target)).label);
  if (plan.needsExport || needsSlowing(plan.job))
    plan.job.set("encQtEnc", 1);
  storeJob(plan.job);
  debugFormat("encProcesses        > encDeb: ffmpeg task");
  outputIsOurs_ = true;
  fileBegins.emit({plan.job.textOrEmpty(RowInfoKey::srcPathStr), output});
  taskStart_ = std::chrono::steady_clock::now();
  startTask(plan.command.arguments, ParseMode::time, jobDuration(plan.job));
}

void EncodingDriver::stepV() {
  debugFormat("stepNameStr         : encProcesses > encV");
  Dico current = job();
  const int target = static_cast<int>(current.integer(JobKey::out).value_or(outProres));
  const auto command = encodage(target, current, services_.preferences.text(PrefKey::prores));
  if (!command) {
    fail(localisationString("why_noCommand"));
    return;
  }
  debugFormat("argsArray : {}", fmt::join(command->arguments, " "));
  current.set("encVPostDeb", 1);
  const double duration = jobDuration(current);
  storeJob(std::move(current));
  startTask(command->arguments, ParseMode::time, duration);
}

void EncodingDriver::stepQtEnc() {
  debugFormat("encProcesses        > encQtEnc");
  Dico current = job();
  const std::string output = current.textOrEmpty(JobKey::dstPathStr);
  if (output.empty())
    logFormat(":-( encQtEnc: dstPath key does not exist: {}", output);
  if (current.textOrEmpty(JobKey::srcPathStr).empty())
    logFormat(":-( encQtEnc: srcPath key does not exist: {}", output);
  const std::string slowed = current.textOrEmpty(keyIntermediate);
  if (needsSlowing(current) && slowed.empty()) {
    startSlowing(std::move(current));
    return;
  }
  if (!slowed.empty())
    moveFile(slowed, output, "y");
  if (isQuickTimeCopy(current))
    encSend("encProcesses");
  else
    startExport(std::move(current));
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
  startTask(slowingCommand(output, slowed), ParseMode::time, 2 * duration);
}

void EncodingDriver::startExport(Dico current) {
  const std::string output = current.textOrEmpty(JobKey::dstPathStr);
  const std::string preset = exportPresetName(current, services_.preferences.text(PrefKey::prores));
  debugFormat("presetStr (final)   : {}", preset);
  if (!Bundle::main().pathForResource(joinPath("presetQt", preset), "")) {
    logLine("no quicktime preset :-(");
    services_.alerts.show({unknownPresetMessage(preset), "", {}, "", Alert::Style::critical});
    fail(localisationString("why_noPreset", "", preset));
    return;
  }
  const double duration = jobDuration(current) * (needsSlowing(current) ? 2 : 1);
  fileBegins.emit({current.textOrEmpty(RowInfoKey::srcPathStr), masterPathStr(output), true});
  const auto step = encQt(output, duration, preset, displayRatio(current));
  if (!step) {
    current.set(keyMaster, masterPathStr(output));
    storeJob(std::move(current));
    fail(localisationString("why_diskFull"));
    return;
  }
  current.set(keyMaster, step->masterPath);
  storeJob(std::move(current));
  startTask(step->arguments, ParseMode::pourcentage, 100);
}

bool EncodingDriver::startTask(const Arguments& command, ParseMode parseMode, double maximum) {
  TaskStart start;
  start.commands = {command};
  start.parseMode = parseMode;
  start.progressMax = maximum;
  start.controls = &interface_.encoding;
  start.stopBt = &interface_.encoding.stopBt;
  start.wheel = &interface_.encoding.wheel;
  const std::string source = job().textOrEmpty(RowInfoKey::srcPathStr);
  interface_.encoding.action.setText(localisationString("D_action_encode", "", fileName(source)));
  if (tasks_.tasklauncherStart(std::move(start)))
    return true;
  fail(localisationString("why_toolMissing", "", command.front()));
  return false;
}

void EncodingDriver::taskEnded(const TaskEnd& end) {
  if (!outcome_ && end.status != 0) {
    logFormat("encoding failed     :-( {}", end.lastOutput);
    fail(failureReason(end.lastOutput));
    return;
  }
  encSend("encProcesses");
}

// ---- Ending a job

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
}

void EncodingDriver::stepFin() {
  steps_.remove("encFin");
  const Dico current = job();
  const std::string source = current.textOrEmpty(RowInfoKey::srcPathStr);
  logFormat("enc > encFin        : {} - begin", source);
  for (const char* key : {keyIntermediate, keyMaster}) {
    const std::string purge = current.textOrEmpty(key);
    if (purge.empty() || !pathExists(purge))
      continue;
    debugFormat("purgePathStr        : {}", purge);
    removeFile(purge);
  }

  JobEnd end;
  end.source = source;
  end.output = current.textOrEmpty(JobKey::dstPathStr);
  end.duration = jobDuration(current);
  end.elapsed = secondsSince(taskStart_);
  end.reason = reason_;
  if (outcome_) {
    end.kind = *outcome_;
  } else if (pathExists(end.output) && poidsFile(end.output, "k") > smallestOutput) {
    end.kind = JobEnd::Kind::converted;
  } else {
    end.reason = localisationString("why_tinyOutput");
  }
  if (end.kind == JobEnd::Kind::stopped) {
    if (outputIsOurs_)
      removeFile(end.output);
    end.output.clear();
  }
  if (end.kind == JobEnd::Kind::failed)
    end.output = outputIsOurs_ ? setAsideFailure(end.output) : "";
  finishJob(std::move(end));
}

void EncodingDriver::finishJob(JobEnd end) {
  debugFormat("RESET GUI…");
  interface_.encoding.action.setText("");
  const int row = table_.encBatchInprogressRowIdentification();
  if (table_.has(row)) {
    switch (end.kind) {
      case JobEnd::Kind::converted:
        table_.setValue(row, BatchKey::dstPathStr, end.output);
        table_.mark(row, ResultMark::success);
        break;
      case JobEnd::Kind::kept:
        table_.mark(row, ResultMark::waiting);
        break;
      default:
        table_.mark(row, ResultMark::failure);
    }
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
  readMe_ += fmt::format(
      "   Total speed      : real time / {:.2f}\ndate                : {:%Y-%m-%d %H:%M:%S}\n{}",
      speed, fmt::localtime(std::time(nullptr)),
      fmt::format("source              : {}\n", end.source));
  ecritureFichier(path, readMe_, 0);
}

// ---- The job record

Dico EncodingDriver::job() const {
  const Value* stored = services_.preferences.prefRead(StateKey::job);
  return stored && stored->dico() ? *stored->dico() : Dico();
}

void EncodingDriver::storeJob(Dico job) {
  services_.preferences.prefWrite(StateKey::job, std::move(job));
}

bool EncodingDriver::takeJobFlag(std::string_view name) {
  const bool isSet = job().flag(name);
  if (isSet)
    services_.preferences.prefDeleteChildDico(StateKey::job, name);
  return isSet;
}

double EncodingDriver::jobDuration(const Dico& job) const {
  return job.number("durationDouble").value_or(job.number(SourceKey::wDuration).value_or(0));
}

}  // namespace tessarin
