// The making of one movie.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "encoding/Row.h"
#include "ffmpeg/packetMeter.h"
#include "jobs/BatchProgress.h"
#include "jobs/JobTool.h"
#include "jobs/LaterStep.h"
#include "jobs/convertedRecord.h"
#include "jobs/jobPlan.h"
#include "jobs/joinedParts.h"
#include "jobs/movieLook.h"
#include "jobs/outputPlace.h"
#include "movie/movieIndex.h"
#include "platform/Alerts.h"
#include "platform/RunLoop.h"

namespace tessarin {

// How a job ended.
struct JobEnd {
  enum class Kind {
    converted,
    kept,     // the output was there already and the user wanted it kept
    failed,   // for the reason given
    stopped,  // by the user
  };
  Kind kind = Kind::failed;
  std::string source;
  std::string output;  // the movie; of a failed job what is left of it, "" when nothing is
  // In the user's language; of a converted job what is damaged in it, "" when nothing is.
  std::string reason;
  // Of a converted job: pictures of the source that are damaged or missing in the movie.
  std::size_t damagedPictures = 0;
  bool hasDamagedSound = false;
  bool hasMore = false;              // another movie follows in the source and is left out
  std::vector<ClipFile> files = {};  // of the clip, as they were converted
  double duration = 0;               // seconds of the movie
  double elapsed = 0;                // seconds that the job took

  // Whether there is a new movie of all that the source holds.
  bool isWhole() const {
    return kind == Kind::converted && damagedPictures == 0 && !hasDamagedSound && !hasMore;
  }
};

// A movie that is whole and about to be moved to its name.
struct FinishedMovie {
  std::string source;
  std::string path;    // where it is
  std::string output;  // where it goes to
  bool isUndamaged = true;
};

// Owns its steps, its tools, its private folder in the destination and its outcome. It knows
// nothing of windows, tables or other jobs: whoever runs it tells it what it needs, and is its
// host. A step is a function of its own and is done from the loop; what it starts comes back
// there. Destroying the job ends its tools and removes its folder without a word.
class ConversionJob {
 public:
  // In the order in which a job comes to them.
  enum class Step { prepare, encode, slow, takeSlowed, exportMovie, check, end };

  struct Order {
    Row row;
    std::string output;       // where the movie goes to
    std::string destination;  // the folder of the user's choice
    std::string flavour;      // of ProRes, four characters
    std::string format;       // what the target is called in the text beside the movie
    bool isOnSource = false;  // the output is a source of the batch
    // What comes to the output's name meanwhile stays, and nobody is asked.
    bool leavesOthers = false;
    // Each step waits, in the loop, until the disks of source and destination answer.
    bool asksDisksFirst = false;
  };

  // May stop the job from inside any of these; may destroy it from the loop alone.
  class Host {
   public:
    // Before anything is looked at.
    virtual void begins(const ConversionJob& job) = 0;
    // Its next step or its record is another than before; the step is taken.
    virtual void changed(const ConversionJob& job) = 0;
    virtual void takesStep(const ConversionJob& job) = 0;
    // Whether what has the movie's name is to be replaced: answered now or later.
    virtual void mayReplace(const std::string& output, std::function<void(bool)> answered) = 0;
    // The job is about to make this folder and to write everything into it.
    virtual void makesFolder(const std::string& source, const std::string& folder) = 0;
    virtual void hasMovie(const FinishedMovie& movie) = 0;
    // The name for a movie whose own is taken meanwhile.
    virtual std::string otherOutput(const std::string& output) = 0;
    // A tool begins, whose work is called so; is so far; is gone.
    virtual void toolBegins(const ConversionJob& job, const std::string& action,
                            double maximum) = 0;
    virtual void toolProgressed(const ConversionJob& job, const ToolProgress& progress) = 0;
    virtual void toolEnded(const ConversionJob& job) = 0;
    // The job is over, and nothing more comes of it.
    virtual void ended(const ConversionJob& job, const JobEnd& end) = 0;

   protected:
    ~Host() = default;
  };

  // All are borrowed.
  ConversionJob(RunLoop& loop, Alerts& alerts, Host& host, Order order);
  ConversionJob(const ConversionJob&) = delete;
  ConversionJob& operator=(const ConversionJob&) = delete;

  void start() { go(Step::prepare); }
  // The user's: what is made goes, and `jobEnded` tells it. It does not wait for a disk that hangs:
  // what is made there goes once that answers.
  void stop();
  // Its tool, until it is resumed.
  void suspend() { tool_.suspend(); }
  void resume() { tool_.resume(); }
  // No further step is taken until it is released.
  void hold() { next_.hold(); }
  void release() { next_.release(); }
  // Ends the tool without a word; the job is of no further use.
  void abandon();

  const Row& row() const { return order_.row; }
  const std::string& output() const { return order_.output; }
  // That is next, or is being taken.
  Step step() const { return step_; }
  bool isInStep() const { return isInStep_; }
  bool isOver() const { return isOver_; }
  bool hasTool() const { return tool_.isRunning(); }
  bool waitsForDisk() const { return next_.waitsForDisk(); }
  // Whether the movie is being looked at, for which there is no tool.
  bool isLooking() const { return step_ == Step::check && look_.isOpen(); }
  // How far it is, 0 to 1; the movie that it makes is this long, in seconds, 0: not known.
  double fraction() const { return progress_.fraction(); }
  double movieSeconds() const { return plan_ ? plan_->seconds : 0; }
  // All that is known of it, as it is shown to others.
  Dico record() const;

 private:
  std::vector<std::string> disks() const;
  std::vector<std::string> allDisks() const;
  void go(Step step);
  void perform();
  void prepare();
  std::optional<std::string> refusal() const;
  std::optional<std::string> refusalOfFiles() const;
  bool hasRoom();
  void askForPlace();
  void placeGranted(bool replace);
  void lookForJoints();
  void jointsAreKnown(bool isRead);
  void encode();
  void slow();
  void takeSlowed();
  void exportMovie();
  void startTool(const Arguments& command, ParseMode parseMode, double maximum);
  void toolEnded(const ToolEnd& end);
  Step stepBehindTool() const;

  // Of all its files.
  double sourceBytes() const;

  // What looks at the movie behind the last tool that makes it (ConversionJobCheck.cpp).
  void check();
  void judge(MovieLook look);
  void measure();
  void lookEnded(const ToolEnd& end);
  void packetsRead(const ToolEnd& end);
  void judgeMeasure();
  void capDamage();
  void countDamage();
  void countDamageOfSounds();
  void startReading();

  void fail(const std::string& reason);
  // The cause is the system's, "" when it is not known.
  std::string whyDestination(const std::string& cause = "") const;
  std::string whyNoMovie() const;  // why a tool that ended well wrote nothing
  void endStopped(std::vector<std::string> disks);
  void end();
  Outcome<void> moveIntoPlace(JobEnd& end);
  void writeReadMe(const JobEnd& end);

  Alerts& alerts_;
  Host& host_;
  Order order_;
  Step step_ = Step::prepare;
  bool isInStep_ = false;
  std::optional<JobPlan> plan_;
  std::vector<ClipFile> files_;  // of the source
  std::chrono::steady_clock::time_point begin_;
  std::string forecast_;                 // lines of the text beside the movie
  std::optional<JobEnd::Kind> outcome_;  // settled before the end; nothing: judge the output
  std::string reason_;
  bool isOver_ = false;

  std::string folderPath_;  // of the folder that it has or will have
  PrivateFolder folder_;
  std::string work_;          // where its movie is made
  std::string slowed_;        // the slowed copy, "" for none
  std::string master_;        // what the export reads, "" for none
  bool isReplacing_ = false;  // what has the movie's name
  bool isExporting_ = false;

  enum class Looking { atNothing, atJoints, atPackets, atBytes };
  Looking looking_ = Looking::atNothing;
  ClipProgress progress_;
  bool knowsJoints_ = false;
  PartList parts_;                // the recordings in the source, in order
  RunTroubles troubles_;          // of the first tool, which reads the source
  bool isAsLongAsKnown_ = false;  // the movie, by what the analysis knows
  PacketMeter meter_;
  SourceMeasure measure_;
  RunTroubles measureTroubles_;
  MovieIndex movie_;
  std::size_t damagedPictures_ = 0;
  std::size_t spoiltInTools_ = 0;  // those of them that a tool told of
  std::size_t damagedSound_ = 0;
  std::optional<std::uint64_t> promisedPictures_;  // by the index of an AVI file
  double emptyEnds_ = 0;                           // share of the source's file
  bool hasMore_ = false;
  Dico measured_;

  JobTool tool_;
  DiskQuestion look_;  // at the movie; of a stopped job at its disks
  LaterStep next_;
  std::shared_ptr<bool> isThere_ = std::make_shared<bool>(true);  // for answers that come late
};

}  // namespace tessarin
