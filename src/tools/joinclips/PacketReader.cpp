#include "tools/joinclips/PacketReader.h"

#include <algorithm>
#include <cerrno>
#include <string_view>

#include "classShared/descriptorBytes.h"
#include "platform/openFiles.h"

namespace tessarin::joining {

namespace {

constexpr std::size_t pieceSize = 1 << 20;
constexpr std::uint8_t syncByte = 0x47;
constexpr std::size_t stampedSize = TransportPacket::stampedSize;
constexpr std::size_t stampSize = stampedSize - TransportPacket::size;
// In a row, which chance hardly makes.
constexpr std::size_t convincing = 5;
constexpr std::size_t needed = (convincing + 1) * stampedSize;

}  // namespace

Outcome<PacketReader> PacketReader::open(const std::string& path, std::uint64_t from) {
  Descriptor file = openFile(path, OpenFor::streaming);
  if (!file.isOpen() || (from > 0 && !moveTo(file.number(), from)))
    return Failure{systemReason(errno)};
  PacketReader reader(std::move(file));
  reader.read_ = from;
  while (reader.left() < pieceSize && !reader.isOver_)
    TESSARIN_TRY(reader.fill());
  if (!reader.findPackets())
    return Failure{"is no transport stream"};
  return reader;
}

// Whether packets begin here and at so many places behind it; two do at the end of the file.
bool PacketReader::isPacket(std::size_t step, std::size_t following) const {
  const std::size_t sync = at_ + step - TransportPacket::size;
  for (std::size_t packet = 0; packet <= following; ++packet) {
    const std::size_t place = sync + packet * step;
    if (place + TransportPacket::size > buffer_.size())
      return packet > 1;
    if (buffer_[place] != syncByte)
      return false;
  }
  return true;
}

// A place that was right so far needs no proof, unless the packets may have another size from here.
bool PacketReader::goesOn() const {
  const std::size_t other = step_ == stampedSize ? TransportPacket::size : stampedSize;
  return isPacket(step_, 0) && (isPacket(step_, 1) || !isPacket(other, convincing));
}

// By its first bytes: a program stream, Matroska, AVI, QuickTime and its family.
bool PacketReader::beginsOtherFormat() const {
  constexpr std::size_t length = 8;
  if (left() < length)
    return false;
  const std::string_view start(reinterpret_cast<const char*>(buffer_.data() + at_), length);
  using namespace std::string_view_literals;
  return start.starts_with("\x00\x00\x01\xBA"sv) || start.starts_with("\x1A\x45\xDF\xA3"sv) ||
         start.starts_with("RIFF"sv) || start.substr(4) == "ftyp"sv;
}

// Goes to the next place in the buffer where packets of either size begin.
bool PacketReader::findPackets() {
  const std::size_t least = isOver_ ? TransportPacket::size : needed;
  for (; left() >= least; ++at_)
    for (const std::size_t step :
         {step_, step_ == stampedSize ? TransportPacket::size : stampedSize})
      if (isPacket(step, convincing)) {
        step_ = step;
        return true;
      }
  return false;
}

Outcome<bool> PacketReader::fill() {
  buffer_.erase(buffer_.begin(), buffer_.begin() + static_cast<std::ptrdiff_t>(at_));
  at_ = 0;
  const std::size_t have = buffer_.size();
  buffer_.resize(have + pieceSize);
  const auto count = readSome(file_.number(), buffer_.data() + have, pieceSize);
  buffer_.resize(have + static_cast<std::size_t>(std::max<std::ptrdiff_t>(count, 0)));
  if (count < 0)
    return Failure{systemReason(errno)};
  read_ += static_cast<std::uint64_t>(count);
  isOver_ = count == 0;
  return !isOver_;
}

Outcome<std::optional<TransportPacket>> PacketReader::next() {
  while (left() < needed && !isOver_)
    TESSARIN_TRY(fill());
  const bool isPacketNext = goesOn();
  hasOtherFormat_ = hasOtherFormat_ || (!isPacketNext && beginsOtherFormat());
  if (!isPacketNext)
    while (!findPackets()) {
      if (isOver_)
        return std::optional<TransportPacket>();
      TESSARIN_TRY(fill());
    }
  TransportPacket packet;
  packet.place = read_ - left();
  if (const std::uint64_t passed = packet.place - end_; end_ > 0 && passed % step_ == 0)
    packet.overwritten = passed / step_;
  end_ = packet.place + step_;
  if (step_ == stampedSize) {
    stamp_ = 0;
    for (std::size_t byte = 0; byte < stampSize; ++byte)
      stamp_ = stamp_ << 8 | buffer_[at_ + byte];
  }
  packet.stamp = stamp_;
  std::copy_n(buffer_.begin() + static_cast<std::ptrdiff_t>(at_ + step_ - TransportPacket::size),
              TransportPacket::size, packet.bytes.begin());
  at_ += step_;
  return std::optional(packet);
}

}  // namespace tessarin::joining
