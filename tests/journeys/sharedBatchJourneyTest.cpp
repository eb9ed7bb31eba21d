// Rows of one batch file, converted by several runs.
#include <signal.h>

#include <fstream>

#include "Journey.h"
#include "core/BatchFile.h"
#include "core/rowResults.h"
#include "utils/files.h"

namespace tessarin {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class SharedBatchJourney : public test::Journey {
 protected:
  SharedBatchJourney() : file_(folder.file("tape.batch")) {
    leavesTemporaryFiles = true;  // of the run that is killed
    setVariable("XDG_STATE_HOME", folder.file("state"));
    setVariable("LC_ALL", "C");
    // Conversions of clips whose paths have the words of this file wait for as long as it is there.
    const std::string hold = folder.file("hold");
    useFfmpeg("case \"$*\" in *' -c:v '*) while [ -e " + hold + " ]; do case \"$*\" in *\"$(cat " +
              hold + ")\"*) sleep 0.02;; *) break;; esac; done;; esac\nexec \"$real\" \"$@\"\n");
    Arguments arguments = {"--batch", file_, "-d", destination(), "--prores", "proxy"};
    for (const char* name : {"a/1.mts", "b/1.mts", "c/1.mts"}) {
      mkdir(parentFolder(folder.file(name)));
      arguments.push_back(tinyClip(name));
    }
    EXPECT_EQ(tessarin(arguments).status, 0);
  }

  Arguments row(int number, const Arguments& more = {}) const {
    Arguments arguments = {"--batch", file_, "--row", std::to_string(number)};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return arguments;
  }
  std::string report() { return tessarin({"--batch", file_, "--report"}).out; }

  std::string file_;
};

TEST_F(SharedBatchJourney, RunsShareItsRowsAndLoseNone) {
  folder.write("hold", "");
  Run first = start(row(2));
  ASSERT_TRUE(eventually([this] { return isBeingMade("1-2.mov"); }));

  // Nobody else has that row meanwhile, or the whole file.
  EXPECT_THAT(tessarin(row(2)).err, HasSubstr("row 2 is being converted by another process"));
  for (const Arguments& whole :
       {Arguments{"--batch", file_},
        Arguments{"--batch", file_, "--overwrite", "replace", folder.file("a/1.mts")}}) {
    const Result refused = tessarin(whole);
    EXPECT_EQ(refused.status, 1);
    EXPECT_THAT(refused.err, HasSubstr("another run is working on this batch"));
  }
  EXPECT_THAT(report(), HasSubstr("3; 2 waiting, 1 in hand"));

  // A node that is lost leaves its row to the next one, and nothing of a movie.
  ::kill(first.process.pid(), SIGKILL);
  finish(first);
  std::filesystem::remove(folder.file("hold"));
  EXPECT_THAT(report(), HasSubstr("3; 3 waiting"));
  std::filesystem::create_symlink(file_, folder.file("link.batch"));
  Run third = start(row(3));
  const Result second = tessarin(row(2));
  EXPECT_EQ(second.status, 0) << second.err;
  EXPECT_EQ(second.err, "");
  EXPECT_EQ(finish(third).status, 0);
  EXPECT_THAT(movies(), ElementsAre("1-2.mov", "1-2.txt", "1-3.mov", "1-3.txt"));

  // Once is enough, unless the user wants it anew; a batch that is written anew starts anew.
  const auto made = fileState(movie("1-2.mov"));
  EXPECT_EQ(tessarin({"--batch", folder.file("link.batch"), "--row", "2"}).status, 0);
  EXPECT_EQ(fileState(movie("1-2.mov")), made);
  EXPECT_EQ(tessarin(row(2, {"--overwrite", "replace"})).status, 0);
  EXPECT_NE(fileState(movie("1-2.mov")), made);
  EXPECT_THAT(tessarin({"--batch", file_, "--report", "--json"}).out,
              HasSubstr("\"waiting\":1,\"inHand\":0,\"converted\":2,\"kept\":0,\"failed\":0}"));
  const Result whole = tessarin({"--batch", file_});
  EXPECT_EQ(whole.out, folder.file("a/1.mts") + " -> " + movie("1.mov") + "\n");
  EXPECT_EQ(tessarin({"--batch", file_, "--report"}).status, 0);
  EXPECT_EQ(tessarin({"--batch", file_, "--overwrite", "replace", folder.file("b/1.mts")}).status,
            0);
  EXPECT_THAT(report(), HasSubstr("1; 1 waiting"));
}

TEST_F(SharedBatchJourney, WhatIsInTheWayOrAwayIsLeftForTheNextTry) {
  // A movie of somebody's, which goes; a link in the place of a result.
  const std::string precious = folder.write("precious", "important");
  mkdir(folder.file("tape.batch.rows"));
  std::filesystem::create_symlink(precious, folder.file("tape.batch.rows/row-1.plist"));
  folder.write("movies/Tessarin/1.mov", "somebody's");
  EXPECT_EQ(tessarin(row(1)).status, 1);
  EXPECT_EQ(std::filesystem::file_size(precious), 9u);
  EXPECT_THAT(report(), HasSubstr("3; 2 waiting, 1 kept"));
  std::filesystem::remove(movie("1.mov"));

  // A clip that is away stays in the file, with its number.
  std::filesystem::rename(folder.file("b"), folder.file("away"));
  EXPECT_EQ(tessarin({"--batch", file_}).status, 1);
  EXPECT_THAT(report(), HasSubstr("    2  "));
  EXPECT_THAT(report(), HasSubstr("3; "));
  std::filesystem::rename(folder.file("away"), folder.file("b"));
  EXPECT_EQ(tessarin({"--batch", file_, "--overwrite", "replace"}).status, 0);
  for (const int number : {1, 2, 3})
    EXPECT_EQ(tessarin(row(number)).status, 0) << number;
  EXPECT_EQ(tessarin({"--batch", file_, "--report"}).status, 0);
}

TEST_F(SharedBatchJourney, AKilledRunOverTheWholeFileIsKnownByItsRows) {
  folder.write("hold", folder.file("b"));
  Run whole = start({"--batch", file_, "--jobs", "1"});
  ASSERT_TRUE(eventually([this] { return isBeingMade("1-2.mov"); }));
  EXPECT_THAT(report(), HasSubstr("3; 1 waiting, 1 in hand, 1 converted"));
  whole.process.sendSignal(SIGKILL);
  finish(whole);
  std::filesystem::remove(folder.file("hold"));
  EXPECT_THAT(report(), HasSubstr("3; 2 waiting, 1 converted"));
  const auto made = fileState(movie("1.mov"));
  for (const int number : {1, 2})
    EXPECT_EQ(tessarin(row(number)).status, 0) << number;
  const Result rest = tessarin({"--batch", file_});
  EXPECT_EQ(rest.out, folder.file("c/1.mts") + " -> " + movie("1-3.mov") + "\n");
  EXPECT_EQ(fileState(movie("1.mov")), made);
  EXPECT_EQ(tessarin({"--batch", file_, "--report"}).status, 0);
}

TEST_F(SharedBatchJourney, AnInterruptedRowIsRecoveredAsARow) {
  folder.write("hold", "");
  Run run = start(row(2));
  ASSERT_TRUE(eventually([this] { return isBeingMade("1-2.mov"); }));
  ::kill(run.process.pid(), SIGTERM);
  EXPECT_EQ(finish(run).status, 1);
  std::filesystem::remove(folder.file("hold"));
  EXPECT_EQ(tessarin({"--recover"}).status, 0);
  EXPECT_THAT(movies(), ElementsAre("1-2.mov", "1-2.txt"));
  EXPECT_THAT(report(), HasSubstr("3; 2 waiting, 1 converted"));
}

TEST_F(SharedBatchJourney, AResultIsOfTheSameWorkAndItsMovieIsThere) {
  const RowResults results(file_);
  const Row batchRow = readBatchFile(file_).batch.rows.front().row;
  const std::string whole = folder.write("work/1.mov", "a movie");
  mkdir(folder.file("movies/Tessarin"));
  ASSERT_TRUE(results.claim(1));
  ASSERT_TRUE(results.writeMovie(1, batchRow, {batchRow.path(), whole, movie("1.mov")}));
  // The process ended before the movie had its name, behind it, or somebody else's is there.
  EXPECT_FALSE(results.of(1, batchRow));
  std::filesystem::rename(whole, movie("1.mov"));
  ASSERT_TRUE(results.of(1, batchRow));
  EXPECT_EQ(results.of(1, batchRow)->row.movie, movie("1.mov"));
  Row other = batchRow;
  other.choice.speed = speedHalf;
  EXPECT_FALSE(results.of(1, other));
  std::ofstream(movie("1.mov"), std::ios::app) << "!";
  EXPECT_FALSE(results.of(1, batchRow));
  folder.write("tape.batch.rows/row-1.plist", "no property list");
  EXPECT_FALSE(results.of(1, batchRow));
}

}  // namespace
}  // namespace tessarin
