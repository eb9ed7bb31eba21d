// A whole controller for tests: real tools, a real loop, a user from a script.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "analysis/codecInventory.h"
#include "core/appDelegate.h"
#include "platform/PollRunLoop.h"
#include "support/LogCapture.h"
#include "support/ScopedTemporaryFolder.h"
#include "support/ScriptedAlerts.h"
#include "support/TestBundle.h"
#include "support/clips.h"
#include "utils/files.h"

namespace tessarin::test {

class CoreFixture : public testing::Test {
 protected:
  CoreFixture() {
    if (!codecInventory().prores)
      takeCodecInventory();
    app.interface.destination.setText(folder.file("movies"));
    app.queue().refused.connect([this](const std::string& path, const std::string& reason) {
      refused.emplace_back(path, reason);
    });
    app.queue().finished.connect([this] { loop.stop(0); });
    app.driver().jobEnded.connect([this](const JobEnd& end) { ended.push_back(end); });
    app.driver().batchEnded.connect([this] { loop.stop(0); });
    app.driver().batchRefused.connect([this](const std::string&) { loop.stop(1); });
  }

  // Serves the loop until it is stopped; fails after a time that only a hang can take.
  void serve() {
    const auto watchdog = loop.runAfter(std::chrono::seconds(60), [this] {
      ADD_FAILURE() << "nothing happened any more";
      loop.stop(1);
    });
    loop.run();
    loop.cancel(watchdog);
  }

  void analyse(const std::vector<std::string>& paths) {
    app.draggedFiles(paths);
    serve();
  }

  void convert() {
    app.iba_batchGoBt();
    serve();
  }

  RowMark mark(int row) { return app.table().row(row).mark; }
  std::string movie(const std::string& name) const {
    return folder.file("movies/Tessarin/" + name);
  }

  ScopedTemporaryFolder folder;
  TestBundle bundle;
  LogCapture log;
  PollRunLoop loop;
  ScriptedAlerts alerts;
  MemoryUserDomain domain;
  PreferenceStore preferences{domain};
  std::vector<std::string> revealed;
  appDelegate app{
      {loop, preferences, alerts, [this](const std::string& path) { revealed.push_back(path); }}};
  std::vector<std::pair<std::string, std::string>> refused;
  std::vector<JobEnd> ended;
};

}  // namespace tessarin::test
