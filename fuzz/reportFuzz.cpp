// ffmpeg's reports about a source: whatever a file makes ffmpeg print is read on, and becomes a
// row. Zero bytes stand between the reports of runs that follow each other.
#include "Input.h"
#include "analysis/SourceExamination.h"
#include "analysis/probeParser.h"
#include "analysis/probes.h"
#include "analysis/sourceRecord.h"
#include "analysis/timing.h"
#include "analysis/usedStreams.h"
#include "encoding/recordingDate.h"
#include "ffmpeg/ffmpegSuccess.h"
#include "ffmpeg/idetReport.h"

using namespace tessarin;

namespace {

// Without a path, so that no ffmpeg is run.
void readReport(std::string_view report) {
  for (const auto fields : {std::optional<Fields>(), std::optional(Fields::topFirst)})
    if (auto source = analysisFf(report, fields, "")) {
      needsKeyFrameRun(report, *source);
      addOffsets(report, *source);
      chooseStreams(*source, report, doubtfulSound(report));
      if (const auto seconds = firstKeyFrameOfShowinfo(report))
        addFirstKeyFrame(*seconds, *source);
      firstKeyFrameCommand("/clip.mts", *source);
      // What a report has made can be stored and read again, all of it.
      source->path = "/clip.mts";
      const auto stored = sourceOfRecord(storedSource(*source));
      fuzz::require(stored && storedSource(*stored) == storedSource(*source));
    }
  Source timed;
  addRecordingTime(report, "/clip.mts", timed);
  fuzz::require(timed.recorded.empty() || timed.recorded.size() == 19);
  timed.path = "/clip.mts";
  fuzz::require(sourceOfRecord(storedSource(timed)) == timed);
  ffChapters(report);
  forceFormatLite(report);
  formatOfKind(report, report);
  isFfmpegSuccess(report);
  fieldsOfHeader(report);
  firstKeyFrameShown(report);
  beginsWithKeyFrame(report);
  heardNothing(report);
  if (const auto counts = idetCounts(report))
    fieldsOfCounts(*counts);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes = fuzz::textOf(data, size);
  readReport(bytes.substr(0, bytes.find('\0')));
  SourceExamination examination("/clip.mts", static_cast<std::int64_t>(size) << 20, "/pictures");
  for (std::string& report : fuzz::Pieces(bytes).each('\0')) {
    if (!examination.nextCommand())
      break;
    std::optional<FramePictures> pictures;
    if (report.size() % 3 != 0) {
      pictures.emplace();
      pictures->order = report.size() % 2 == 0 ? Fields::topFirst : Fields::progressive;
      pictures->width = pictures->height = 16;
      pictures->whole = static_cast<int>(report.size() % 9);
    }
    examination.take(std::move(report), std::move(pictures));
  }
  Source source;
  examination.complete(source);
  examination.fields();
  examination.setFormat("dv");
  examination.nextCommand();
  return 0;
}
