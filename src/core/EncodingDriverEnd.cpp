// How a job ends: what came out goes to its place, and whoever follows is told.
#include <fmt/chrono.h>
#include <fmt/format.h>

#include <cerrno>

#include "analysis/SourceInfo.h"
#include "classShared/TextAdditions.h"
#include "classShared/log.h"
#include "core/EncodingDriver.h"
#include "core/outputPlace.h"
#include "core/setAside.h"
#include "core/stepState.h"
#include "encoding/recordingDate.h"
#include "prefs/utilsAlert.h"
#include "utils/files.h"

namespace tessarin {

namespace {

double secondsSince(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
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
    table_.mark(row, RowMark::failure);
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

std::string EncodingDriver::whyDestination(const std::string& cause) const {
  return isReplacing_ && isDirectory(output_) ? whyInTheWay(output_)
                                              : whyNothingIsWritten(parentFolder(output_), cause);
}

void EncodingDriver::purgeIntermediates(const Dico& current) {
  for (const std::string_view key : {JobKey::intermediate, JobKey::master}) {
    const std::string purge = current.textOrEmpty(key);
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
  end.source = row_.path();
  end.output = output_;
  end.duration = plan_ ? plan_->seconds : row_.source.number(SourceKey::wDuration).value_or(0);
  end.elapsed = secondsSince(taskStart_);
  logFormat("enc > encFin        : {} - begin", end.source);
  purgeIntermediates(current);
  if (outcome_) {
    end.kind = *outcome_;
    end.reason = reason_;
  } else if (mayHoldMovie(work_)) {
    end.damagedPictures = damagedPictures_;
    end.hasDamagedSound = damagedSound_ > 0;
    const auto moved = moveIntoPlace(end);
    if (moved)
      end.kind = JobEnd::Kind::converted;
    end.reason =
        moved ? damageText(damagedPictures_, damagedSound_) : whyDestination(moved.reason());
  } else {
    end.reason =
        isDirectory(folder_.path()) ? localisationString("why_tinyOutput") : whyDestination();
  }
  // What the tools say is of a folder that the user does not know.
  if (!folderPath_.empty())
    end.reason = replaceAll(end.reason, folderPath_, parentFolder(end.output));
  if (end.kind == JobEnd::Kind::stopped)
    end.output.clear();
  if (end.kind == JobEnd::Kind::failed)
    end.output = mayHoldMovie(work_) ? setAsideFailure(work_, end.output) : "";
  finishJob(std::move(end));
}

// Gives the movie its name, or the next one when something that is not to be replaced has come to
// that meanwhile. Fails with the system's reason.
Outcome<void> EncodingDriver::moveIntoPlace(JobEnd& end) {
  const bool isUndamaged = end.damagedPictures == 0 && !end.hasDamagedSound;
  if (!folder_.isInPlace())
    return Failure();
  for (std::string name = end.output;; name = otherOutputPath(name, outputNames_)) {
    movieFinished.emit({end.source, work_, name, isUndamaged});
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

void EncodingDriver::finishJob(JobEnd end) {
  debugFormat("RESET GUI…");
  interface_.encoding.action.setText("");
  const int row = table_.encBatchInprogressRowIdentification();
  const bool isGood = end.kind == JobEnd::Kind::converted ||
                      (end.kind == JobEnd::Kind::kept && mayHoldMovie(end.output));
  if (table_.has(row)) {
    if (isGood)
      table_.set(row, &Row::movie, end.output);
    table_.mark(row, isGood ? RowMark::success : RowMark::failure);
  }
  if (end.kind == JobEnd::Kind::converted) {
    writeReadMe(end);
    if (!end.reason.empty())
      batchTroubles_.damaged.push_back(end.source);
  }
  folder_.remove();
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
  // A link is not followed, and a text that was there stays whole until then.
  const std::string made = workPath(folder_.path(), path);
  if (const auto written = writeFileAtomically(made, readMe_, FolderSync::later); !written)
    logFormat("read-me             :-( {}", written.reason());
  else if (const int error = renameTo(made, path, true); error != 0)
    logFormat("read-me             :-( {}: {}", path, systemReason(error));
}

}  // namespace tessarin
