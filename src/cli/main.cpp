// The command line program.

#include "classShared/TextAdditions.h"
#include "classShared/log.h"
#include "cli/Reporter.h"
#include "cli/Session.h"
#include "cli/TerminalAlerts.h"
#include "cli/batchFileStart.h"
#include "cli/exitStatus.h"
#include "cli/interruptedRuns.h"
#include "cli/options.h"
#include "cli/terminal.h"
#include "cli/texts.h"
#include "core/CodecSurvey.h"
#include "core/startUp.h"
#include "jobs/convertedRecord.h"
#include "platform/Bundle.h"
#include "platform/PollRunLoop.h"
#include "platform/Signals.h"
#include "platform/UserDomain.h"
#include "platform/openFiles.h"
#include "prefs/utilsAlert.h"
#include "process/logs.h"
#include "utils/files.h"

namespace tessarin::cli {

namespace {

// The terminal stays the user's: until the detail log is open, and when there is no place for it,
// log lines and what tools say that nobody collects go nowhere.
void silenceLog() {
  keepLogFromTerminal();
  static_cast<void>(sendLogToFile("/dev/null"));
}

void openLog() {
  const std::string path = detailLogPath();
  mkdir(parentFolder(path));
  static_cast<void>(sendLogToFile(path));
}

// What the user has chosen, without what a running window keeps in the same place: its steps and
// its job are none of ours.
Dico choicesOf(const UserDomain& domain) {
  Dico choices;
  const auto take = [&](std::string_view key) {
    if (const Value* value = domain.read(key))
      choices.set(key, *value);
  };
  for (const auto& [key, standard] : prefDefaults())
    take(key);
  take(ffmpegSetting);
  return choices;
}

// One run, with a store of its own seeded from the user's choices: a running window is not
// disturbed.
RunEnd runOnce(const Options& options, RunStart start, const Dico& choices, Reporter& reporter) {
  MemoryUserDomain domain(choices);
  PreferenceStore preferences(domain);
  preferences.prefWrite(PrefKey::alertEnd, 0);
  PollRunLoop loop;
  TerminalAlerts alerts(loop, options.json);
  setUserAlerts(&alerts);
  RunEnd end;
  {
    Session session(options, {loop, preferences, alerts, {}, {}, ConvertedRecord::userPath()},
                    reporter, std::move(start));
    SignalWatch userStop(loop, {SIGINT}, [&session](int) { session.interrupt(Stop::byUser); });
    SignalWatch systemStop(loop, {SIGTERM, SIGHUP},
                           [&session](int) { session.interrupt(Stop::bySystem); });
    SignalWatch stopKey(loop, {SIGTSTP}, [&session](int) { session.suspend(); });
    loop.runSoon([&session] { session.start(); });
    end.status = loop.run();
    end.isInterrupted = session.isInterrupted();
  }
  setUserAlerts(nullptr);
  return end;
}

// False when there is no ffmpeg to work with, or the user would rather not wait for its answer;
// either is told.
bool prepareTools(const Dico& choices) {
  auto problem = chooseFfmpeg(choices.textOrEmpty(ffmpegSetting));
  if (!problem) {
    PollRunLoop loop;
    CodecSurvey survey(loop);
    const SignalWatch stop(loop, {SIGINT, SIGTERM, SIGHUP}, [&](int) {
      problem = localisationString("runStopped", textTable);
      loop.stop(0);
    });
    survey.begin([&](const std::optional<std::string>& found) {
      if (found)
        problem = found;
      loop.stop(0);
    });
    loop.run();
  }
  if (problem)
    complain(*problem);
  return !problem;
}

// The result is the exit status.
int forgetConverted(Reporter& reporter) {
  const std::string path = ConvertedRecord::userPath();
  const auto cleared = ConvertedRecord(path).clear();
  if (cleared)
    reporter.note(localisationString("convertedForgotten", textTable));
  else
    reporter.problem(path, cleared.reason());
  return cleared ? allConverted : someNot;
}

int run(const Options& options) {
  if (const auto problem = systemProblem()) {
    complain(*problem);
    return someNot;
  }
  openLog();
  recordEnvironment();
  setLogBeginning(recordEnvironment);
  setDebugMode(options.verbose);
  const auto reporter = options.json ? jsonReporter() : textReporter();
  if (options.forget && options.onlyNew)
    return forgetConverted(*reporter);
  InterruptedBatches interrupted = meetInterruptedRuns(options);
  if (options.forget)
    return forgetRuns(std::move(interrupted), *reporter);
  auto start = startOfBatchFile(options, *reporter);
  if (const Exit* exit = std::get_if<Exit>(&start))
    return exit->status;
  const Dico choices = choicesOf(FileUserDomain(userDomainPath(), nullptr));
  if (!prepareTools(choices))
    return someNot;
  const Runner runner = [&](const Options& own, RunStart ownStart) {
    return runOnce(own, std::move(ownStart), choices, *reporter);
  };
  int status = someNot;
  if (options.recover) {
    status = recoverRuns(options, std::move(interrupted), *reporter, runner);
  } else {
    interrupted.stores.clear();  // for another process to recover
    status = runner(options, std::move(std::get<RunStart>(start))).status;
  }
  return status;
}

}  // namespace

}  // namespace tessarin::cli

int main(int count, char** arguments) {
  using namespace tessarin::cli;
  tessarin::openMissingStreams();
  // A reader that goes away is no reason to leave children and partial outputs behind.
  tessarin::ignoreBrokenPipes();
  // Nor is a limit to the size of files: what is written beyond it fails as on a full disk.
  tessarin::ignoreFileLimit();
  silenceLog();
  const auto options = readOptions(count, arguments, tessarin::programVersion());
  if (const Exit* exit = std::get_if<Exit>(&options))
    return exit->status;
  const int status = run(std::get<Options>(options));
  tessarin::removeTemporaryFolder();
  return status;
}
