#include "tools/joinclips/unitContent.h"

#include <algorithm>
#include <array>
#include <optional>

#include "tools/joinclips/TransportPacket.h"

namespace tessarin::joining {

namespace {

using Bytes = std::span<const std::uint8_t>;

struct SoundFrame {
  std::size_t size = 0;
  double duration = 0;
};

SoundFrame lasting(std::size_t size, int samples, int rate) {
  return {size, static_cast<double>(second) * samples / rate};
}

// ETSI TS 102 366: 16-bit words by code of the bit rate; at 44.1 kHz every second code is one more.
std::optional<SoundFrame> ac3Frame(Bytes bytes) {
  constexpr std::array<int, 19> kilobits{32,  40,  48,  56,  64,  80,  96,  112, 128, 160,
                                         192, 224, 256, 320, 384, 448, 512, 576, 640};
  constexpr std::array<int, 3> rates{48000, 44100, 32000};
  constexpr std::array<int, 4> blocks{1, 2, 3, 6};
  if (bytes.size() < 6 || bytes[0] != 0x0B || bytes[1] != 0x77)
    return std::nullopt;
  const int kind = bytes[5] >> 3;
  const std::size_t rateCode = bytes[4] >> 6;
  constexpr int lastAc3 = 10;
  if (kind > lastAc3) {  // E-AC-3
    const std::size_t words = (bytes[2] & 7U) << 8 | bytes[3];
    const std::size_t size = 2 * (words + 1);
    // A substream belongs to the frame before it and takes no time of its own.
    const bool isFurther = bytes[2] >> 6 == 1;
    if (rateCode == 3)
      return lasting(size, 6 * 256, rates[std::min<std::size_t>(bytes[4] >> 4 & 3, 2)] / 2);
    return lasting(size, isFurther ? 0 : 256 * blocks[bytes[4] >> 4 & 3], rates[rateCode]);
  }
  const std::size_t code = bytes[4] & 0x3F;
  if (rateCode == 3 || code / 2 >= kilobits.size())
    return std::nullopt;
  const int words = kilobits[code / 2] * 96000 / rates[rateCode] +
                    (rateCode == 1 ? static_cast<int>(code & 1) : 0);
  return lasting(2 * static_cast<std::size_t>(words), 6 * 256, rates[rateCode]);
}

std::optional<SoundFrame> mpegFrame(Bytes bytes) {
  constexpr std::array<std::array<int, 15>, 4> kilobits{
      {{0, 32, 64, 96, 128, 160, 192, 224, 256, 288, 320, 352, 384, 416, 448},
       {0, 32, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 384},
       {0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320},
       {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160}}};
  constexpr std::array<int, 3> rates{44100, 48000, 32000};
  if (bytes.size() < 4 || bytes[0] != 0xFF || (bytes[1] & 0xE0) != 0xE0)
    return std::nullopt;
  const int version = bytes[1] >> 3 & 3;  // 3: MPEG-1, 2: MPEG-2, 0: half of that
  const int layer = 4 - (bytes[1] >> 1 & 3);
  const std::size_t bitCode = bytes[2] >> 4;
  const std::size_t rateCode = bytes[2] >> 2 & 3;
  if (version == 1 || layer == 4 || bitCode == 0 || bitCode == 15 || rateCode == 3)
    return std::nullopt;
  const int rate = rates[rateCode] >> (version == 3 ? 0 : version == 2 ? 1 : 2);
  if (layer == 1 && version != 3)
    return std::nullopt;
  const std::size_t table = version != 3 ? 3U : static_cast<std::size_t>(layer - 1);
  const int bits = kilobits[table][bitCode] * 1000;
  const int padding = bytes[2] >> 1 & 1;
  if (layer == 1)
    return lasting(std::size_t{4} * static_cast<unsigned>(12 * bits / rate + padding), 384, rate);
  const int samples = layer == 3 && version != 3 ? 576 : 1152;
  return lasting(static_cast<unsigned>(samples / 8 * bits / rate + padding), samples, rate);
}

std::optional<SoundFrame> aacFrame(Bytes bytes) {
  constexpr std::array<int, 13> rates{96000, 88200, 64000, 48000, 44100, 32000, 24000,
                                      22050, 16000, 12000, 11025, 8000,  7350};
  if (bytes.size() < 7 || bytes[0] != 0xFF || (bytes[1] & 0xF6) != 0xF0)
    return std::nullopt;
  const std::size_t rateCode = bytes[2] >> 2 & 0xF;
  const auto size = static_cast<std::size_t>((bytes[3] & 3) << 11 | bytes[4] << 3 | bytes[5] >> 5);
  if (rateCode >= rates.size() || size < 7)
    return std::nullopt;
  return lasting(size, 1024 * ((bytes[6] & 3) + 1), rates[rateCode]);
}

std::optional<SoundFrame> frameAt(Bytes bytes) {
  auto frame = ac3Frame(bytes);
  if (!frame)
    frame = aacFrame(bytes);
  if (!frame)
    frame = mpegFrame(bytes);
  return frame;
}

// The frames that lie behind each other from here on to the end, or to one that is not whole.
SoundFrames framesFrom(Bytes bytes, std::size_t start) {
  SoundFrames frames;
  while (start < bytes.size()) {
    const auto frame = frameAt(bytes.subspan(start));
    if (!frame || frame->size > bytes.size() - start)
      break;
    if (frame->duration > 0)
      frames.starts.push_back(start);
    if (frames.duration == 0)
      frames.duration = frame->duration;
    start += frame->size;
  }
  if (!frames.starts.empty())
    frames.starts.push_back(start);
  // Something else may follow only where it could be the beginning of a frame.
  constexpr std::size_t longestHead = 7;
  const bool endsRight = start >= bytes.size() || bytes.size() - start < longestHead ||
                         frameAt(bytes.subspan(start)).has_value();
  return endsRight ? frames : SoundFrames();
}

}  // namespace

PictureStart pictureStart(Bytes bytes) {
  constexpr std::uint8_t sequence = 0xB3;
  constexpr std::uint8_t group = 0xB8;
  constexpr std::uint8_t parametersH265 = 0x40;
  PictureStart start;
  std::optional<bool> isMpeg2;
  for (std::size_t at = 0; at + 3 < bytes.size(); ++at) {
    if (bytes[at] != 0 || bytes[at + 1] != 0 || bytes[at + 2] != 1)
      continue;
    const std::uint8_t code = bytes[at + 3];
    // The highest bit is forbidden in what H.264 and H.265 begin with.
    if (!isMpeg2)
      isMpeg2 = code == 0 || code >= 0x80;
    if (!*isMpeg2) {
      if (code == parametersH265 || ((code & 0x80) == 0 && (code & 0x1F) == 7))
        return {true, false};
    } else if (code == sequence) {
      start.isKey = true;
    } else if (code == group) {
      start.isKey = true;
      start.isClosed = at + 7 < bytes.size() && (bytes[at + 7] & 0x40) != 0;
    } else if (code == 0 || (code > 0 && code < 0xB0)) {
      break;  // the picture itself
    }
  }
  return start;
}

SoundFrames soundFrames(Bytes bytes) {
  // A unit may begin with the rest of a frame.
  constexpr std::size_t farthest = 8192;
  for (std::size_t start = 0; start < bytes.size() && start < farthest; ++start)
    if (SoundFrames frames = framesFrom(bytes, start); frames.count() > 0)
      return frames;
  return {};
}

// Two bytes with the size of the samples, then four bits with the channels, which are stored in
// pairs, four with the rate and two with the bits.
std::optional<PlainSound> plainSound(Bytes bytes) {
  constexpr std::size_t head = 4;
  constexpr std::array<int, 12> channels{0, 1, 0, 2, 3, 3, 4, 4, 5, 6, 7, 8};
  constexpr std::array<int, 6> rates{0, 48000, 0, 0, 96000, 192000};
  constexpr std::array<int, 4> sizes{0, 2, 3, 3};
  if (bytes.size() < head)
    return std::nullopt;
  const std::size_t channelCode = bytes[2] >> 4;
  const std::size_t rateCode = bytes[2] & 0xF;
  if (channelCode >= channels.size() || rateCode >= rates.size())
    return std::nullopt;
  const int stored = (channels[channelCode] + 1) / 2 * 2 * sizes[bytes[3] >> 6];
  const int bytesPerSecond = stored * rates[rateCode];
  const int told = bytes[0] << 8 | bytes[1];
  if (bytesPerSecond == 0 || told == 0 || told % stored != 0)
    return std::nullopt;
  const auto lasting = [bytesPerSecond](double size) {
    return static_cast<double>(second) * size / bytesPerSecond;
  };
  const double there = std::min<double>(told, static_cast<double>(bytes.size() - head));
  return PlainSound{lasting(told), lasting(told - there)};
}

}  // namespace tessarin::joining
