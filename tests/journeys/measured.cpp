#include "measured.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <optional>

#include "analysis/probes.h"
#include "classShared/TextAdditions.h"
#include "encoding/arithmetic.h"
#include "support/shell.h"

namespace tessarin::test {

namespace {

using nlohmann::json;

// The number behind the last of the words in the text.
std::optional<double> numberBehind(std::string_view text, std::string_view word) {
  const auto at = text.rfind(word);
  if (at == std::string_view::npos)
    return std::nullopt;
  const std::string number(text.substr(at + word.size(), 20));
  return startsWith(number, "inf") ? 99.0 : std::atof(number.c_str());
}

void readClaims(const std::string& movie, Measured& result) {
  const auto probe = runShell("ffprobe -v error -show_streams -of json " + quoted(movie));
  const json report = json::parse(probe.output, nullptr, false);
  if (probe.status != 0 || !report.is_object()) {
    ADD_FAILURE() << probe.output;
    return;
  }
  for (const json& stream : report["streams"]) {
    if (stream["codec_type"] == "video") {
      result.codec = stream.value("codec_name", "");
      result.size = fmt::format("{}x{}", stream.value("width", 0), stream.value("height", 0));
      result.fields = stream.value("field_order", "");
      result.rate = stream.value("r_frame_rate", "");
      result.shape = stream.value("display_aspect_ratio", "");
      // Not told for square pixels.
      if (result.shape.empty())
        result.shape = float2FractionStr(stream.value("width", 0.0) / stream.value("height", 1.0));
      result.duration = std::stod(stream.value("duration", "0"));
    } else if (stream["codec_type"] == "audio") {
      result.soundCodec = stream.value("codec_name", "");
      result.channels = stream.value("channels", 0);
      result.samplingRate = std::stoi(stream.value("sample_rate", "0"));
    }
  }
}

// The lines that the filter "metadata" prints: a picture's number and time, then its brightness.
void readPictures(std::string_view report, Measured& result) {
  constexpr double white = 200;
  double time = 0;
  double previous = 0;
  result.shortestStep = 1e9;
  for (const std::string_view line : splitLines(report)) {
    if (startsWith(line, "frame:")) {
      time = numberBehind(line, "pts_time:").value_or(-1);
      if (result.frames++ > 0) {
        result.longestStep = std::max(result.longestStep, time - previous);
        result.shortestStep = std::min(result.shortestStep, time - previous);
      }
      previous = time;
    }
    const auto brightness = numberBehind(line, "lavfi.signalstats.YAVG=");
    if (brightness && *brightness > white && result.flash < 0)
      result.flash = time;
  }
}

void readSide(std::string_view report, Measured& result) {
  for (const std::string_view line : splitLines(report))
    if (const auto brightest = numberBehind(line, "lavfi.signalstats.YMAX="))
      result.sideLuma = std::max(result.sideLuma, *brightest);
}

}  // namespace

Measured measured(const std::string& movie, const std::string& original, const Comparison& how) {
  Measured result;
  readClaims(movie, result);
  // Named so that ffmpeg's filters can take them, whatever the movie is called.
  const std::string pictures = joinPath(parentFolder(movie), "pictures");
  const std::string side = joinPath(parentFolder(movie), "side");
  // The brightness is that of eight bits, whatever the codec has.
  const std::string graph =
      "[0:v]split=3[seen][cut][compared];"
      "[seen]idet,crop=iw/2:ih/2,scale=64:36,format=yuv420p,signalstats,"
      "metadata=print:key=lavfi.signalstats.YAVG:file=" +
      pictures +
      ",nullsink;"
      "[cut]crop=iw/20:ih:0:0,format=yuv420p,signalstats,"
      "metadata=print:key=lavfi.signalstats.YMAX:file=" +
      side + ",nullsink;[compared]" + how.movieFilters +
      ",format=yuv422p,settb=1/25,setpts=N[made];[1:v]" + how.originalFilters +
      ",format=yuv422p,settb=1/25,setpts=N[asked];[made][asked]psnr[out]";
  const auto run = runShell("ffmpeg -v info -nostdin -nostats -copyts -i " + quoted(movie) +
                            " -i " + quoted(original) + " -filter_complex " + quoted(graph) +
                            " -map '[out]' -map 0:a -af silencedetect=noise=-30dB:duration=0.02"
                            " -vsync passthrough -f null -");
  EXPECT_EQ(run.status, 0) << run.output;
  readPictures(runShell("cat " + quoted(pictures)).output, result);
  readSide(runShell("cat " + quoted(side)).output, result);
  runShell("rm -f " + quoted(pictures) + " " + quoted(side));

  const auto silenceEnd = run.output.find("silence_end: ");
  if (silenceEnd != std::string::npos)
    result.beep = std::atof(run.output.c_str() + silenceEnd + 13);
  if (const auto counts = idetCounts(run.output)) {
    result.topFirst = counts->top;
    result.bottomFirst = counts->bottom;
    result.progressive = counts->progressive;
  }
  const auto quality = run.output.rfind("PSNR y:");
  if (quality == std::string::npos)
    return result;
  const std::string_view line = std::string_view(run.output).substr(quality);
  result.luma = numberBehind(line, "y:").value_or(0);
  result.chroma =
      std::min(numberBehind(line, " u:").value_or(0), numberBehind(line, " v:").value_or(0));
  return result;
}

}  // namespace tessarin::test
