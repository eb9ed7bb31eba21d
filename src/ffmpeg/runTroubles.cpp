#include "ffmpeg/runTroubles.h"

#include <algorithm>
#include <array>
#include <optional>

#include "classShared/TextAdditions.h"
#include "ffmpeg/failureWords.h"
#include "ffmpeg/reportText.h"
#include "ffmpeg/streamLine.h"
#include "ffmpeg/toolLine.h"

namespace tessarin {

namespace {

// Of a line, and of the lines at each end.
constexpr std::size_t longestComplaint = 500;
constexpr std::size_t mostComplaints = 50;

// A line that stands for so many like it is not believed beyond this.
constexpr std::size_t mostRepeats = 10'000'000;

// Versions 3 to 7, the writer's own and those of the threads that it became.
constexpr std::array<std::string_view, 5> writeErrors{
    "Error writing trailer", "Error closing file", "av_interleaved_write_frame()",
    "Error muxing a packet", "Error submitting a packet to the muxer"};

// A packet that the decoder could make nothing of: up to 6.0, and then with the decoder's name
// before it.
constexpr std::string_view lostPacketOfStream = "Error while decoding stream #0:";
constexpr std::array<std::string_view, 2> lostPacket{"Error submitting packet to decoder: ",
                                                     "Decoding error: "};

// Words of ffmpeg's own, rather than the system's, for what ended the reading of a source.
constexpr std::array<std::string_view, 6> givingUp{"Invalid data found when processing input",
                                                   "Operation not permitted",
                                                   "End of file",
                                                   "Not yet implemented in FFmpeg",
                                                   "Invalid argument",
                                                   "Cannot allocate memory"};

// A line with one of these, in small letters, complains.
constexpr std::array<std::string_view, 22> complaining{
    "error",       "fail",         "invalid",   "cannot",  "can't",   "could not",
    "couldn't",    "unable",       "unknown",   "no such", "missing", "unsupported",
    "not support", "denied",       "not found", "too ",    "corrupt", "damaged",
    "not permit",  "partial file", "premature", "mismatch"};

// How the words begin that say why the source could not be read, in older ffmpegs and newer ones.
constexpr std::array<std::string_view, 2> readErrorStarts{"«source»: ", "Error during demuxing: "};

// What a disk that fails or is gone is told with.
constexpr std::array<std::string_view, 4> diskErrors{"Input/output error", "Stale file handle",
                                                     "No such device",
                                                     "Transport endpoint is not connected"};

std::optional<std::size_t> repeatsOf(std::string_view line) {
  const auto number = textBetween(line, "    Last message repeated ", " times");
  if (!startsWith(line, "    Last message repeated ") || !number ||
      !endsWith(trimmed(line), " times"))
    return std::nullopt;
  return static_cast<std::size_t>(
      std::clamp<std::int64_t>(leadingInteger(*number), 0, std::int64_t{mostRepeats}));
}

// What the reader of Matroska says where there is no element.
bool hasNoElement(std::string_view module, std::string_view words) {
  return startsWith(module, "matroska") &&
         contains(words, "invalid as first byte of an EBML number");
}

// "FILE: reason".
std::string_view behindFile(std::string_view words) {
  const std::size_t end = words.rfind(": ");
  return end == std::string_view::npos ? std::string_view() : words.substr(end + 2);
}

}  // namespace

RunTroubles::RunTroubles(std::string source, std::string output)
    : source_(std::move(source)), output_(std::move(output)) {
  for (const std::string& name : {source_, output_}) {
    const std::vector<std::string_view> lines = splitLines(name);
    for (std::size_t line = 1; line < lines.size(); ++line)
      if (!lines[line].empty())
        namesRests_.emplace_back(lines[line]);
  }
}

std::string RunTroubles::withoutPaths(std::string_view line) const {
  // One may begin with the other.
  const auto sourceGone = [this](std::string_view text) {
    return withoutSource(text, source_, sourcePlaceholder);
  };
  const auto outputGone = [this](std::string_view text) {
    return replaceAll(text, output_, outputPlaceholder);
  };
  return source_.size() > output_.size() ? outputGone(sourceGone(line))
                                         : sourceGone(outputGone(line));
}

bool RunTroubles::isRestOfName(std::string_view line) const {
  return std::any_of(namesRests_.begin(), namesRests_.end(),
                     [line](const std::string& rest) { return startsWith(line, rest); });
}

void RunTroubles::addLine(std::string_view line) {
  if (isRestOfName(line))
    return;
  if (const auto times = repeatsOf(line)) {
    count(last_, *times);
    return;
  }
  if (startsWith(line, "ffmpeg version "))
    describes_ = true;
  else if (startsWith(line, "Stream mapping:") || startsWith(line, "Output #0"))
    describes_ = false;
  noteStream(line);
  const std::string own = withoutPaths(line);
  const MarkedLine said = withoutMarks(own);
  if (startsWith(own, " ") || isAccount(said.words))
    return;
  // What stands in quotation marks may be the source's.
  const std::string ownWords = wordsOfTool(said.words);
  const std::string_view words = trimmed(ownWords);
  // Said of each, where filters stay as they are (steadySize.h).
  if (startsWith(words, "Changing video frame properties on the fly")) {
    changesSize_ = true;
    return;
  }
  last_ = describes_ ? Found() : signOf(said.module, words);
  count(last_, 1);
  readReading(said.module, words);
  const bool losesOutput = beginsWithOne(words, writeErrors);
  losesOutput_ = losesOutput_ || losesOutput;
  const std::string small = lowerCase(words);
  if (losesOutput || startsWith(words, "movtool: ") || wordsOfReader(words) ||
      std::any_of(complaining.begin(), complaining.end(),
                  [&small](std::string_view word) { return contains(small, word); }))
    keep(said.words);
}

// "  Stream #0:1[0x1100](eng): Audio: ac3 …", in the description of the source.
void RunTroubles::noteStream(std::string_view line) {
  if (!describes_ || sounds_.size() >= mostComplaints)
    return;
  const auto stream = parseStreamLine(line);
  if (stream && stream->kind == StreamKind::audio && stream->id)
    sounds_.push_back(static_cast<std::size_t>(*stream->id));
}

RunTroubles::Medium RunTroubles::mediumOf(std::string_view module, std::string_view number) const {
  if (startsWith(module, "aist#"))
    return Medium::sound;
  if (startsWith(module, "vist#"))
    return Medium::pictures;
  const auto stream = static_cast<std::size_t>(leadingInteger(number));
  const bool isSound = std::find(sounds_.begin(), sounds_.end(), stream) != sounds_.end();
  return isSound ? Medium::sound : Medium::pictures;
}

RunTroubles::Found RunTroubles::signOf(std::string_view module, std::string_view words) const {
  const bool isDecoder = startsWith(module, "vist#") || startsWith(module, "aist#");
  if (const auto number = textAfter(words, "corrupt decoded frame in stream "))
    return {Sign::corruptFrame, mediumOf(module, *number)};
  if (isDecoder && startsWith(words, "corrupt decoded frame"))
    return {Sign::corruptFrame, mediumOf(module, "")};
  if (startsWith(words, lostPacketOfStream))
    return {Sign::lostPacket, mediumOf(module, words.substr(lostPacketOfStream.size()))};
  if (isDecoder && beginsWithOne(words, lostPacket))
    return {Sign::lostPacket, mediumOf(module, "")};
  if (const auto number = textAfter(words, "corrupt input packet in stream "))
    return {Sign::corruptPacket, mediumOf("", *number)};
  if ((startsWith(words, "concealing ") && contains(words, " DC, ")) ||
      startsWith(words, "Concealing bitstream errors"))
    return {Sign::concealed, Medium::pictures};
  if (startsWith(words, "error while decoding MB ") ||
      (module == "mjpeg" && (startsWith(words, "error dc") || startsWith(words, "error y="))))
    return {Sign::brokenBlock, Medium::pictures};
  if (hasNoElement(module, words) || (module == "flv" && startsWith(words, "Packet mismatch ")) ||
      (module == "asf" && startsWith(words, "ff asf bad header ")))
    return {Sign::corruptPacket, Medium::pictures};
  return {};
}

void RunTroubles::count(Found found, std::size_t times) {
  Counts& counts = found.medium == Medium::sound ? sound_ : pictures_;
  switch (found.sign) {
    case Sign::none:
      return;
    case Sign::corruptFrame:
      counts.corruptFrames += times;
      return;
    case Sign::concealed:
      counts.concealed += times;
      return;
    case Sign::brokenBlock:
      counts.brokenBlocks += times;
      return;
    case Sign::lostPacket:
      counts.lostPackets += times;
      return;
    case Sign::corruptPacket:
      counts.corruptPackets += times;
      return;
  }
}

// "«source»: Input/output error", from version 6 on "Error during demuxing: Input/output error".
void RunTroubles::readReading(std::string_view module, std::string_view words) {
  if (!describes_ &&
      (contains(words, "partial file") || startsWith(words, "File ended prematurely")))
    endsEarly_ = true;
  // There it may end, as if the clip did.
  if (!describes_ && hasNoElement(module, words))
    givenUp_ = words;
  // What reads a source of several files for ffmpeg tells of the source as that does.
  const auto ofReader = wordsOfReader(words);
  words = ofReader.value_or(words);
  const auto [ofSource, ofDemuxer] = readErrorStarts;
  // Of the run that decodes sound the export tool marks each line. What it reads may be the copy
  // that a tool before it made under the name of the output.
  const bool isOwn = module.empty() || startsWith(module, "aist#");
  const std::string ofOutput = std::string(outputPlaceholder) + ": ";
  std::string_view reason;
  if (isOwn && startsWith(words, ofSource))
    reason = trimmed(words.substr(ofSource.size()));
  else if (ofReader && beginsWithOne(behindFile(words), diskErrors))
    reason = behindFile(words);  // of a further file
  else if (isOwn && startsWith(words, ofOutput) &&
           beginsWithOne(words.substr(ofOutput.size()), diskErrors))
    reason = trimmed(words.substr(ofOutput.size()));
  else if (const auto demuxing = textAfter(words, ofDemuxer))
    reason = trimmed(*demuxing);
  if (reason.empty() || startsWith(reason, "corrupt ") || startsWith(reason, "could not seek"))
    return;
  if (!beginsWithOne(reason, givingUp))
    readError_ = reason;
  else if (!describes_)
    givenUp_ = reason;
}

void RunTroubles::keep(std::string_view words) {
  const std::string complaint(trimmed(words.substr(0, longestComplaint)));
  if (first_.size() < mostComplaints) {
    first_.push_back(complaint);
    return;
  }
  latest_.push_back(complaint);
  if (latest_.size() > mostComplaints)
    latest_.pop_front();
}

std::size_t RunTroubles::Counts::damaged() const {
  const std::size_t shown = std::max(corruptFrames, concealed);
  if (shown + lostPackets > 0)
    return shown + lostPackets;
  return brokenBlocks > 0 ? brokenBlocks : corruptPackets;
}

std::size_t RunTroubles::damagedPictures() const {
  return pictures_.damaged();
}

std::size_t RunTroubles::damagedSound() const {
  return sound_.damaged();
}

std::vector<std::string> RunTroubles::complaints() const {
  std::vector<std::string> all = first_;
  all.insert(all.end(), latest_.begin(), latest_.end());
  return all;
}

std::string readErrorOf(std::string_view report) {
  if (!describesInput(report))
    return "";
  // A report of the debug level has very many lines.
  RunTroubles troubles;
  for (const std::string_view start : readErrorStarts)
    for (std::size_t place = findText(report, start); place != std::string_view::npos;
         place = findText(report, start, place + start.size())) {
      const std::size_t line = lineStart(report, place);
      troubles.addLine(report.substr(line, lineEnd(report, place) - line));
    }
  return troubles.readError();
}

}  // namespace tessarin
