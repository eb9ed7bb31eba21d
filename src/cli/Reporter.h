// What the command line tells the user. One interface; plain text for people, JSON for programs.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "classShared/Value.h"
#include "core/AnalysisQueue.h"
#include "core/EncodingDriver.h"
#include "core/rowResults.h"
#include "encoding/commandBuilder.h"
#include "jobs/forecast.h"

namespace tessarin::cli {

enum class RowState { waiting, inHand, converted, kept, failed };
using RowStateCount = std::map<RowState, std::size_t>;
RowState rowStateOf(const RowResult& result, bool isInHand);

class Reporter {
 public:
  virtual ~Reporter() = default;

  // A source, or an argument that gives none, for which nothing can be done.
  virtual void problem(const std::string& path, const std::string& reason) = 0;
  // The analysis has come this far; it is over.
  virtual void analysing(const AnalysisStand& stand) = 0;
  virtual void analysisEnded() = 0;
  // A row of the batch, and what its movie is going to be.
  virtual void analysed(const Row& row, const std::optional<Forecast>& movie) = 0;
  // The commands that would make the output of the row, in this order (commandsOfPlan()).
  virtual void planned(const Row& row, const std::string& output,
                       const std::vector<Arguments>& commands,
                       const std::optional<Forecast>& movie) = 0;
  // The movie of the row is there already and would stay, for this reason in the user's language.
  virtual void wouldKeep(const Row& row, const std::string& output, const std::string& reason) = 0;
  virtual void jobStarted(const std::string& source, const std::string& output) = 0;
  // At least one clip is in hand.
  virtual void progress(const BatchProgress& progress) = 0;
  // `isFine`: as the user wanted it.
  virtual void jobEnded(const JobEnd& end, bool isFine) = 0;
  // At the end of a batch: sources that were not there any more. Each had its jobEnded().
  virtual void missing(const std::vector<std::string>& sources) = 0;
  // Clips that were converted before, and are not again; what is wrong with the record of them, in
  // the user's language, or "".
  virtual void leftOut(const std::vector<std::string>& sources, const std::string& trouble) = 0;
  // A batch of this many rows has been written to a file.
  virtual void batchWritten(const std::string& path, std::size_t rows) = 0;
  // What became of a row of a batch file, by its number; whether a process converts it now.
  virtual void rowState(std::int64_t number, const RowResult& result, bool isInHand) = 0;
  virtual void batchState(const std::string& path, std::size_t rows, RowStateCount count) = 0;
  // Something that is no problem, in the user's language.
  virtual void note(const std::string& text) = 0;

  // Standard output takes no more, because its reader is gone or its disk is full.
  bool isLost() const { return isLost_; }

 protected:
  // A line on standard output.
  void print(std::string_view line);

 private:
  bool isLost_ = false;
};

std::unique_ptr<Reporter> textReporter();
std::unique_ptr<Reporter> jsonReporter();

}  // namespace tessarin::cli
