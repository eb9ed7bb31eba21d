#include "core/jobPlan.h"

#include <fmt/format.h>

#include <algorithm>

#include "analysis/SourceInfo.h"
#include "classShared/TextAdditions.h"
#include "encoding/BatchEntry.h"
#include "encoding/naming.h"
#include "encoding/outputPreset.h"
#include "prefs/utilsAlert.h"
#include "utils/files.h"
#include "utils/text.h"

namespace tessarin {

namespace {

constexpr const char* folderName = "Tessarin";

// Bytes of a movie's name. With the endings that a job adds ("-failure", a number, the extension)
// the file name stays below the 255 bytes that file systems take.
constexpr std::size_t longestTitle = 200;

std::string titleOf(const std::string& source, int target) {
  std::string title = target == outAic ? dateCreation2iMovieN(source) : pathes2Titles(source, {});
  if (title.empty())
    title = fileName(source);
  // A name that starts with a dot would be hidden.
  if (startsWith(title, "."))
    title = "_" + title.substr(1);
  while (title.size() > longestTitle)
    title = withoutLastCharacters(title, 1);
  return replaceAll(title, "/", "-");
}

// The command with the picture's real field order told to its filters, which else believe what
// the stream claims. Stream copies have no filters.
void correctFieldClaim(Arguments& arguments) {
  const std::string correction = "setfield=tff";
  const auto filter = std::find(arguments.begin(), arguments.end(), "-vf");
  if (filter != arguments.end() && filter + 1 != arguments.end()) {
    *(filter + 1) = correction + "," + *(filter + 1);
    return;
  }
  const auto rate = std::find(arguments.begin(), arguments.end(), "-r");
  if (rate != arguments.end())
    arguments.insert(rate, {"-vf", correction});
}

bool isStreamCopy(const Dico& job) {
  return isSourceProgressive(job) &&
         !needsInterleaveToI50(job, presetLabel(job.integer(JobKey::sizeOut).value_or(-1)));
}

}  // namespace

std::string outputFolder(const std::string& destination) {
  const std::string folder = expandTilde(destination);
  return fileName(folder) == folderName ? folder : joinPath(folder, folderName);
}

std::string outputPath(const std::string& source, int target, const std::string& folder,
                       OutputNames& taken) {
  const std::string title = titleOf(source, target);
  std::string path = joinPath(folder, title + ".mov");
  for (int number = 2; taken.count(path) > 0 && taken[path] != source; ++number)
    path = joinPath(folder, fmt::format("{}-{}.mov", title, number));
  taken[path] = source;
  return path;
}

Dico jobOfRow(const Dico& row) {
  Dico job = row.dico(BatchKey::dico) ? *row.dico(BatchKey::dico) : Dico();
  const auto take = [&](std::string_view jobKey, std::string_view rowKey) {
    if (const Value* value = row.find(rowKey); value && !job.contains(jobKey))
      job.set(jobKey, *value);
  };
  take(JobKey::out, BatchKey::out);
  take(JobKey::speed, BatchKey::fps);
  take(JobKey::sizeOut, BatchKey::sizeOut);
  return job;
}

std::optional<JobPlan> planJob(Dico job, const std::string& destination,
                               std::string_view prefProres) {
  job.set(JobKey::dstPathStr, destination);
  const int target = static_cast<int>(job.integer(JobKey::out).value_or(outProres));
  auto command = encodage(target, job, prefProres);
  if (!command)
    return std::nullopt;
  if (job.contains(SourceKey::v0FieldsClaim))
    correctFieldClaim(command->arguments);
  JobPlan plan;
  // A stream copy that is to be a QuickTime movie is one already.
  plan.needsExport = !command->writesProres && !(target == outQuickTime && isStreamCopy(job));
  plan.job = std::move(job);
  plan.command = std::move(*command);
  return plan;
}

std::optional<std::string> refusalOf(const Dico& row, bool hasExport) {
  const Dico job = jobOfRow(row);
  if (!job.contains(SourceKey::v0Width) || !job.contains(SourceKey::v0Height))
    return localisationString("why_noPicture");
  const int target = static_cast<int>(job.integer(JobKey::out).value_or(-1));
  const bool isAllowed =
      cellAllowedOut(row, target == outQuickTime, target == outAic, target == outProres);
  if (!isAllowed)
    return localisationString("why_noTarget");
  if (const auto plan = planJob(job, "output.mov", "apcn"); plan && plan->needsExport && !hasExport)
    return localisationString("why_noExport");
  return std::nullopt;
}

}  // namespace tessarin
