#include <nlohmann/json.hpp>

#include "analysis/sourceRecord.h"
#include "classShared/TextAdditions.h"
#include "cli/Reporter.h"
#include "encoding/BatchEntry.h"
#include "encoding/choiceWords.h"
#include "encoding/outputPreset.h"
#include "jobs/remarks.h"
#include "utils/fileSection.h"

namespace tessarin::cli {

namespace {

using Json = nlohmann::ordered_json;

Json jsonOf(const Value& value);

Json jsonOf(const Dico& record) {
  Json object = Json::object();
  for (const auto& [key, value] : record)
    object[key] = jsonOf(value);
  return object;
}

Json jsonOf(const Value& value) {
  if (const Dico* record = value.dico())
    return jsonOf(*record);
  if (const List* list = value.list()) {
    Json array = Json::array();
    for (const Value& item : *list)
      array.push_back(jsonOf(item));
    return array;
  }
  if (const auto text = value.text())
    return *text;
  if (value.isBoolean())
    return value.integer() != 0;
  if (value.isInteger())
    return *value.integer();
  if (const auto number = value.number())
    return *number;
  return value.description();
}

Json jsonOfMovie(const Forecast& movie) {
  Json leftOut = Json::array();
  for (const LeftOut& each : movie.leftOut)
    leftOut.push_back({{"kind", each.kind}, {"text", each.text}});
  Json sounds = Json::array();
  for (const ForecastSound& sound : movie.sounds) {
    sounds.push_back({{"channels", sound.channels}, {"rate", sound.rate}});
    if (!sound.language.empty())
      sounds.back()["language"] = sound.language;
  }
  Json made{{"codec", movie.codec},
            {"copy", movie.isCopy},
            {"width", movie.width},
            {"height", movie.height},
            {"rate", movie.rate},
            {"interlaced", movie.isInterlaced},
            {"channels", movie.sounds.empty() ? 0 : movie.sounds.front().channels},
            {"sounds", sounds},
            {"leftOut", leftOut}};
  if (!movie.flavour.empty())
    made["flavour"] = movie.flavour;
  return made;
}

// One object a line on standard output, each with its "event".
class JsonReporter final : public Reporter {
 public:
  void problem(const std::string& path, const std::string& reason) override {
    tell({{"event", "problem"}, {"source", path}, {"reason", reason}});
  }

  void analysing(const AnalysisStand&) override {}
  void analysisEnded() override {}

  void analysed(const Row& row, const std::optional<Forecast>& movie) override {
    Json info = jsonOf(recordOfSource(row.source));
    for (const char* key : {"srcPathStr", "parts", "soundFiles", "w_changed", "imgPathStr",
                            "remarks", "sizeOutPrevious", "softPrevious"})
      info.erase(key);
    if (const auto fields = row.source.pictures.fields)
      info["v0_fields"] = fieldsText(*fields);
    Json event{{"event", "analysed"},
               {"source", row.path()},
               {"progressive", row.isProgressive},
               {"target", targetWord(row.choice.target)},
               {"speed", speedWord(row.choice.speed)},
               {"size", trimmed(presetShortLabel(row.choice.sizeOut))},
               {"record", info},
               {"remarks", movie ? movie->remarks : remarkTexts(row.source)}};
    if (!row.source.furtherParts.empty())
      event["parts"] = partsOf(row.source);
    if (const auto section = sectionOf(row.path()))
      event["section"] = {
          {"file", section->file}, {"begin", section->begin}, {"end", section->end}};
    for (const Source::SoundFile& sound : row.source.soundFiles)
      event["soundFiles"].push_back(sound.path);
    if (movie)
      event["movie"] = jsonOfMovie(*movie);
    tell(event);
  }

  void planned(const Row& row, const std::string& output, const std::vector<Arguments>& commands,
               const std::optional<Forecast>& movie) override {
    if (movie)
      tell({{"event", "expected"},
            {"source", row.path()},
            {"output", output},
            {"movie", jsonOfMovie(*movie)},
            {"remarks", movie->remarks}});
    for (const Arguments& command : commands)
      tell(
          {{"event", "planned"}, {"source", row.path()}, {"output", output}, {"command", command}});
  }

  void wouldKeep(const Row& row, const std::string& output, const std::string& reason) override {
    tell({{"event", "kept"}, {"source", row.path()}, {"output", output}, {"reason", reason}});
  }

  void jobStarted(const std::string& source, const std::string& output) override {
    tell({{"event", "started"}, {"source", source}, {"output", output}});
  }

  // An event for each clip in hand; speed and time are those of the whole batch.
  void progress(const BatchProgress& progress) override {
    for (const BatchProgress::Clip& clip : progress.inHand) {
      Json event{{"event", "progress"},       {"source", clip.source},
                 {"row", clip.number},        {"rows", progress.rows},
                 {"fraction", clip.fraction}, {"batchFraction", progress.fraction}};
      if (progress.speed)
        event["speed"] = *progress.speed;
      if (progress.left)
        event["secondsLeft"] = *progress.left;
      tell(event);
    }
  }

  void jobEnded(const JobEnd& end, bool) override {
    static constexpr const char* names[] = {"converted", "kept", "failed", "stopped"};
    Json event{{"event", names[static_cast<int>(end.kind)]},
               {"source", end.source},
               {"output", end.output},
               {"duration", end.duration},
               {"elapsed", end.elapsed}};
    if (!end.reason.empty())
      event["reason"] = end.reason;
    if (end.kind == JobEnd::Kind::converted) {
      event["damagedPictures"] = end.damagedPictures;
      event["damagedSound"] = end.hasDamagedSound;
      event["moreFollows"] = end.hasMore;
    }
    tell(event);
  }

  void missing(const std::vector<std::string>& sources) override {
    tell({{"event", "missing"}, {"sources", sources}});
  }

  void leftOut(const std::vector<std::string>& sources, const std::string& trouble) override {
    Json event{{"event", "leftOut"}, {"sources", sources}};
    if (!trouble.empty())
      event["reason"] = trouble;
    tell(event);
  }

  void batchWritten(const std::string& path, std::size_t rows) override {
    tell({{"event", "batch"}, {"path", path}, {"rows", rows}});
  }

  void rowState(std::int64_t number, const RowResult& result, bool isInHand) override {
    Json event{{"event", "row"},
               {"row", number},
               {"state", wordOf(rowStateOf(result, isInHand))},
               {"source", result.row.path()}};
    const bool hasMovie = result.row.mark == RowMark::success && !isInHand;
    if (hasMovie)
      event["output"] = result.row.movie;
    if (const std::string& reason = hasMovie ? result.damage : result.row.reason;
        !reason.empty() && !isInHand)
      event["reason"] = reason;
    tell(event);
  }

  void batchState(const std::string& path, std::size_t rows, RowStateCount count) override {
    Json event{{"event", "report"}, {"path", path}, {"rows", rows}};
    for (int state = 0; state < static_cast<int>(std::size(stateWords)); ++state)
      event[stateWords[state]] = count[static_cast<RowState>(state)];
    tell(event);
  }

  void note(const std::string& text) override { tell({{"event", "note"}, {"text", text}}); }

 private:
  static constexpr const char* stateWords[] = {"waiting", "inHand", "converted", "kept", "failed"};
  static const char* wordOf(RowState state) { return stateWords[static_cast<int>(state)]; }

  void tell(const Json& event) {
    // File names may hold bytes that are no UTF-8; JSON may not.
    print(event.dump(-1, ' ', false, Json::error_handler_t::replace));
  }
};

}  // namespace

std::unique_ptr<Reporter> jsonReporter() {
  return std::make_unique<JsonReporter>();
}

}  // namespace tessarin::cli
