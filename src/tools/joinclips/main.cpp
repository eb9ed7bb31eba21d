// joinclips: puts recordings of transport streams behind each other, exact at the joints.
//
//   joinclips [--list] FILE...
//
// A file may hold several recordings itself. The stream goes to standard output; with --list a line
// for each recording instead.
//
// Exit status: 0 done, 1 not done (one line on standard error says why), 2 wrong use.
#include <fmt/format.h>

#include <cerrno>
#include <string>
#include <vector>

#include "classShared/descriptorBytes.h"
#include "tools/joinclips/JointFinder.h"
#include "tools/joinclips/PacketReader.h"
#include "tools/joinclips/PartShifter.h"
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

Outcome<bool> join(const std::vector<std::string>& files, bool isList) {
  Output output;
  joining::PartShifter shifter([&](const TransportPacket& packet) {
    if (!isList)
      output.add(packet);
  });
  joining::JointFinder finder(shifter);
  std::uint64_t before = 0;
  for (std::size_t file = 0; file < files.size(); ++file) {
    const auto why = [&](const std::string& reason) {
      return Failure{files[file] + ": " + reason};
    };
    auto reader = joining::PacketReader::open(files[file]);
    if (!reader)
      return why(reader.reason());
    if (file == 0)
      output.begin(reader->packetSize());
    bool isFirst = file > 0;
    std::uint64_t end = 0;
    while (true) {
      auto packet = reader->next();
      if (!packet)
        return why(packet.reason());
      if (!packet.value())
        break;
      TransportPacket& next = *packet.value();
      end = next.place + reader->packetSize();
      next.place += before;
      next.beginsFile = std::exchange(isFirst, false);
      finder.add(next);
      if (output.error() != 0)
        break;
    }
    if (output.error() != 0)
      break;
    before += end;
  }
  if (output.error() == 0) {
    finder.finish();
    shifter.finish();
    output.flush();
  }
  if (output.error() != 0 && !output.isClosed())
    return Failure{"the stream cannot be written: " + systemReason(output.error())};
  if (isList)
    for (const auto& part : shifter.parts())
      fmt::print("byte {}: {:.3f} s\n", part.place, part.seconds);
  return true;
}

}  // namespace

int main(int count, char** values) {
  ignoreBrokenPipes();
  std::vector<std::string> files;
  bool isList = false;
  const auto declare = [&](CLI::App& options) {
    options.add_flag("--list", isList,
                     "say where each recording begins and how long its pictures are");
    options.add_option("FILE", files, "transport streams, in order")->required();
  };
  return toolMain(
      "joinclips",
      "Puts recordings of transport streams (.mts, .m2ts, .m2t, .ts) behind each other, exact at "
      "the joints, and writes the stream to standard output.",
      count, values, declare, [&] { return join(files, isList); });
}
