#include "core/stepState.h"

#include "analysis/sourceRecord.h"
#include "jobs/AnalysisJob.h"
#include "jobs/ConversionJob.h"

namespace tessarin {

namespace {

const char* flagOf(AnalysisJob::Step step) {
  switch (step) {
    case AnalysisJob::Step::askForReport:
      return "analysisFfmpeg";
    case AnalysisJob::Step::readReport:
      return "analysisFfmpegParse";
    case AnalysisJob::Step::makeRecord:
    case AnalysisJob::Step::askForTime:
    case AnalysisJob::Step::makeThumbnail:
      return "analysisDico";
    case AnalysisJob::Step::end:
      break;
  }
  return analysisSteps.back();
}

const char* flagOf(ConversionJob::Step step) {
  switch (step) {
    case ConversionJob::Step::prepare:
      return "encDeb";
    case ConversionJob::Step::slow:
    case ConversionJob::Step::takeSlowed:
    case ConversionJob::Step::exportMovie:
      return "encQtEnc";
    case ConversionJob::Step::encode:
    case ConversionJob::Step::check:
    case ConversionJob::Step::end:
      break;
  }
  return encSteps.back();
}

}  // namespace

void clearStepFlags(PreferenceStore& preferences) {
  const auto removeAll = [&preferences](const auto& keys) {
    for (const char* key : keys)
      preferences.prefRemove(key);
  };
  removeAll(analysisSteps);
  removeAll(mediaInfoSteps);
  removeAll(encSteps);
  removeAll(std::array{StateKey::waiting, StateKey::analysed, StateKey::record, StateKey::image,
                       StateKey::forcedFormat, StateKey::alert, StateKey::encoded, StateKey::job,
                       StateKey::replaceFiles});
}

void StateMirror::showText(const char* key, const std::string& text) {
  if (text.empty())
    preferences_.prefRemove(key);
  else
    preferences_.prefWrite(key, text);
}

void StateMirror::showFlags(std::span<const char* const> flags, const char* step) {
  for (const char* flag : flags)
    if (step != nullptr && (std::string_view(flag) == step || flag == flags.back()))
      preferences_.prefWrite(flag, 1);
    else
      preferences_.prefRemove(flag);
}

void StateMirror::show(const AnalysisJob* job) {
  showFlags(analysisSteps, job ? flagOf(job->step()) : nullptr);
  showText(StateKey::forcedFormat, job ? job->format() : "");
  showText(StateKey::image, job ? job->thumbnail() : "");
  if (job && job->found())
    preferences_.prefWrite(StateKey::record, recordOfSource(*job->found()));
  else
    preferences_.prefRemove(StateKey::record);
}

void StateMirror::show(const ConversionJob* job) {
  const char* last = encSteps.back();
  if (!job) {
    preferences_.prefRemove(StateKey::job);
    preferences_.prefRemove(last);
    return;
  }
  Dico record = job->record();
  if (const char* step = flagOf(job->step()); !job->isInStep() && std::string_view(step) != last)
    record.set(step, 1);
  preferences_.prefWrite(StateKey::job, std::move(record));
  preferences_.prefWrite(last, 1);
}

void StateMirror::take(const ConversionJob& job) {
  preferences_.prefDeleteChildDico(StateKey::job, flagOf(job.step()));
}

}  // namespace tessarin
