#include "core/RecoveryOffer.h"

#include <fmt/format.h>

#include <algorithm>

#include "classShared/TextAdditions.h"
#include "classShared/log.h"
#include "prefs/utilsAlert.h"

namespace tessarin {

namespace {

enum Answer : std::size_t { goOnAnswer, laterAnswer, forgetAnswer };

// Names that are listed; the rest is in the log.
constexpr std::size_t longestList = 10;

// How many sources of the stored batch have not become movies, as far as can be read; at least one
// when something cannot.
std::size_t unfinishedIn(const BatchStore& store) {
  const std::vector<std::int64_t> jobs = store.jobNumbers();
  std::size_t count = 0;
  for (const std::int64_t number : store.rowNumbers()) {
    const auto row = store.row(number);
    const bool isFinished = row && row->row.mark == RowMark::success &&
                            !std::binary_search(jobs.begin(), jobs.end(), number);
    count += isFinished ? 0 : 1;
  }
  const BatchPart waiting = store.waiting();
  if (waiting.state != BatchPart::State::good && waiting.state != BatchPart::State::missing)
    ++count;
  const Value* sources = waiting.content.find("sources");
  return count + (sources && sources->list() ? sources->list()->size() : 0);
}

std::string listOf(const std::vector<std::string>& lines) {
  std::string list;
  for (std::size_t line = 0; line < lines.size() && line < longestList; ++line)
    list += "\n" + lines[line];
  return list;
}

}  // namespace

RecoveryOffer::RecoveryOffer(appDelegate& app, BatchRecorder& recorder, Alerts& alerts,
                             RunLoop& loop)
    : app_(app), recorder_(recorder), alerts_(alerts), disks_(loop) {
  app_.queue().finished.connect([this] {
    if (!waiting_.empty())
      takeWaiting();
    else if (isToConvert_)
      convert();
  });
}

void RecoveryOffer::begin(const std::string& parent) {
  found_ = claimInterruptedBatches(parent);
  std::vector<std::string> folders = foldersOfJobs(found_);
  if (folders.empty()) {
    tell();
    return;
  }
  isWaiting_ = true;
  disks_.askFor(std::move(folders), [this] {
    isWaiting_ = false;
    tell();
  });
}

void RecoveryOffer::tell() {
  cleanUpBehindJobs(found_);
  std::vector<std::string> problems;
  for (const StoreProblem& problem : found_.problems) {
    logFormat("recovery            :-( {}: {}", problem.path, problem.reason);
    problems.push_back(fmt::format("{}: {}", problem.path, problem.reason));
  }
  if (!problems.empty())
    alerts_.show(
        {localisationString("D_recover_problems"), std::string(trimmed(listOf(problems)))});
  // Rows that all became movies were only kept for being looked at.
  std::erase_if(found_.stores, [](BatchStore& store) {
    const bool isDone = unfinishedIn(store) == 0;
    if (isDone)
      store.discard();
    return isDone;
  });
  if (!found_.stores.empty())
    ask();
}

void RecoveryOffer::ask() {
  logFormat("recovery            ? {}", found_.stores.size());
  std::size_t unfinished = 0;
  for (const BatchStore& store : found_.stores)
    unfinished += unfinishedIn(store);
  const bool isList = std::all_of(found_.stores.begin(), found_.stores.end(), isAtRest);
  std::string more =
      localisationString(isList ? "D_list_2" : "D_recover_2", "", fmt::format("{}", unfinished));
  std::vector<std::string> asides;
  for (const PutAside& each : found_.putAside)
    asides.push_back(each.aside);
  if (!asides.empty())
    more += "\n\n" + localisationString("D_recover_aside") + listOf(asides);
  Alert question{localisationString(isList ? "D_list_1" : "D_recover_1"),
                 more,
                 {localisationString(isList ? "D_list_open" : "D_recover_goOn"),
                  localisationString("D_recover_later"), localisationString("D_recover_forget")}};
  question.closing = laterAnswer;
  question.style = Alert::Style::information;
  alerts_.show(question, [this](AlertAnswer reply) {
    logFormat("recovery            = {}", reply.button);
    if (reply.button == goOnAnswer)
      goOn();
    else if (reply.button == forgetAnswer)
      forget();
    else
      found_.stores.clear();  // they stay where they are
  });
}

void RecoveryOffer::goOn() {
  std::vector<std::string> problems;
  for (BatchStore& store : found_.stores) {
    std::vector<StoreProblem> inStore;
    const StoredBatch batch = readInterruptedBatch(store, inStore);
    for (const StoreProblem& problem : inStore)
      problems.push_back(fmt::format("{}: {}", problem.path, problem.reason));
    waiting_.insert(waiting_.end(), batch.waiting.begin(), batch.waiting.end());
    isToConvert_ = isToConvert_ || !isAtRest(store);
    recorder_.restore(std::move(store), batch);
  }
  found_.stores.clear();
  if (!problems.empty())
    alerts_.show(
        {localisationString("D_recover_problems"), std::string(trimmed(listOf(problems)))});
  app_.showBatch();
  // Otherwise the end of the analysis that goes on does the rest.
  if (!app_.queue().isOpenPermitted())
    return;
  if (!waiting_.empty())
    takeWaiting();
  else if (isToConvert_)
    convert();
}

void RecoveryOffer::forget() {
  for (BatchStore& store : found_.stores)
    store.discard();
  found_.stores.clear();
}

void RecoveryOffer::takeWaiting() {
  app_.queue().takeSources(std::exchange(waiting_, {}));
}

void RecoveryOffer::convert() {
  isToConvert_ = false;
  if (!app_.driver().isBatchRunning() && app_.table().count() > 0)
    app_.iba_batchGoBt();
}

}  // namespace tessarin
