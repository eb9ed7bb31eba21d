#include "jobs/ConversionJob.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <random>

#include "classShared/TextAdditions.h"
#include "classShared/log.h"
#include "encoding/arithmetic.h"
#include "encoding/exportStep.h"
#include "encoding/naming.h"
#include "encoding/recordingDate.h"
#include "jobs/admittedSources.h"
#include "jobs/exportCommands.h"
#include "jobs/failureReason.h"
#include "jobs/forecast.h"
#include "jobs/movieExpectation.h"
#include "jobs/outputPlace.h"
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

double secondsSince(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

std::string damageText(std::size_t pictures, std::size_t sound, bool hasMore) {
  std::string text;
  if (pictures == 1)
    text = localisationString("D_damaged_one");
  else if (pictures > 1)
    text = localisationString("D_damaged_pictures", "", std::to_string(pictures));
  if (sound > 0)
    text += (text.empty() ? "" : ", ") + localisationString("D_damaged_sound");
  if (hasMore)
    text += (text.empty() ? "" : ", ") + localisationString("D_damaged_more");
  return text;
}

std::vector<ClipFile> lookedAt(const Source& source) {
  std::vector<ClipFile> files;
  for (std::string& file : filesOf(source)) {
    const auto state = sourceState(file);
    files.push_back({std::move(file), state});
  }
  return files;
}

}  // namespace

ConversionJob::ConversionJob(RunLoop& loop, Alerts& alerts, Host& host, Order order)
    : alerts_(alerts),
      host_(host),
      order_(std::move(order)),
      files_(lookedAt(order_.row.source)),
      begin_(std::chrono::steady_clock::now()),
      tool_(loop),
      look_(loop),
      next_(loop, [this] { return disks(); }) {
  tool_.progressed.connect([this](const ToolProgress& progress) {
    if (looking_ == Looking::atNothing && progress.maximum > 0)
      progress_.add(progress.value / progress.maximum);
    host_.toolProgressed(*this, progress);
  });
  tool_.measured.connect([this](const Dico& values) {
    measured_.merge(values);
    host_.changed(*this);
  });
  tool_.ended.connect([this](const ToolEnd& end) { toolEnded(end); });
}

Dico ConversionJob::record() const {
  Dico record = jobRecord(order_.row, plan_ ? order_.output : "");
  if (plan_ && plan_->seconds > 0)
    record.set(JobKey::durationDouble, plan_->seconds);
  for (const auto& [key, path] :
       {std::pair{JobKey::intermediate, slowed_}, std::pair{JobKey::master, master_}})
    if (!path.empty())
      record.set(key, path);
  record.merge(measured_);
  return record;
}

void ConversionJob::stop() {
  debugFormat("sender stop…");
  outcome_ = JobEnd::Kind::stopped;
  reason_ = localisationString("D_action_stop");
  look_.cancel();
  next_.release();
  logLine("process             : stop (pre-enc)");
  if (tool_.isRunning())
    tool_.end();
  else
    go(Step::end);
}

std::vector<std::string> ConversionJob::disks() const {
  return order_.asksDisksFirst && outcome_ != JobEnd::Kind::stopped ? allDisks()
                                                                    : std::vector<std::string>();
}

std::vector<std::string> ConversionJob::allDisks() const {
  return {order_.row.path(), expandTilde(order_.destination)};
}

void ConversionJob::abandon() {
  next_.clear();
  look_.cancel();
  tool_.release();
}

// ---- The machine

void ConversionJob::go(Step step) {
  step_ = step;
  isInStep_ = false;
  host_.changed(*this);
  next_.set([this] { perform(); });
}

void ConversionJob::perform() {
  logFormat("enc                 : {} - begin", "encProcesses");
  isInStep_ = true;
  host_.takesStep(*this);
  switch (step_) {
    case Step::prepare:
      return prepare();
    case Step::encode:
      return encode();
    case Step::slow:
      return slow();
    case Step::takeSlowed:
      return takeSlowed();
    case Step::exportMovie:
      return exportMovie();
    case Step::check:
      return check();
    case Step::end:
      return order_.asksDisksFirst && outcome_ == JobEnd::Kind::stopped ? endStopped(allDisks())
                                                                        : end();
  }
}

// ---- Preparing

void ConversionJob::prepare() {
  debugFormat("encProcesses        > encDeb");
  const std::string source = order_.row.path();
  const Choice& choice = order_.row.choice;
  debugFormat("out                 = {} ({})", static_cast<int>(choice.target), source);
  debugFormat("fps                 = {} ({})", static_cast<int>(choice.speed), source);
  debugFormat("sizeOutInt          = {} ({})", choice.sizeOut, source);
  host_.begins(*this);
  if (outcome_)
    return;  // stopped by whoever was told
  if (const auto reason = refusal()) {
    fail(*reason);
    return;
  }
  folderPath_ = newJobFolder(order_.output);
  work_ = workPath(folderPath_, order_.output);
  plan_ = planJob(order_.row, work_, order_.flavour);
  if (!plan_) {
    if (verboseLevel(2)) {
      logLine(":-(");
      logLine("encodage('processEncDico') => nil");
    }
    fail(localisationString("why_noCommand"));
    return;
  }
  progress_ = ClipProgress(*plan_);
  host_.changed(*this);
  if (hasRoom() && !outcome_)
    askForPlace();
}

std::optional<std::string> ConversionJob::refusal() const {
  if (auto refused = refusalOf(order_.row, hasExportTool()))
    return refused;
  if (auto refused = refusalOfFiles())
    return refused;
  if (const auto wrong = refusalOfDestination(order_.destination))
    return wrong->reason;
  if (order_.isOnSource)
    return localisationString("why_outputIsSource", "", order_.output);
  return std::nullopt;
}

// A card has its old names on other clips once it was used again, and a field order, a size and a
// length that were found in the old ones would spoil the new.
std::optional<std::string> ConversionJob::refusalOfFiles() const {
  const Source& source = order_.row.source;
  const auto whyReplaced = [](const ClipFile& file, std::string_view bytes,
                              std::int64_t changed) -> std::optional<std::string> {
    if (!file.state || bytes.empty())
      return std::nullopt;
    if (std::to_string(file.state->size) != bytes)
      return localisationString("why_sourceReplaced");
    if (!mayBeUnchanged(changed, file.state->changed()))
      return localisationString("why_sourceTouched");
    return std::nullopt;
  };
  std::size_t number = 0;
  const auto refusal = [&](const auto& file) {
    const ClipFile& found = files_[++number];
    auto problem = problemOfSource(file.path);
    if (!problem)
      problem = whyReplaced(found, std::to_string(file.bytes), file.changed);
    return problem ? std::optional(fmt::format("{}: {}", fileName(file.path), *problem)) : problem;
  };
  if (auto refused = whyReplaced(files_.front(), source.bytes, source.changed))
    return refused;
  for (const Source::Part& part : source.furtherParts)
    if (auto refused = refusal(part))
      return refused;
  for (const Source::SoundFile& sound : source.soundFiles)
    if (auto refused = refusal(sound))
      return refused;
  return std::nullopt;
}

double ConversionJob::sourceBytes() const {
  double bytes = 0;
  for (const std::string& file : filesOf(order_.row.source))
    if (const auto state = sourceState(file))
      bytes += static_cast<double>(state->size);
  return bytes;
}

bool ConversionJob::hasRoom() {
  const Row& row = order_.row;
  const int freeMB = freeDiskSpaceMo(parentFolder(order_.output));
  constexpr double megabyte = 1024 * 1024;
  const double neededMB =
      encDstPoidsEstimatif(plan_->seconds, sourceBytes() / megabyte, row.choice.target);
  logFormat("free necessary space: {:.1f} vs {} (MB)", neededMB, freeMB);
  if (freeMB < 0 || freeMB >= neededMB)
    return true;
  const std::string needed = fmt::format("{:.0f}", std::ceil(neededMB));
  const std::string available = fmt::format("{}", freeMB);
  fail(localisationString("why_noRoom", "", needed, available));
  alerts_.show({localisationString("D_go_echec_disque1", "", fileName(row.path())),
                localisationString("D_go_echec_disque2", "", needed, available)});
  return false;
}

void ConversionJob::askForPlace() {
  if (order_.leavesOthers || !isNameTaken(order_.output)) {
    go(Step::encode);
    return;
  }
  host_.mayReplace(order_.output, [this, there = std::weak_ptr(isThere_)](bool replace) {
    // While the question was open the job may have been stopped.
    if (!there.expired() && !outcome_)
      placeGranted(replace);
  });
}

void ConversionJob::placeGranted(bool replace) {
  logFormat("reponseA            : {}", replace ? "replace" : "keep");
  isReplacing_ = replace;
  if (replace) {
    go(Step::encode);
    return;
  }
  outcome_ = JobEnd::Kind::kept;
  reason_ = localisationString("why_kept", "", order_.output);
  go(Step::end);
}

// ---- The tools

// All of the source is read, which takes a small part of what the conversion does, and has it in
// the system's memory then.
void ConversionJob::lookForJoints() {
  looking_ = Looking::atJoints;
  parts_ = {};
  const Source& source = order_.row.source;
  startTool(mayHoldParts(source) ? jointList(source) : lossList(source), ParseMode::endless, 0);
}

// A source that cannot be read to its end is told by the conversion.
void ConversionJob::jointsAreKnown(bool isRead) {
  looking_ = Looking::atNothing;
  knowsJoints_ = true;
  if (!isRead)
    parts_ = {};
  if (parts_.lacksSound || (parts_.addsSound && !order_.row.source.sound.id)) {
    logLine("joints              :-( sound of the source is missing, or of another codec");
    damagedSound_ = 1;
  }
  if (parts_.picturesLost > 0) {
    logFormat("joints              :-( {} s of pictures are damaged or missing in the source",
              parts_.picturesLost);
    damagedPictures_ = std::max<std::size_t>(1, picturesIn(parts_.picturesLost, order_.row.source));
  }
  if (parts_.isToBeJoined() || isReadJoined(order_.row.source)) {
    logFormat("joints              : {} recordings{}", parts_.seconds.size(),
              parts_.hasMore ? ", and others of another codec" : "");
    takeParts(order_.row.source, parts_);
    plan_ = planJob(order_.row, work_, order_.flavour);
    if (!plan_) {
      fail(localisationString("why_noCommand"));
      return;
    }
    progress_ = ClipProgress(*plan_);
  }
  go(Step::encode);
}

void ConversionJob::encode() {
  const Source& source = order_.row.source;
  if ((mayHoldParts(source) || mayLackPictures(source)) && !knowsJoints_) {
    lookForJoints();
    return;
  }
  if (const auto movie = forecastOf(order_.row, order_.flavour)) {
    forecast_ = fmt::format("movie               : {}\n", summaryOf(*movie));
    for (const std::string& note : notesOf(*movie))
      forecast_ += fmt::format("                      {}\n", note);
  }
  debugFormat("encProcesses        > encDeb: ffmpeg task");
  debugFormat("enc ffmpeg task     > pré-release");
  if (isReplacing_ && isDirectory(order_.output)) {
    fail(whyInTheWay(order_.output));
    return;
  }
  if (folder_.path().empty()) {
    host_.makesFolder(order_.row.path(), folderPath_);
    if (outcome_)
      return;  // stopped by whoever was told
    Outcome<PrivateFolder> made = makeJobFolder(folderPath_);
    if (!made) {
      logFormat("job folder          :-( {}: {}", folderPath_, made.reason());
      fail(whyNothingIsWritten(parentFolder(order_.output), made.reason()));
      return;
    }
    folder_ = std::move(*made);
  }
  begin_ = std::chrono::steady_clock::now();
  isExporting_ = plan_->isExport;
  if (plan_->isExport)
    startTool(plan_->command.arguments, ParseMode::pourcentage, 100);
  else  // the copy is slowed down behind this
    startTool(plan_->command.arguments, ParseMode::time,
              plan_->seconds / (plan_->needsSlowing ? 2 : 1));
}

void ConversionJob::slow() {
  debugFormat("encProcesses        > encQtEnc");
  slowed_ = joinPath(folder_.path(), fmt::format("slow{}.mov", std::random_device()()));
  host_.changed(*this);
  startTool(slowingCommand(*plan_, slowed_), ParseMode::time, plan_->seconds);
}

// Puts the slowed copy in the place of the copy; for a stream copy that is the movie.
void ConversionJob::takeSlowed() {
  if (!mayHoldMovie(slowed_))
    fail(whyNoMovie());
  else if (!moveFile(slowed_, work_, "y"))
    fail(whyDestination());
  else
    go(plan_->needsExport ? Step::exportMovie : Step::check);
}

void ConversionJob::exportMovie() {
  debugFormat("encProcesses        > encQtEnc");
  if (!mayHoldMovie(work_)) {  // whatever the tool's status was
    fail(whyNoMovie());
    return;
  }
  const std::string& preset = plan_->settings;
  debugFormat("presetStr (final)   : {}", preset);
  if (!Bundle::main().pathForResource(joinPath("presetQt", preset), "")) {
    logLine("no quicktime preset :-(");
    fail(localisationString("why_noPreset", "", preset));
    alerts_.show({unknownPresetMessage(preset), "", {}, "", Alert::Style::critical});
    return;
  }
  isExporting_ = true;
  master_ = masterPathStr(work_);
  host_.changed(*this);
  const auto step = encQt(work_, plan_->seconds, preset, displayRatio(order_.row.source));
  if (!step) {
    // The copy is still there when it could not be moved.
    fail(pathExists(work_) ? whyDestination() : localisationString("why_noRoomForExport"));
    return;
  }
  if (verboseLevel(1))
    debugFormat("movtool             - end : {}", fmt::join(step->arguments, " "));
  startTool(step->arguments, ParseMode::pourcentage, 100);
}

void ConversionJob::startTool(const Arguments& command, ParseMode parseMode, double maximum) {
  ToolStart start;
  start.command = command;
  start.parseMode = parseMode;
  start.progressMax = maximum;
  start.source = order_.row.path();
  start.output = work_;
  if (looking_ == Looking::atPackets)
    start.takeOutputLine = [this](std::string_view line) { meter_.addLine(line); };
  else if (looking_ == Looking::atJoints)
    start.takeOutputLine = [this](std::string_view line) { parts_.addLine(line); };
  if (looking_ == Looking::atNothing)
    progress_.begin();
  host_.toolBegins(
      *this,
      localisationString(looking_ == Looking::atNothing ? "D_action_encode" : "D_action_check", "",
                         fileName(start.source)),
      maximum);
  if (const auto started = tool_.start(std::move(start)); !started) {
    host_.toolEnded(*this);
    fail(started.reason());
  }
}

ConversionJob::Step ConversionJob::stepBehindTool() const {
  if (step_ == Step::encode && plan_->needsSlowing)
    return Step::slow;
  if (step_ == Step::slow)
    return Step::takeSlowed;
  return step_ == Step::encode && plan_->needsExport ? Step::exportMovie : Step::check;
}

void ConversionJob::toolEnded(const ToolEnd& end) {
  host_.toolEnded(*this);
  if (outcome_) {
    go(Step::end);
    return;
  }
  if (looking_ != Looking::atNothing) {
    lookEnded(end);
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
      fail(failureReason(end, order_.row.path()));
    return;
  }
  if (!end.troubles.givenUp().empty() || end.troubles.endsEarly())
    troubles_ = end.troubles;
  // The copy that one tool makes is read by the next, which meets the same damage.
  spoiltInTools_ = std::max(spoiltInTools_, end.troubles.damagedPictures());
  // The decoder of DV complains of every block, and each picture was looked at before.
  const bool isCounted = order_.row.source.pictures.codec == "dvvideo" && parts_.picturesLost > 0;
  if (!isCounted)
    damagedPictures_ = std::max(damagedPictures_, spoiltInTools_);
  damagedSound_ = std::max(damagedSound_, end.troubles.damagedSound());
  // The decoder of MPEG forgets its latest picture where another size begins.
  if (end.troubles.changesSize() && startsWith(order_.row.source.pictures.codec, "mpeg")) {
    logLine("encoding            :-( the size of the pictures changes, and one is lost there");
    damagedPictures_ = std::max<std::size_t>(damagedPictures_, 1);
  }
  go(stepBehindTool());
}

// ---- The end

void ConversionJob::fail(const std::string& reason) {
  outcome_ = JobEnd::Kind::failed;
  reason_ = reason;
  go(Step::end);
  if (std::exchange(isExporting_, false))
    alerts_.show({localisationString("D_go_echec_disque4", "", fileName(order_.row.path())),
                  localisationString("D_go_echec_disque5")});
}

std::string ConversionJob::whyDestination(const std::string& cause) const {
  const std::string& output = order_.output;
  return isReplacing_ && isDirectory(output) ? whyInTheWay(output)
                                             : whyNothingIsWritten(parentFolder(output), cause);
}

std::string ConversionJob::whyNoMovie() const {
  return isDirectory(folder_.path()) ? localisationString("why_tinyOutput") : whyDestination();
}

// Ends at once where a disk does not answer. A thread has the folder then, in which everything lies
// that the job has made, and removes it as soon as it can: nothing is moved to the movie's name any
// more, and without the thread the next batch removes it.
void ConversionJob::endStopped(std::vector<std::string> disks) {
  constexpr std::chrono::milliseconds patience(500);
  if (disks.empty()) {
    end();
    return;
  }
  const std::string disk = disks.back();
  disks.pop_back();
  look_.askFor(disk, patience, [this, disk, disks = std::move(disks)](bool isAnswered) {
    if (isAnswered) {
      endStopped(disks);
      return;
    }
    logFormat("process             :-( stopped, no answer: {}", disk);
    reason_ = localisationString("D_stop_waits", "", disk);
    const auto folder = std::make_shared<PrivateFolder>(std::move(folder_));
    look_.ask([folder] { folder->remove(); }, [] {});
    end();
  });
}

void ConversionJob::end() {
  JobEnd end;
  end.source = order_.row.path();
  end.output = order_.output;
  end.files = files_;
  end.duration = plan_ ? plan_->seconds : order_.row.source.duration.value_or(0);
  end.elapsed = secondsSince(begin_);
  logFormat("enc > encFin        : {} - begin", end.source);
  if (outcome_) {
    end.kind = *outcome_;
    end.reason = reason_;
  } else if (mayHoldMovie(work_)) {
    end.damagedPictures = damagedPictures_;
    end.hasDamagedSound = damagedSound_ > 0;
    end.hasMore = hasMore_;
    const auto moved = moveIntoPlace(end);
    if (moved)
      end.kind = JobEnd::Kind::converted;
    end.reason = moved ? damageText(damagedPictures_, damagedSound_, hasMore_)
                       : whyDestination(moved.reason());
  } else {
    end.reason = whyNoMovie();
  }
  // What the tools say is of a folder that the user does not know.
  if (!folderPath_.empty())
    end.reason = replaceAll(end.reason, folderPath_, parentFolder(end.output));
  if (end.kind == JobEnd::Kind::stopped)
    end.output.clear();
  if (end.kind == JobEnd::Kind::failed)
    end.output = mayHoldMovie(work_) ? setAsideFailure(work_, end.output) : "";
  if (end.kind == JobEnd::Kind::converted)
    writeReadMe(end);
  folder_.remove();
  isOver_ = true;
  host_.ended(*this, end);
}

// Gives the movie its name, or the next one when something that is not to be replaced has come to
// that meanwhile. Fails with the system's reason.
Outcome<void> ConversionJob::moveIntoPlace(JobEnd& end) {
  const bool isUndamaged = end.damagedPictures == 0 && !end.hasDamagedSound && !end.hasMore;
  if (!folder_.isInPlace())
    return Failure();
  for (std::string name = end.output;; name = host_.otherOutput(name)) {
    host_.hasMovie({end.source, work_, name, isUndamaged});
    const int error = renameTo(work_, name, isReplacing_);
    if (error == 0) {
      end.output = name;
      return {};
    }
    logFormat("output              :-( {}: {}", name, systemReason(error));
    if (error != EEXIST)
      return Failure{systemReason(error)};
  }
}

void ConversionJob::writeReadMe(const JobEnd& end) {
  const std::string path = withExtension(withoutExtension(end.output), "txt");
  if (const auto start = readFileStart(path, 64);
      start && !startsWith(*start, "format              : "))
    return;  // a text of the user's own
  std::string sources;
  for (const std::string& file : filesOf(order_.row.source))
    sources += fmt::format("source              : {}\n", file);
  const double speed = end.elapsed > 0 ? end.duration / end.elapsed : 0;
  std::string text = fmt::format(
      "format              : {}\n{}   Total speed      : real time / {:.2f}\n"
      "date                : {:%Y-%m-%d %H:%M:%S}\n{}",
      order_.format, forecast_, speed, fmt::localtime(std::time(nullptr)), sources);
  if (!end.reason.empty())
    text += fmt::format("damaged             : {}\n", end.reason);
  if (const auto date = recordingDate(end.source))
    text += fmt::format("recorded            : {} / {} / {}\n", date->day, date->month, date->year);
  // A link is not followed, and a text that was there stays whole until then.
  const std::string made = workPath(folder_.path(), path);
  if (const auto written = writeFileAtomically(made, text, FolderSync::later); !written)
    logFormat("read-me             :-( {}", written.reason());
  else if (const int error = renameTo(made, path, true); error != 0)
    logFormat("read-me             :-( {}: {}", path, systemReason(error));
}

}  // namespace tessarin
