// Rows of a batch from elsewhere, and everything that is decided by one before it is converted. An
// input is entries one after another: a byte for the key, one for the kind of value, the value.
#include <array>

#include "Input.h"
#include "analysis/sourceRecord.h"
#include "core/clipWords.h"
#include "core/storedRow.h"
#include "encoding/commandBuilder.h"
#include "encoding/naming.h"
#include "encoding/outputName.h"
#include "jobs/forecast.h"
#include "jobs/jobPlan.h"
#include "jobs/movieExpectation.h"
#include "jobs/newRow.h"
#include "jobs/rowChoices.h"

using namespace tessarin;

namespace {

// Of the source; streams have a letter and a number before them.
constexpr std::array fileKeys = {
    "srcPathStr",  "intraFailure", "prefSurrond", "sizeOutPrevious", "softPrevious",
    "wrapper",     "w_bytes",      "w_duration",  "w_seconds",       "w_offset",
    "w_bitrate",   "chapters",     "intraOffset", "w_force",         "w_probesize",
    "w_map",       "recorded",     "recordedBy",  "remarks",         "v_offsetMs",
    "v0_offsetMs", "a1_offsetDts", "w0_par",      "w0_dar",          "w_analyzeduration"};
constexpr std::array streamKeys = {
    "id",   "lang",     "codec",  "bitrate",     "fps",      "tbc",      "width",     "height",
    "par",  "dar",      "chroma", "fields",      "begin",    "rotation", "primaries", "matrix",
    "rate", "channels", "force",  "fieldsClaim", "transfer", "lang+",    "title"};
constexpr std::array rowKeys = {"resultat",   "out",  "fps",   "sizeOut",
                                "dstPathStr", "kept", "reason"};
constexpr std::array words = {"/card/00000.MTS",
                              "h264",
                              "mpeg2video",
                              "dvvideo",
                              "prores",
                              "aac",
                              "ac3",
                              "pcm_s16le",
                              "16:9",
                              "4:3",
                              "64:45",
                              "yuv420p",
                              "yuv422p",
                              "yuvj420p",
                              "top",
                              "bottom",
                              "progressive",
                              "bt709",
                              "bt2020",
                              "arib-std-b67",
                              "smpte2084",
                              "mpegts",
                              "mpeg",
                              "mov,mp4,m4a,3gp,3g2,mj2",
                              "avi",
                              "dv",
                              "mpegvideo",
                              "puce",
                              "puceSuccess",
                              "puceFailure",
                              "puceCurrent",
                              "/movies/a.mov",
                              "card",
                              "2010-12-24 14:05:33",
                              "TFF",
                              "BFF",
                              "PROG",
                              "smpte170m",
                              "5000000"};

Value valueOf(fuzz::Pieces& input) {
  switch (input.number(7)) {
    case 0:
      return static_cast<std::int64_t>(input.number(255));
    case 1:
      return static_cast<std::int64_t>(input.number(0xFFFF));
    case 2:
      return static_cast<std::int64_t>(input.number(SIZE_MAX));
    case 3:
      return static_cast<double>(static_cast<std::int64_t>(input.number(0xFFFFFF))) / 1001;
    case 4:
      return std::string(words.at(input.number(words.size() - 1)));
    case 5:
      return std::string(input.bytes(input.number(255)));
    case 6:
      return input.flag();
    default: {
      List list;
      for (std::size_t left = input.number(3); left > 0; --left)
        list.push_back(valueOf(input));
      return list;
    }
  }
}

Dico recordOf(fuzz::Pieces& input) {
  Dico source{{"srcPathStr", "/card/00000.MTS"}};
  Dico row;
  while (!input.empty()) {
    constexpr char kinds[] = {'v', 'a', 's'};
    switch (const std::size_t place = input.number(7)) {
      case 0:
      case 1:
        source.set(fileKeys.at(input.number(fileKeys.size() - 1)), valueOf(input));
        break;
      case 2:
        row.set(rowKeys.at(input.number(rowKeys.size() - 1)), valueOf(input));
        break;
      case 3:
        source.set(input.bytes(input.number(15)), valueOf(input));
        break;
      default: {
        const char kind = kinds[place % 3];
        const std::string key = kind + std::to_string(place == 7 ? input.number(3) : 0) + "_";
        source.set(key + streamKeys.at(input.number(streamKeys.size() - 1)), valueOf(input));
      }
    }
  }
  row.set(BatchKey::dico, source);
  return row;
}

void decide(Row row) {
  for (int size = -1; size < 40; size += 7)
    for (const Speed speed : {speedKeep, speedHalf, speedSlow}) {
      Wish wish{row.choice.target, std::nullopt, speed};
      if (const auto choice = nearestChoice(
              row, wish, row.choice.target == outAic ? Application::iMovie : Application::finalCut))
        row.choice = *choice;
      alternatives(row, wish, Application::quickTime);
    }
  speedPermissions(row);
  targetPermissions(row);
  validSizeAndSpeed(row);
  whyNotTarget(row, outAic);
  refusalOf(row, true);
  const auto forecast = forecastOf(row, "apcn");
  clipWords(row.source);
  clipDetails(row, forecast);
  if (forecast) {
    summaryOf(*forecast);
    notesOf(*forecast);
    movieWords(*forecast);
  }
  OutputNames taken;
  std::string movie;
  for (const NamePattern& names :
       {std::get<NamePattern>(NamePattern::parsed("{make}{model}{timecode} {date}{title}")),
        NamePattern()}) {
    movie = outputPath(row.source, row.choice.target, "/movies", taken, names);
    fuzz::require(movie.starts_with("/movies/") && movie.find('/', 8) == std::string::npos &&
                  movie.size() < 255);
  }
  thumbnailCommand(row.source, "/thumbnail.jpg", true);
  if (const auto plan = planJob(row, movie, "apch")) {
    expectedByAnalysis(*plan);
    measuringCommandOf(*plan);
    // No text of a row is an option.
    for (const std::string& argument : plan->command.arguments)
      fuzz::require(argument.find('\0') == std::string::npos);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Pieces input(fuzz::textOf(data, size));
  const Dico record = recordOf(input);
  const auto row = rowOfStored(recordOfStorable(storableRecord(record)));
  if (!row)
    return 0;
  // What was read is written in the same way, and read as the same.
  fuzz::require(rowOfStored(storedForm(*row)) == row);
  const auto content = rowOfContent(contentOfRow({7, *row}), 7);
  fuzz::require(content && content->row == *row);
  decide(*row);
  return 0;
}
