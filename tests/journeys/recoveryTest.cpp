// Runs that are killed, and what the next start makes of them.
#include <signal.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <map>
#include <random>
#include <sstream>
#include <thread>

#include "Journey.h"
#include "core/BatchFile.h"
#include "core/recovery.h"
#include "jobs/newRow.h"
#include "jobs/outputPlace.h"
#include "platform/propertyList.h"
#include "support/changesOf.h"
#include "support/sources.h"
#include "utils/files.h"

namespace tessarin {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

using SteadyClock = std::chrono::steady_clock;

class RecoveryTest : public test::Journey {
 protected:
  explicit RecoveryTest(const std::string& seconds = "0.2") {
    leavesTemporaryFiles = true;  // of killed runs
    for (const char* name : {"1.mts", "2.mts", "3.mts"})
      clips_.push_back(tinyClip(name, seconds));
    setVariable("XDG_STATE_HOME", folder.file("state"));
  }

  std::string batches() const { return folder.file("state/Tessarin/batches"); }
  Arguments conversion() const {
    Arguments arguments = {"-d", destination()};
    arguments.insert(arguments.end(), clips_.begin(), clips_.end());
    return arguments;
  }

  std::vector<std::string> clips_;
};

// What happened in how many of the runs.
struct KilledRuns {
  int recovered = 0;
  int withFinishedRows = 0;
  int withPartialMovie = 0;
  int notBegun = 0;  // nothing was stored yet
  int hadEnded = 0;
};

// Runs whose conversions take about as long as the rest.
class KilledRunTest : public RecoveryTest {
 protected:
  // Of whole pictures, which every target takes.
  KilledRunTest() {
    for (const std::string& clip : clips_)
      EXPECT_TRUE(test::makeClip(test::progressivePicture("1280x720", "1") + test::tone("1") +
                                     "-c:v libx264 -preset ultrafast -c:a ac3",
                                 clip));
  }

  // How many pictures a player finds; 0 in a file that is no whole movie.
  static int pictures(const std::string& movie) {
    const auto counted = test::runShell(
        "ffprobe -v error -count_frames -select_streams v -show_entries stream=nb_read_frames "
        "-of csv=p=0 " +
        test::quoted(movie));
    return counted.status == 0 ? static_cast<int>(leadingInteger(counted.output)) : 0;
  }
  // Of each movie of a finished row, the file as it is now. Every one of them has to be whole.
  std::map<std::string, std::optional<FileState>> finishedMovies() const {
    std::map<std::string, std::optional<FileState>> finished;
    for (const std::string& name : namesIn(batches()))
      for (const std::string& row : namesIn(batches() + "/" + name)) {
        if (!startsWith(row, "row-"))
          continue;
        const auto content = readPropertyList(batches() + "/" + name + "/" + row);
        EXPECT_TRUE(content) << row << " is damaged";
        const Dico* entry = content ? content.value().dico()->dico("row") : nullptr;
        if (!entry || entry->text("resultat") != "puceSuccess")
          continue;
        const std::string path = entry->textOrEmpty("dstPathStr");
        EXPECT_EQ(pictures(path), clipPictures) << path << " is called a success";
        finished[path] = fileState(path);
      }
    return finished;
  }
  // Processes that have something to do with this test.
  std::vector<std::string> left() const {
    std::vector<std::string> found;
    for (const std::string& name : namesIn("/proc")) {
      // A process may end while this is read.
      std::ostringstream line;
      line << std::ifstream("/proc/" + name + "/cmdline").rdbuf();
      if (leadingInteger(name) != ::getpid() && contains(line.str(), folder.path()))
        found.push_back(replaceAll(line.str(), std::string_view("\0", 1), " "));
    }
    return found;
  }

  // One of each clip, whatever they are called, and nothing else but their texts.
  void expectWholeMovies() const {
    std::size_t whole = 0;
    for (const std::string& name : movies()) {
      EXPECT_TRUE(!contains(name, "failure") && !startsWith(name, ".")) << name;
      if (!endsWith(name, ".mov"))
        continue;
      EXPECT_EQ(pictures(movie(name)), clipPictures) << name;
      ++whole;
    }
    EXPECT_EQ(whole, clips_.size());
  }
  // Every target, one clip at a time and all of them.
  static constexpr int kinds = 6;
  Arguments conversionOf(int kind) const {
    Arguments arguments = conversion();
    const char* targets[] = {"prores", "aic", "quicktime"};
    arguments.insert(arguments.begin(), {"--format", targets[kind / 2], "--size", "same", "--jobs",
                                         kind % 2 == 0 ? "1" : "3"});
    return arguments;
  }
  void killAfter(std::chrono::microseconds time, const Arguments& arguments);

  static constexpr int clipPictures = 25;
  KilledRuns runs_;
};

// One run that is killed at this time, and all that has to hold after it.
void KilledRunTest::killAfter(std::chrono::microseconds time, const Arguments& arguments) {
  std::filesystem::remove_all(destination());
  Run run = start(arguments);
  std::this_thread::sleep_for(time);
  run.process.sendSignal(SIGKILL);
  const Result killed = finish(run);
  EXPECT_TRUE(eventually([this] { return left().empty(); })) << left().front();
  // Before the sources are taken in there is nothing to recover, nor when the batch has ended.
  const auto stored = namesIn(batches());
  const bool isStored = !stored.empty() && !startsWith(stored[0], ".");
  const bool hadEnded = !isStored && !killed.out.empty();
  const auto finished = finishedMovies();
  const auto files = movies();
  const bool hasPartialMovie = std::any_of(files.begin(), files.end(), [](const std::string& name) {
    return startsWith(name, ".tessarin-");
  });
  for (const std::string& line : killed.lines())
    EXPECT_TRUE(hadEnded || finished.contains(std::string(*textAfter(line, " -> "))))
        << line << " is not stored";

  const Result recovered = tessarin({"--recover"});
  EXPECT_EQ(recovered.status, 0) << recovered.err;
  EXPECT_THAT(namesIn(batches()), IsEmpty());
  EXPECT_THAT(left(), IsEmpty());
  for (const auto& [path, mark] : finished)
    EXPECT_EQ(fileState(path), mark) << path << " was converted again";
  if (!isStored) {
    EXPECT_EQ(recovered.out, "there is nothing to recover\n");
  }
  if (!isStored && !hadEnded) {
    EXPECT_THAT(files, IsEmpty());
  } else {
    expectWholeMovies();
  }
  ++(isStored ? runs_.recovered : hadEnded ? runs_.hadEnded : runs_.notBegun);
  runs_.withFinishedRows += finished.empty() ? 0 : 1;
  runs_.withPartialMovie += hasPartialMovie ? 1 : 0;
}

TEST_F(KilledRunTest, EveryClipIsConvertedWheneverTheRunIsKilled) {
  std::array<std::chrono::microseconds, kinds> lengths;
  for (int kind = 0; kind < kinds; ++kind) {
    std::filesystem::remove_all(destination());
    const auto begin = SteadyClock::now();
    ASSERT_EQ(tessarin(conversionOf(kind)).status, 0);
    lengths.at(static_cast<std::size_t>(kind)) =
        std::chrono::duration_cast<std::chrono::microseconds>(SteadyClock::now() - begin);
    expectWholeMovies();
  }

  const char* asked = std::getenv("TESSARIN_KILLS");
  const int kills = asked != nullptr ? std::max(1, std::atoi(asked)) : 6;
  std::mt19937 random(std::random_device{}());
  for (int kill = 0; kill < kills && !HasFailure(); ++kill) {
    // Every kind in turn, at a random moment of each part of the run.
    const int kind = kill % kinds;
    const int part = kill / kinds;
    const int parts = (kills + kinds - 1 - kind) / kinds;
    const auto length = lengths.at(static_cast<std::size_t>(kind));
    const auto time = std::chrono::duration_cast<std::chrono::microseconds>(
        (part + std::uniform_real_distribution<double>(0, 1)(random)) / parts * length);
    SCOPED_TRACE(testing::Message() << "kind " << kind << " killed after " << time.count()
                                    << " us of " << length.count());
    killAfter(time, conversionOf(kind));
  }
  std::printf(
      "%d runs killed: %d recovered (%d with finished rows, %d with a partial movie), %d before "
      "anything was stored, %d after the last row\n",
      kills, runs_.recovered, runs_.withFinishedRows, runs_.withPartialMovie, runs_.notBegun,
      runs_.hadEnded);
}

TEST_F(RecoveryTest, ALaterRunRemovesThePartialMovieAndSaysHowToGoOn) {
  useFfmpeg(
      "case \" $* \" in *' -c:v '*) if test -e slow; then\n"
      "  for output; do :; done; echo partial > \"$output\"; exec sleep 100\n"
      "fi ;; esac\n"
      "exec $real \"$@\"");
  folder.write("slow", "");
  setVariable("PWD", folder.path());
  Run run =
      start({"-d", destination(), "--format", "prores", "--prores", "hq", clips_[0], clips_[1]});
  ASSERT_TRUE(eventually([this] { return isBeingMade("1.mov"); }));
  run.process.sendSignal(SIGKILL);
  finish(run);
  std::filesystem::remove(folder.file("slow"));

  // Beside a run that goes on nothing is touched; here none does.
  Result result = tessarin({"analyse", clips_[2]});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "tessarin: an interrupted batch can be finished with tessarin --recover\n");
  EXPECT_THAT(movies(), IsEmpty());

  // Converted in another run meanwhile: not touched by the recovery, which was told to ask.
  result = tessarin({"-d", destination(), clips_[1]});
  EXPECT_EQ(result.status, 0);
  const auto second = fileState(movie("2.mov"));
  result = tessarin({"--recover"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(fileState(movie("2.mov")), second);
  EXPECT_THAT(result.out, StartsWith(clips_[0] + " -> " + movie("1.mov") + "\n"));
  EXPECT_THAT(result.err, HasSubstr("was there already and was kept"));
  EXPECT_THAT(
      test::runShell("ffprobe -v error -show_streams " + test::quoted(movie("1.mov"))).output,
      HasSubstr("codec_tag_string=apch"))
      << "the choices of the interrupted run";
  EXPECT_THAT(namesIn(batches()), IsEmpty());
  EXPECT_EQ(tessarin({"--recover"}).out, "there is nothing to recover\n");
}

TEST_F(RecoveryTest, NamesFollowThePatternThatWasGivenAtFirst) {
  useFfmpeg(
      "case \" $* \" in *' -c:v '*) test ! -e slow || exec sleep 100 ;; esac\n"
      "exec $real \"$@\"");
  folder.write("slow", "");
  setVariable("PWD", folder.path());
  Run run = start({"-d", destination(), "--name", "Trip {make} {title}", clips_[0], clips_[1]});
  ASSERT_TRUE(eventually([this] { return !namesIn(destination() + "/Tessarin").empty(); }));
  run.process.sendSignal(SIGKILL);
  finish(run);
  std::filesystem::remove(folder.file("slow"));
  const Result recovered = tessarin({"--recover"});
  EXPECT_EQ(recovered.status, 0) << recovered.err;
  EXPECT_THAT(movies(), ElementsAre("Trip 1.mov", "Trip 1.txt", "Trip 2.mov", "Trip 2.txt"));

  const std::string file = folder.file("clips.batch");
  const std::string other = folder.file("other");
  EXPECT_EQ(tessarin({"--batch", file, "-d", other, "--name", "A {title}", clips_[0]}).status, 0);
  EXPECT_EQ(tessarin({"--batch", file}).out, clips_[0] + " -> " + other + "/Tessarin/A 1.mov\n");
  EXPECT_THAT(tessarin({"plan", "-d", other, "--name", "A {title}", clips_[1], clips_[0]}).out,
              HasSubstr("'" + other + "/Tessarin/A 2.mov'"));
}

TEST_F(RecoveryTest, ARunThatLivesIsNotInterrupted) {
  useFfmpeg(
      "case \" $* \" in */1.mts*' -c:v '*) exec $real -readrate 0.0001 \"$@\" ;; esac\n"
      "exec $real \"$@\"");
  Run run = start({"-d", destination(), clips_[0]});
  ASSERT_TRUE(eventually([this] { return isBeingMade("1.mov"); }));
  EXPECT_EQ(tessarin({"--recover"}).out, "there is nothing to recover\n");
  EXPECT_EQ(tessarin({"analyse", clips_[1]}).err, "");
  EXPECT_EQ(tessarin({"-d", destination(), clips_[1]}).status, 0);
  EXPECT_TRUE(isBeingMade("1.mov"));
  run.process.sendSignal(SIGTERM);
  EXPECT_EQ(finish(run).status, 1);
  EXPECT_THAT(movies(), ElementsAre("2.mov", "2.txt"));

  // The end of the session is not the user's wish; giving up is.
  EXPECT_THAT(tessarin({"analyse", clips_[1]}).err, HasSubstr("tessarin --recover"));
  EXPECT_EQ(tessarin({"--forget"}).status, 0);
  EXPECT_THAT(namesIn(batches()), IsEmpty());
  EXPECT_EQ(tessarin({"analyse", clips_[1]}).err, "");
}

TEST_F(RecoveryTest, ADamagedRowIsToldAndTheRestIsConverted) {
  StoredBatch content;
  content.settings = {{"choices", Dico{{"prefDefautDstPathStr", destination()}}}};
  content.waiting = {clips_[0], clips_[1]};
  content.rows = {{1, newRow(test::sourceOf({{"srcPathStr", clips_[2]}}), {})}};
  std::string stored;
  {
    auto store = BatchStore::create(batches(), test::changesOf(content));
    ASSERT_TRUE(store);
    stored = store->folder();
  }
  std::filesystem::resize_file(stored + "/row-1.plist", 10);
  const Result result = tessarin({"--recover"});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.err, HasSubstr("row-1.plist: this stored clip cannot be read"));
  EXPECT_THAT(movies(), ElementsAre("1.mov", "1.txt", "2.mov", "2.txt"));
}

TEST_F(RecoveryTest, ABatchFileIsWrittenConvertedAndKeepsItsResults) {
  const std::string file = folder.file("clips.batch");
  Result result =
      tessarin({"--batch", file, "-d", destination(), "--prores", "proxy", clips_[0], clips_[1]});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out, file + ": clips in the batch: 2; convert it with tessarin --batch\n");
  EXPECT_THAT(movies(), IsEmpty());

  // Not replaced by chance, and never when it is something else.
  EXPECT_EQ(tessarin({"--batch", file, clips_[2]}).status, 1);
  EXPECT_EQ(tessarin({"--batch", clips_[2], "--overwrite", "replace", clips_[0]}).status, 1);
  EXPECT_EQ(tessarin({"--batch", clips_[2]}).status, 1);
  EXPECT_EQ(tessarin({"--batch", "/proc/x", clips_[0]}).status, 1);
  EXPECT_THAT(namesIn(batches()), IsEmpty());
  EXPECT_EQ(readBatchFile(file).batch.rows.size(), 2u);
  EXPECT_TRUE(std::filesystem::equivalent(clips_[2], folder.file("3.mts")));

  // What was found in a clip does not hold for another that took its name.
  const auto size = std::filesystem::file_size(clips_[1]);
  std::filesystem::resize_file(clips_[1], size + 188);
  result = tessarin({"--batch", file});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "tessarin: " + clips_[1] +
                            ": the clip is not the one that was looked at: its file has another "
                            "size now; add it anew\n");
  EXPECT_THAT(movies(), ElementsAre("1.mov", "1.txt"));
  std::filesystem::resize_file(clips_[1], size);

  result = tessarin({"--batch", file});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_THAT(movies(), ElementsAre("1.mov", "1.txt", "2.mov", "2.txt"));
  for (const StoredRow& row : readBatchFile(file).batch.rows)
    EXPECT_EQ(row.row.mark, RowMark::success);
  const auto first = fileState(movie("1.mov"));
  result = tessarin({"--batch", file, "--overwrite", "replace"});
  EXPECT_EQ(result.out, "all clips of the batch are converted already\n");
  EXPECT_EQ(fileState(movie("1.mov")), first);
}

// A batch that somebody else wrote asks for nothing but clips to be converted.
TEST_F(RecoveryTest, AHostileBatchTouchesNoFileOfTheUser) {
  const std::string file = folder.file("clips.batch");
  ASSERT_EQ(tessarin({"--batch", file, "-d", destination(), clips_[0]}).status, 0);
  const Dico written = *readPropertyList(file).value().dico();
  const Dico row = *written.list("rows")->front().dico();
  const auto withRow = [&written](const Dico& changed) {
    Dico content = written;
    content.set("rows", List{Value(changed)});
    return content;
  };

  std::vector<std::string> victims;
  Dico hostile = *row.dico("dico");
  for (const char* key : {"postProcessPurge", "purgePathStr1", "slowPathStr", "imgPathStr"}) {
    victims.push_back(folder.write(std::string(key) + ".mov", "precious"));
    hostile.set(key, victims.back());
  }
  for (const char* flag : {"encQtEnc", "encV", "encFin"})
    hostile.set(flag, 1);
  Dico changed = row;
  changed.set("dico", hostile);
  Dico content = withRow(changed);
  const Dico choices = *written.dico("settings")->dico("choices");
  content.set("settings", Dico{{"choices", choices}, {"replaceFilesCheck", "replace"}});
  victims.push_back(folder.write("movies/Tessarin/1.mov", "precious"));
  ASSERT_TRUE(writePropertyList(file, content));
  Result result = tessarin({"--batch", file});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.err, HasSubstr("was there already and was kept"));
  std::filesystem::remove(victims.back());
  ASSERT_TRUE(writePropertyList(file, content));
  result = tessarin({"--batch", file});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_THAT(movies(), ElementsAre("1.mov", "1.txt"));
  victims.pop_back();

  // The same in a folder that a crash has left, with a file that the results are to go into.
  std::filesystem::remove_all(folder.file("movies"));
  victims.push_back(folder.write("results.txt", "precious"));
  BatchChanges stored;
  stored.settings = Dico{{"choices", choices}, {"front", Dico{{"batchFile", victims.back()}}}};
  {
    const auto store = BatchStore::create(batches(), stored);
    ASSERT_TRUE(store);
    ASSERT_TRUE(writeBatchPart(joinPath(store->folder(), "row-1.plist"),
                               {{"order", 1}, {"row", changed}}, FolderSync::now));
  }
  result = tessarin({"--recover"});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(movies(), ElementsAre("1.mov", "1.txt"));
  EXPECT_THAT(result.errorLines(), ElementsAre(HasSubstr("results.txt: the file is no batch")));
  tessarin({"--forget"});

  for (const std::string& victim : victims)
    EXPECT_EQ(folder.read(fileName(victim)), "precious") << victim;

  // Values that no row can have: one line, and nothing is done.
  for (const auto& [key, value] : {std::pair<const char*, Value>{"sizeOut", 99999999},
                                   {"out", -5},
                                   {"fps", 7},
                                   {"dstPathStr", "/bin/sh"}}) {
    Dico wrong = row;
    wrong.set(key, value);
    ASSERT_TRUE(writePropertyList(file, withRow(wrong)));
    result = tessarin({"--batch", file});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.errorLines(),
                ElementsAre(HasSubstr("clip 1 of this batch holds a value that cannot be right")));
  }
}

TEST_F(RecoveryTest, WrongUseIsRefused) {
  for (const Arguments& arguments : {Arguments{"--recover", clips_[0]},
                                     {"--recover", "--forget"},
                                     {"--recover", "-d", "x"},
                                     {"--recover", "--name", "x"},
                                     {"--name", "{day}", clips_[0]},
                                     {"--name", "", clips_[0]},
                                     {"analyse", "--recover"},
                                     {"plan", "--batch", "b", clips_[0]},
                                     {"--batch", "b", "--speed", "half"},
                                     {"--batch"}}) {
    const Result result = tessarin(arguments);
    EXPECT_EQ(result.status, 2) << joinTexts(arguments, " ");
    EXPECT_EQ(result.errorLines().size(), 1u) << result.err;
  }
}

}  // namespace
}  // namespace tessarin
