// joinclips: puts recordings of transport streams behind each other, exact at the joints; and files
// of other formats that are parts of one recording.
//
//   joinclips [--list | --parts | --recordings | [--dv] [--jpeg] [--clusters]] FILE...
//
// A file may hold several recordings itself. The stream goes to standard output; with --list a line
// for each recording instead, with what is missing in it, one with the number of streams, and one
// more where packets of both sizes come, and where a movie of another format was passed over. With
// --parts the files that are parts of one recording are told by their places among the arguments,
// from 0 on ("parts 3 4 5: 600.040 1200.080 1500.000": and where the second and third begin, and
// the third ends, in seconds), and those that seem to go on in a next file that is not there or
// does not fit ("doubtful 7"), or of which that could not be read ("unread 8"), or that are not the
// first part and lack the one before ("later 9"); so are files of the card with the sound of an
// argument ("sounds 0 AUDIO/0001AB00.MXF", in the order of the channels; "sounds 0 missing", once
// for each of which the card tells and which is not there; "sounds 0 by name", where the card does
// not tell of them). Of MXF files, which joinmxf puts behind each other, --list says where each
// begins, and reads all of them. Of raw DV whole frames are written, whatever is between and in
// them (DvMender). With --recordings a line tells of each recording of a tape that was captured
// into one of the files, raw DV ("recording 0: bytes 0-36000000, 250 pictures"; ", unclear" behind
// it, or in its place with a reason, where there may be more that were not found), and others ("at
// picture 250") that the tool is at work. With --dv a line as of --list tells of a file with DV how
// much of its pictures is damaged or missing, and whether it has to be read so ("torn"), with
// --jpeg how much is damaged in an AVI file or a movie of Motion JPEG, with
// --clusters of a Matroska file how much of it has a wrong time.
//
// Exit status: 0 done, 1 not done (one line on standard error says why), 2 wrong use.
#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <vector>

#include "classShared/TextAdditions.h"
#include "classShared/descriptorBytes.h"
#include "movie/aviIndex.h"
#include "movie/clusterTimes.h"
#include "tools/joinclips/DvMender.h"
#include "tools/joinclips/JointFinder.h"
#include "tools/joinclips/MovieStream.h"
#include "tools/joinclips/MovieTables.h"
#include "tools/joinclips/PacketReader.h"
#include "tools/joinclips/PartShifter.h"
#include "tools/joinclips/StreamMatcher.h"
#include "tools/joinclips/TapeBorders.h"
#include "tools/joinclips/dvLoss.h"
#include "tools/joinclips/jpegLoss.h"
#include "tools/joinclips/partOverlap.h"
#include "tools/joinclips/partSearch.h"
#include "tools/joinclips/plainJoint.h"
#include "tools/joinclips/soundFiles.h"
#include "tools/toolMain.h"

namespace {

using namespace tessarin;
using joining::TransportPacket;

// What is written, in pieces.
class Output {
 public:
  void begin(std::size_t packetSize) { hasStamps_ = packetSize > TransportPacket::size; }
  void add(const TransportPacket& packet) {
    if (hasStamps_)
      for (int byte = 3; byte >= 0; --byte)
        bytes_ += static_cast<char>(packet.stamp >> 8 * byte);
    bytes_.append(packet.bytes.begin(), packet.bytes.end());
    constexpr std::size_t pieceSize = 256U << 10;
    if (bytes_.size() >= pieceSize)
      flush();
  }
  void flush() {
    if (error_ == 0 && !writeAll(standardOutput, bytes_))
      error_ = errno;
    bytes_.clear();
  }
  // 0: all is well.
  int error() const { return error_; }
  // Who reads it has enough.
  bool isClosed() const { return error_ == EPIPE; }

 private:
  bool hasStamps_ = false;
  std::string bytes_;
  int error_ = 0;
};

void printParts(const std::vector<joining::PartShifter::Part>& parts) {
  for (const auto& part : parts) {
    fmt::print("byte {}: {:.3f} s", part.place, part.seconds);
    if (part.isLeftOut) {
      fmt::print(", left out");
    } else {
      if (part.hasWrongTimes)
        fmt::print(", wrong times");
      if (part.picturesMissing > 0)
        fmt::print(", pictures missing for {:.3f} s", part.picturesMissing);
      if (part.hasClockSteps)
        fmt::print(", clock steps");
      if (part.picturesLost > 0)
        fmt::print(", packets missing with {:.3f} s of pictures", part.picturesLost);
      if (part.isTorn)
        fmt::print(", torn");
      if (part.addsSound)
        fmt::print(", sound begins");
      if (part.soundMissing > 0)
        fmt::print(", sound missing for {:.3f} s", part.soundMissing);
    }
    fmt::print("\n");
  }
}

// Reads files behind each other and writes what they are together.
class Joiner {
 public:
  explicit Joiner(bool isList)
      : shifter_([this, isList](const TransportPacket& packet) {
          if (!isList)
            output_.add(packet);
        }),
        finder_(shifter_) {}

  Outcome<bool> add(const std::string& file) {
    const auto why = [&file](const std::string& reason) { return Failure{file + ": " + reason}; };
    auto reader = joining::PacketReader::open(file);
    if (!reader)
      return why(reader.reason());
    if (firstSize_ == 0) {
      firstSize_ = reader->packetSize();
      output_.begin(firstSize_);
    }
    bool isBorder = before_ > 0;
    // Those at the end of the file before.
    std::size_t repeated = isBorder ? joining::repeatedPackets(last_, file) : 0;
    last_ = file;
    std::uint64_t end = 0;
    while (output_.error() == 0) {
      auto packet = reader->next();
      if (!packet)
        return why(packet.reason());
      if (!packet.value())
        break;
      TransportPacket& next = *packet.value();
      hasBothSizes_ = hasBothSizes_ || reader->packetSize() != firstSize_;
      end = next.place + reader->packetSize();
      if (repeated > 0) {
        --repeated;
        continue;
      }
      next.place += before_;
      next.beginsFile = std::exchange(isBorder, false);
      matcher_.place(next);
      finder_.add(next);
    }
    before_ += end;
    hasOtherFormat_ = hasOtherFormat_ || reader->hasOtherFormat();
    return true;
  }

  Outcome<bool> finish() {
    if (output_.error() == 0) {
      finder_.finish();
      shifter_.finish();
      output_.flush();
    }
    if (output_.error() != 0 && !output_.isClosed())
      return Failure{"the stream cannot be written: " + systemReason(output_.error())};
    return true;
  }

  bool isAtEnd() const { return output_.error() != 0; }
  void printList() const {
    printParts(shifter_.parts());
    if (matcher_.streamCount() > 0)
      fmt::print("streams: {}\n", matcher_.streamCount());
    if (hasBothSizes_)
      fmt::print("packets of both sizes\n");
    if (hasOtherFormat_)
      fmt::print("a movie of another format\n");
  }

 private:
  Output output_;
  joining::PartShifter shifter_;
  joining::JointFinder finder_;
  joining::StreamMatcher matcher_;
  std::uint64_t before_ = 0;  // bytes of the files before
  std::string last_;          // of these
  std::size_t firstSize_ = 0;
  bool hasBothSizes_ = false;
  bool hasOtherFormat_ = false;
};

Outcome<bool> joinStreams(const std::vector<std::string>& files, bool isList) {
  Joiner joiner(isList);
  for (const std::string& file : files)
    if (!joiner.isAtEnd())
      TESSARIN_TRY(joiner.add(file));
  TESSARIN_TRY(joiner.finish());
  if (isList)
    joiner.printList();
  return true;
}

struct LossWishes {
  bool isDv = false;
  bool hasClusters = false;
  bool isJpeg = false;
  bool hasAny() const { return isDv || hasClusters || isJpeg; }
};

Outcome<bool> tellLoss(const std::vector<std::string>& files, const LossWishes& wishes) {
  for (const std::string& file : files) {
    joining::PartShifter::Part part;
    if (wishes.isDv) {
      auto loss = joining::dvLoss(file);
      if (!loss)
        return Failure{file + ": " + loss.reason()};
      const auto movie = joining::readMovieTables(file);
      loss->expect(movie ? movie->pictures()->samples : aviPictures(aviStreams(file)).value_or(0));
      // A movie may show the pictures at another rate.
      part.seconds = movie ? movie->seconds() : loss->seconds();
      part.picturesLost = loss->lost();
      part.isTorn = loss->isTorn();
    }
    if (wishes.isJpeg) {
      const auto loss = joining::jpegLoss(file);
      if (!loss)
        return Failure{file + ": " + loss.reason()};
      part.seconds = static_cast<double>(loss->pictures) * loss->step;
      part.picturesLost = static_cast<double>(loss->damaged) * loss->step;
    }
    if (wishes.hasClusters) {
      const auto times = clusterTimes(file);
      if (!times)
        return Failure{file + ": " + times.reason()};
      part.seconds = std::max(part.seconds, times->seconds);
      part.picturesLost += times->misplaced;
      part.soundMissing = times->misplaced;  // it lies in the same clusters
    }
    printParts({part});
  }
  return true;
}

Outcome<bool> join(const std::vector<std::string>& files, bool isList) {
  takeReadError();
  if (files.size() > 1 && joining::isMovie(files.front()))
    return joining::joinMovies(files, isList);
  const bool isPlain =
      joining::isPlainlyJoined(files.front()) || (isList && hasPathExtension(files.front(), "mxf"));
  if (joining::is625InRawDv(files.front()) || (files.size() > 1 && isPlain))
    return joining::joinPlainly(files, isList);
  if (const int error = takeReadError(); error != 0)  // what it holds was not seen
    return Failure{files.front() + ": " + systemReason(error)};
  return joinStreams(files, isList);
}

}  // namespace

int main(int count, char** values) {
  ignoreBrokenPipes();
  std::vector<std::string> files;
  bool isList = false;
  bool isPartSearch = false;
  bool isRecordingSearch = false;
  LossWishes loss;
  const auto declare = [&](CLI::App& options) {
    options.add_flag("--list", isList,
                     "say where each recording begins and how long its pictures are");
    options.add_flag("--parts", isPartSearch,
                     "say which files are parts of one recording, which the camera cut");
    options.add_flag("--recordings", isRecordingSearch,
                     "say where the recordings of tapes that were captured as raw DV meet");
    options.add_flag("--dv", loss.isDv, "say how much is damaged or missing in the pictures of DV");
    options.add_flag("--jpeg", loss.isJpeg,
                     "say how much is damaged in the pictures of Motion JPEG");
    options.add_flag("--clusters", loss.hasClusters,
                     "say how much of a Matroska file has a wrong time");
    options.add_option("FILE", files, "the files, in order")->required();
  };
  return toolMain(
      "joinclips",
      "Puts recordings of transport streams (.mts, .m2ts, .m2t, .ts) behind each other, exact at "
      "the joints, and files of MP4, QuickTime, DV or program streams that are parts of one "
      "recording. Writes the stream to standard output.",
      count, values, declare, [&]() -> Outcome<bool> {
        if (loss.hasAny())
          return tellLoss(files, loss);
        if (isRecordingSearch) {
          joining::tellRecordings(files);
          return true;
        }
        if (!isPartSearch)
          return join(files, isList);
        joining::tellParts(files);
        joining::tellSoundFiles(files);
        return true;
      });
}
