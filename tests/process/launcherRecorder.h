// A launcher on a loop of its own, with a delegate that writes down what it is told.
#pragma once

#include <string>
#include <vector>

#include "platform/PollRunLoop.h"
#include "process/taskLauncher.h"
#include "support/LoopUntil.h"

namespace tessarin::test {

struct LauncherRecorder : TaskLauncherDelegate {
  void taskLauncherDidReceiveNewString(taskLauncher&, const std::string& piece) override {
    text += piece;
    pieces.push_back(piece);
  }
  void taskLauncherDidReceiveNewData(taskLauncher&, std::string_view piece) override {
    data += piece;
  }
  void taskLauncherTaskDidEnd(taskLauncher& launcher) override {
    ++ends;
    events.push_back("end");
    statusAtEnd = launcher.terminationStatus();
  }
  void taskLauncherTaskDidSuspend(taskLauncher&) override { events.push_back("suspend"); }
  void taskLauncherTaskDidResume(taskLauncher&) override { events.push_back("resume"); }

  std::string text;
  std::string data;
  std::vector<std::string> pieces;
  std::vector<std::string> events;
  int ends = 0;
  int statusAtEnd = -1;
};

// A loop, a launcher and its recorder.
struct LauncherRun {
  LauncherRun() { launcher.setDelegate(&recorder); }

  int launch(const Arguments& arguments) { return launcher.launchTasksWithArguments(arguments); }
  // Serves the loop until the run has ended.
  bool ends() {
    return loopUntil(loop, [this] { return recorder.ends > 0; });
  }
  // Launches and serves the loop until the run has ended; the result of the launch.
  int runToEnd(const Arguments& arguments) {
    const int result = launch(arguments);
    if (result == taskLauncher::launched)
      ends();
    return result;
  }
  // Serves the loop until the text is part of what was delivered.
  bool receives(const std::string& part) {
    return loopUntil(loop, [&] { return recorder.text.find(part) != std::string::npos; });
  }

  PollRunLoop loop;
  LauncherRecorder recorder;
  taskLauncher launcher{loop};
};

}  // namespace tessarin::test
