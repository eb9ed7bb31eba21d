#include "cli/Session.h"

#include <algorithm>
#include <iterator>

#include "analysis/sourceRecord.h"
#include "cli/exitStatus.h"
#include "cli/runSettings.h"
#include "cli/sources.h"
#include "cli/terminal.h"
#include "cli/texts.h"
#include "cli/wishes.h"
#include "core/BatchFile.h"
#include "core/missingSources.h"
#include "core/movieNames.h"
#include "core/stepState.h"
#include "encoding/outputPreset.h"
#include "jobs/exportCommands.h"
#include "jobs/jobPlan.h"
#include "jobs/joinedParts.h"
#include "platform/Signals.h"
#include "prefs/utilsAlert.h"
#include "utils/files.h"

namespace tessarin::cli {

namespace {

// How often progress is told at the most.
constexpr std::chrono::milliseconds progressInterval(200);

// A reason for a line that names the path already.
std::string withoutName(const std::string& reason, const std::string& path) {
  return replaceAll(reason, path + ": ", "");
}

}  // namespace

Session::Session(const Options& options, CoreServices services, Reporter& reporter, RunStart start)
    : options_(options),
      services_(services),
      reporter_(reporter),
      start_(std::move(start)),
      app_(std::move(services)) {
  app_.driver().movieFinished.connect([this](const FinishedMovie& movie) {
    if (const StoredRow* row = rowOfBatch(movie.source))
      tellWritten(results().writeMovie(numberOf(*row), row->row, movie));
  });
  // A job is stored as finished before the user is told so.
  if (options_.command == Command::convert || options_.command == Command::prepare)
    follow();
  app_.queue().refused.connect(
      [this](const std::string& path, const std::string& reason) { problem(path, reason); });
  app_.queue().leftOut.connect([this](const KnownClips::Finding& finding) {
    reporter_.leftOut(finding.known, troubleOfRecord(finding.record, services_.convertedClips));
  });
  app_.known().refused.connect(
      [this](const std::string& reason) { reporter_.leftOut({}, reason); });
  app_.queue().advanced.connect([this](const AnalysisStand& stand) { reporter_.analysing(stand); });
  app_.queue().finished.connect([this] { analysisFinished(); });
  app_.queue().rowReady.connect([this](int row) { chooseForRow(row); });
  app_.driver().batchRefused.connect([this](const std::string& reason) {
    problem(app_.interface.destination.text(), reason);
    endRefused();
  });
  app_.driver().jobStarted.connect([this](const std::string& source, const std::string& output) {
    if (const StoredRow* row = rowOfBatch(source); row != nullptr && !options_.row)
      if (auto claimed = results().claim(numberOf(*row)))
        inHand_[source] = std::move(*claimed);
    reporter_.jobStarted(source, output);
  });
  app_.driver().jobEnded.connect([this](const JobEnd& job) {
    writeRow(job);
    inHand_.erase(job.source);
    // What an explicit --overwrite keep kept is as the user wanted it. Of a damaged clip a movie
    // was made, but not of all of it.
    const bool isFine =
        job.isWhole() || (job.kind == JobEnd::Kind::kept && options_.overwrite == Overwrite::keep);
    failed_ = failed_ || !isFine;
    reporter_.jobEnded(job, isFine);
  });
  app_.driver().progressed.connect([this] { showProgress(); });
}

Session::~Session() {
  services_.loop.cancel(next_);
}

// Lets the batch be recovered should this process end before it.
void Session::follow() {
  recorder_.emplace(app_, services_, batchesFolder());
  recorder_->setFrontSettings(storedOptions(options_));
  recorder_->failed.connect([this](const std::string& reason) {
    reporter_.problem(batchesFolder(), localisationString("why_notStored", "",
                                                          withoutName(reason, batchesFolder())));
  });
  recorder_->movieRefused.connect([this](const std::string& source, const std::string& reason) {
    movieRefused(source, reason);
  });
  app_.driver().batchEnded.connect([this] { hasEnded_ = true; });
  // Results are in the batch file before the run counts as ended.
  recorder_->settled.connect([this] {
    if (options_.batchFile && !options_.row)
      writeBatch();
    tellOfRest();
    end();
  });
}

void Session::start() {
  applyPreferences();
  if (start_.batch) {
    resume();
    return;
  }
  applyOptions();
  if (isRefused())
    return;
  const SourceList sources =
      sourcesOf(options_.paths, outputFolder(expandTilde(app_.interface.destination.text())));
  for (const Problem& each : sources.problems)
    problem(each.path, each.reason);
  if (sources.paths.empty())
    end();
  else
    app_.queue().takeSources(sources.paths);
}

void Session::applyPreferences() {
  Dico stored;
  for (const auto& [key, value] : prefDefaults())
    if (const Value* own = services_.preferences.prefRead(key))
      stored.set(key, *own);
  app_.prefs2GuiApp(stored, DestinationFolder::leftAlone);
  app_.followChosenJobs();
}

void Session::applyOptions() {
  Interface& interface = app_.interface;
  if (options_.jobs)
    app_.setJobs(*options_.jobs);
  app_.queue().keepPartsApart(options_.keepsPartsApart);
  app_.queue().splitTapes(options_.splitsTapes);
  app_.takeOnlyNew(options_.onlyNew);
  if (options_.destination)
    interface.destination.setText(absolutePath(expandTilde(*options_.destination)));
  choosePreset(options_.choices, interface, services_.preferences);
  if (options_.command == Command::convert && options_.overwrite != Overwrite::ask)
    services_.preferences.prefWrite(StateKey::replaceFiles, options_.overwrite == Overwrite::replace
                                                                ? answerReplace
                                                                : answerKeep);
}

// Whether the movies can have no names, by a pattern of the stored choices: those of the options
// were looked at before. Then the run ends.
bool Session::isRefused() {
  const auto refusal = refusalOfNames(app_.interface);
  if (!refusal || options_.command == Command::analyse)
    return false;
  problem(app_.interface.names.text(), *refusal);
  endRefused();
  return true;
}

// A batch that was to go on can do so once what is wrong was put right.
void Session::endRefused() {
  if (start_.batch && recorder_)
    recorder_->keep();
  end();
}

void Session::resume() {
  recorder_->restore(std::exchange(start_.store, std::nullopt), *start_.batch);
  // What is said now is stronger than what is stored.
  applyOptions();
  if (isRefused())
    return;
  reserveNames();
  if (!start_.batch->waiting.empty())
    app_.queue().takeSources(start_.batch->waiting);
  else if (app_.table().count() > 0)
    begin();
  else
    end();
}

void Session::interrupt(Stop reason) {
  if (interrupted_)
    return;
  interrupted_ = true;
  failed_ = true;
  if (recorder_ && reason == Stop::bySystem)
    isKept_ = recorder_->keep();
  if (app_.driver().isBatchRunning()) {
    app_.driver().stop();
  } else if (hasEnded_) {
    recorder_->settle();
  } else {
    const std::vector<std::string> rest = app_.queue().sourcesWithoutRow();
    app_.endTasks();
    joints_.cancel();
    reporter_.analysisEnded();
    // Of the clip in hand; nothing to a reader that went away.
    if (!rest.empty() && !reporter_.isLost())
      problem(rest.front(), localisationString("analysisStopped", textTable));
    end();
  }
}

void Session::suspend() {
  const auto pauseOrResume = [this] {
    app_.interface.encoding.stopBt.select(pauseSegment);
    app_.iba_taskStopBt();
  };
  pauseOrResume();
  suspendProcess();
  pauseOrResume();
}

void Session::problem(const std::string& path, const std::string& reason) {
  failed_ = true;
  reporter_.problem(path, reason);
}

void Session::movieRefused(const std::string& source, const std::string& reason) {
  JobEnd end;
  end.source = source;
  end.reason = reason;
  writeRow(end);
  problem(source, reason);
}

void Session::chooseForRow(int row) {
  BatchTable& table = app_.table();
  if (!table.has(row))
    return;
  if (!hasTarget(row) && options_.command != Command::analyse) {
    table.select(row);
    table.encBatchRemove(false);
    return;
  }
  if (options_.command != Command::analyse) {
    tellOfFailures(table.row(row));
    return;
  }
  reporter_.analysed(table.row(row), table.forecast(row));
  if (reporter_.isLost())
    interrupt(Stop::byUser);
}

// Where the movie will be called by, and will say, another time than that of the recording, or may
// be one of several of it, or will not be as slow as was wished.
void Session::tellOfFailures(const Row& row) {
  using Kind = Source::Remark::Kind;
  const Source& source = row.source;
  for (const Source::Remark& remark : source.remarks)
    if (remark.kind == Kind::timeUnread || remark.kind == Kind::partsUnknown ||
        remark.kind == Kind::unsplitTape)
      reporter_.problem(source.path, localisationString(remarkKey(remark.kind)));
  if (app_.interface.chosenSpeed() == speedSlow && row.choice.speed != speedSlow)
    reporter_.problem(source.path, localisationString("notSlow", textTable));
}

// Whether the row is what the user asked for. A target that it does not allow is refused rather
// than replaced by another.
bool Session::hasTarget(int row) {
  BatchTable& table = app_.table();
  const Row& entry = table.row(row);
  const auto wish = chosenWish(app_.interface);
  const Application application = chosenSizes(app_.interface);
  if (!wish || nearestChoice(entry, *wish, application))
    return true;
  problem(table.sourcePath(row), refusalOfWish(entry, *wish, application));
  Choice refused = entry.choice;
  refused.target = wish->target;
  table.set(row, &Row::choice, refused);
  return false;
}

void Session::analysisFinished() {
  reporter_.analysisEnded();
  const bool isDone = options_.command == Command::analyse || app_.table().count() == 0;
  services_.loop.cancel(next_);
  next_ = services_.loop.runSoon([this, isDone] {
    next_ = 0;
    if (!isDone)
      begin();
    else
      endWithoutRows();
  });
}

// What is at the path of the batch file, from an earlier run, must not be taken for that of this.
void Session::endWithoutRows() {
  if (options_.command == Command::prepare)
    reporter_.note(
        localisationString("batchNotWritten", textTable, printable(*options_.batchFile)));
  end();
}

void Session::begin() {
  if (options_.command == Command::plan) {
    planFrom(0);
  } else if (options_.command == Command::prepare) {
    writeBatch();
    end();
  } else {
    const BatchCount count = countRows(app_.table());
    if (start_.batch && count.failed + count.waiting == 0)
      reporter_.note(localisationString("nothingToConvert", textTable));
    app_.iba_batchGoBt();
  }
}

// A row by itself has the name that it would have among all rows: whoever converts another one at
// the same time gives it none of theirs.
void Session::reserveNames() {
  const std::string folder = outputFolder(app_.interface.destination.text());
  const NamePattern names = namesOf(app_.interface);
  OutputNames taken;
  for (const Row& before : start_.turn.before)
    if (before.mark == RowMark::success && !before.movie.empty())
      taken[before.movie] = before.path();
    else
      outputPath(before.source, before.choice.target, folder, taken, names);
  app_.driver().reserve(std::move(taken));
}

// The row of the batch file that this clip is, where the run converts that file or the row.
const StoredRow* Session::rowOfBatch(const std::string& source) const {
  if (!options_.batchFile || options_.command != Command::convert || !start_.batch)
    return nullptr;
  const auto& rows = start_.batch->rows;
  const auto row = std::find_if(rows.begin(), rows.end(), [&source](const StoredRow& each) {
    return each.row.path() == source;
  });
  return row == rows.end() ? nullptr : &*row;
}

std::int64_t Session::numberOf(const StoredRow& row) const {
  return options_.row ? *options_.row : row.order;
}

RowResults Session::results() const {
  return RowResults(*options_.batchFile);
}

// A row that was stopped is left to whoever takes it next.
void Session::writeRow(const JobEnd& end) {
  const StoredRow* stored = rowOfBatch(end.source);
  if (stored == nullptr || end.kind == JobEnd::Kind::stopped)
    return;
  RowResult result{stored->row};
  const bool isFailure = end.kind == JobEnd::Kind::failed;
  result.row.mark = isFailure ? RowMark::failure : RowMark::success;
  result.row.isKept = end.kind == JobEnd::Kind::kept;
  result.row.movie = isFailure ? "" : end.output;
  result.row.reason = isFailure ? end.reason : "";
  if (end.kind == JobEnd::Kind::converted)
    result.damage = end.reason;
  tellWritten(results().write(numberOf(*stored), result));
  if (result.damage.empty())
    written_.insert(numberOf(*stored));
}

// Of a run over the whole file, its end tells whether the results can be kept.
void Session::tellWritten(const Outcome<void>& written) {
  if (!written && options_.row)
    problem(*options_.batchFile, withoutName(written.reason(), *options_.batchFile));
}

// The rows as they are now.
void Session::writeBatch() {
  StoredBatch batch;
  batch.settings = batchSettings(app_, services_.preferences, {});
  const BatchTable& table = app_.table();
  const auto add = [&batch](Row row) {
    batch.rows.push_back({std::ssize(batch.rows) + 1, std::move(row)});
  };
  // A clip that is away leaves the table, and not the file.
  std::set<std::string> known;
  for (const StoredRow& stored : start_.batch ? start_.batch->rows : std::vector<StoredRow>()) {
    const int row = table.rowOfSource(stored.row.path());
    add(table.has(row) ? table.row(row) : stored.row);
    known.insert(stored.row.path());
  }
  for (int row = 0; row < table.count(); ++row)
    if (!known.contains(table.sourcePath(row)))
      add(table.row(row));
  const auto written = writeBatchFile(*options_.batchFile, batch);
  if (!written) {
    // Of a batch that was only to be written nothing is lost: the clips can be named again.
    const bool isKept = recorder_ && options_.command != Command::prepare && recorder_->keep();
    const std::string reason = withoutName(written.reason(), *options_.batchFile);
    problem(*options_.batchFile,
            isKept ? localisationString("resultsKept", textTable, reason) : reason);
  } else if (options_.command == Command::prepare) {
    results().clear();
    reporter_.batchWritten(*options_.batchFile, batch.rows.size());
  } else {
    for (const std::int64_t number : written_)
      results().forget(number);
  }
}

// The rows behind each other. What is in a transport stream is looked for before, as a conversion
// does; one that cannot be read is planned as it is.
void Session::planFrom(int row) {
  for (; row < app_.table().count(); ++row) {
    const Row& entry = app_.table().row(row);
    if (mayHoldParts(entry.source)) {
      const auto started =
          joints_.start(jointList(entry.source), {}, [this, row](const ToolResult& result) {
            Row looked = app_.table().row(row);
            if (result.status == 0)
              takeParts(looked.source, partList(result.output));
            plan(looked);
            planFrom(row + 1);
          });
      if (started)
        return;
    }
    plan(entry);
  }
  failed_ = failed_ || reporter_.isLost();
  end();
}

void Session::plan(const Row& row) {
  const std::string output =
      outputOfRow(row, outputFolder(app_.interface.destination.text()), planned_,
                  namesOf(app_.interface), options_.onlyNew ? Clash::other : Clash::left);
  if (const auto refusal = planRow(row, output))
    problem(row.path(), *refusal);
}

std::optional<std::string> Session::planRow(const Row& row, const std::string& output) {
  if (auto refusal = refusalOf(row, hasExportTool()))
    return refusal;
  if (app_.table().isSourceFile(output))
    return localisationString("why_outputIsSource", "", output);
  const std::string prores = services_.preferences.text(PrefKey::prores);
  const auto plan = planJob(row, output, prores);
  if (!plan)
    return localisationString("why_noCommand");
  if (options_.overwrite == Overwrite::keep && pathExists(output)) {
    reporter_.wouldKeep(row, output, localisationString("why_kept", "", output));
    return std::nullopt;
  }
  reporter_.planned(row, output, commandsOfPlan(*plan, options_.overwrite == Overwrite::replace),
                    forecastOf(row, prores));
  return std::nullopt;
}

void Session::showProgress() {
  const auto now = std::chrono::steady_clock::now();
  if (now - lastShown_ < progressInterval)
    return;
  lastShown_ = now;
  if (const BatchProgress progress = app_.driver().progress(); !progress.inHand.empty())
    reporter_.progress(progress);
}

// What the batch has not come to: sources that were away, and all behind a stop.
void Session::tellOfRest() {
  const std::vector<std::string>& missing = app_.driver().troubles().missing;
  if (!missing.empty())
    reporter_.missing(missing);
  for (int row = 0; row < app_.table().count(); ++row)
    failed_ = failed_ || app_.table().row(row).mark == RowMark::waiting;
}

void Session::end() {
  app_.known().finish();
  if (recorder_)
    recorder_->forget();
  // Behind the last line of progress.
  if (isKept_)
    complain(localisationString("interrupted", textTable));
  services_.loop.stop(failed_ ? someNot : allConverted);
}

}  // namespace tessarin::cli
