// One run of ffmpeg: what it writes is read here, what it complains of is kept.
#pragma once

#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "classShared/Outcome.h"
#include "platform/ChildProcess.h"

namespace tessarin::movtool {

// The ffmpeg to run: the one beside this program, else the installed one. A sentence for the user
// when there is none.
Outcome<std::string> ffmpegProgram();

// Ends with this object. In our own process group, so that who pauses us pauses it, too.
class FfmpegRun {
 public:
  // What is kept of what ffmpeg says: all, or not how it understands the clip.
  enum class Report { whole, troubles };

  static Outcome<FfmpegRun> start(const std::string& program,
                                  const std::vector<std::string>& arguments,
                                  Report kind = Report::whole);

  FfmpegRun(FfmpegRun&&) = default;
  FfmpegRun& operator=(FfmpegRun&&) = delete;
  ~FfmpegRun();

  // Standard output; owned by this object.
  int output() const { return output_.number(); }
  // Reads the output to its end.
  std::string readOutput();

  // Waits for the end. A failure says why the run went wrong, in ffmpeg's words.
  Outcome<bool> finish();
  // What it wrote on standard error; after finish().
  const std::string& report() const { return errors_->text; }
  // Writes what it has said so far to our own standard error, and from now on all that it says.
  void passOnFromNow();
  // Writes the report to our own standard error, for whoever counts damage, line by line behind the
  // mark, unless it is there already; after finish().
  void passOnReport(std::string_view mark) const;

 private:
  // Standard error, read in a thread so that ffmpeg never waits.
  struct Errors {
    Descriptor pipe;
    Report kind = Report::whole;
    std::mutex mutex;  // guards the two
    std::string text;
    bool passedOn = false;
    std::thread thread;
    void readAll();
    void take(std::string_view bytes);
  };

  FfmpegRun(ChildProcess child, Descriptor output, Descriptor errors, Report kind);

  std::unique_ptr<Errors> errors_;
  Descriptor output_;
  ChildProcess child_;
};

}  // namespace tessarin::movtool
