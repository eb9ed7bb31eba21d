// A user at a shell: runs the finished program with a home of the test's own.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "classShared/TextAdditions.h"
#include "platform/ChildProcess.h"
#include "support/ScopedTemporaryFolder.h"
#include "support/clips.h"
#include "support/places.h"

namespace tessarin::test {

class Journey : public testing::Test {
 protected:
  struct Result {
    int status = -1;  // as the shell says it: 128 + signal for one that a signal ended
    std::string out;
    std::string err;

    std::vector<std::string> lines() const { return linesOf(out); }
    std::vector<std::string> errorLines() const { return linesOf(err); }

   private:
    static std::vector<std::string> linesOf(const std::string& text);
  };

  // A run that has not ended yet.
  struct Run {
    ChildProcess process;
    std::string outPath;
    std::string errPath;
  };

  Journey();
  // Every run leaves the folder for temporary files as it found it, unless a test says otherwise.
  void TearDown() override;

  static std::string program() { return test::builtFile("bin/tessarin"); }

  // Runs the program to its end.
  Result tessarin(const Arguments& arguments);
  Run start(const Arguments& arguments);
  // Any program by its path, with the environment of the test.
  Run startProgram(const std::string& path, const Arguments& arguments);
  // Waits for the end; fails after a time that only a hang can take.
  Result finish(Run& run);

  // "NAME=value" entries of the next runs.
  const std::vector<std::string>& environment() const { return environment_; }
  void setVariable(const std::string& name, const std::string& value);
  // The runs find this shell script instead of ffmpeg. "$real" is the real one, and the
  // arguments of a conversion hold " -c:v ".
  void useFfmpeg(const std::string& script);

  // A clip that is quick to make and to convert: 352x288, interlaced, top field first, 25 frames
  // a second, sound. Its name is the path below the folder.
  std::string tinyClip(const std::string& name, const std::string& seconds = "0.2");

  std::string movie(const std::string& name) const {
    return folder.file("movies/Tessarin/" + name);
  }
  std::vector<std::string> movies() const { return namesIn(folder.file("movies/Tessarin")); }
  // Whether a run is writing the movie of this name.
  bool isBeingMade(const std::string& name) const;
  // What --destination takes.
  std::string destination() const { return folder.file("movies"); }

  // The sorted names of a folder's entries; none when there is no such folder.
  static std::vector<std::string> namesIn(const std::string& path);
  // Looks every few milliseconds; true when the condition came to hold before a hang is certain.
  static bool eventually(const std::function<bool()>& condition);

  ScopedTemporaryFolder folder;
  bool leavesTemporaryFiles = false;

 private:
  std::vector<std::string> environment_;
  int runs_ = 0;
};

}  // namespace tessarin::test
