#include "tools/joinclips/PacketReader.h"

#include <algorithm>
#include <cerrno>

#include "classShared/descriptorBytes.h"
#include "platform/openFiles.h"

namespace tessarin::joining {

namespace {

constexpr std::size_t pieceSize = 1 << 20;
constexpr std::uint8_t syncByte = 0x47;
constexpr std::size_t stampSize = 4;
constexpr std::size_t stampedSize = TransportPacket::size + stampSize;
// In a row, which chance hardly makes.
constexpr std::size_t convincing = 5;

}  // namespace

Outcome<PacketReader> PacketReader::open(const std::string& path) {
  Descriptor file = openFile(path, OpenFor::streaming);
  if (!file.isOpen())
    return Failure{systemReason(errno)};
  PacketReader reader(std::move(file));
  TESSARIN_TRY(reader.fill());
  constexpr std::size_t farthest = 4096;
  for (std::size_t at = 0; at < std::min(reader.left(), farthest); ++at)
    for (const std::size_t step : {stampedSize, TransportPacket::size}) {
      reader.step_ = step;
      reader.at_ = at;
      if (reader.isPacket(at, convincing))
        return reader;
    }
  return Failure{"is no transport stream"};
}

// Whether packets begin here and at so many places behind it, as far as the buffer goes.
bool PacketReader::isPacket(std::size_t at, std::size_t following) const {
  const std::size_t sync = at + step_ - TransportPacket::size;
  for (std::size_t packet = 0; packet <= following; ++packet) {
    const std::size_t place = sync + packet * step_;
    if (place + TransportPacket::size > buffer_.size())
      return packet > 0;
    if (buffer_[place] != syncByte)
      return false;
  }
  return true;
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
  while (true) {
    while (left() < (convincing + 1) * step_ && !isOver_)
      TESSARIN_TRY(fill());
    if (left() < step_)
      return std::optional<TransportPacket>();
    // A place that was right so far needs no proof.
    if (isPacket(at_, 0))
      break;
    do
      ++at_;
    while (left() >= step_ && !isPacket(at_, left() > (convincing + 1) * step_ ? convincing : 1));
  }
  TransportPacket packet;
  packet.place = read_ - left();
  if (step_ == stampedSize)
    for (std::size_t byte = 0; byte < stampSize; ++byte)
      packet.stamp = packet.stamp << 8 | buffer_[at_ + byte];
  std::copy_n(buffer_.begin() + static_cast<std::ptrdiff_t>(at_ + step_ - TransportPacket::size),
              TransportPacket::size, packet.bytes.begin());
  at_ += step_;
  return std::optional(packet);
}

}  // namespace tessarin::joining
