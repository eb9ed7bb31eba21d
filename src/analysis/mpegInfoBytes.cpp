// The bytes behind the MPEG headers: of the file in both directions, and of the video inside it.

#include <algorithm>

#include "analysis/mpegInfo.h"
#include "classShared/descriptorBytes.h"
#include "platform/openFiles.h"

namespace tessarin {

namespace {

// What is left of a byte behind this many bits.
constexpr std::array<std::uint8_t, 9> restOfByte = {0xFF, 0x7F, 0x3F, 0x1F, 0x0F,
                                                    0x07, 0x03, 0x01, 0x00};

}  // namespace

// ---- The file

void mpegInfo::forgetBuffer() {
  dataOffset_ = 0;
  dataLength_ = 0;
  bitOffset_ = 0;
}

bool mpegInfo::seekTo(std::uint64_t position) {
  return moveTo(file_.number(), position);
}

// Reads up to `count` bytes at the file's position; the number of bytes, 0 at the end or on error.
std::int32_t mpegInfo::fillBuffer(std::size_t count) {
  const auto length = readSome(file_.number(), bytes_.data(), std::min(count, bytes_.size()));
  return static_cast<std::int32_t>(std::max<std::ptrdiff_t>(length, 0));
}

std::uint8_t mpegInfo::getRealByte() {
  if (dataOffset_ >= dataLength_) {
    dataOffset_ = 0;
    dataLength_ = fillBuffer(bytes_.size());
    if (dataLength_ == 0)
      return 0;
  }
  return bytes_[static_cast<std::size_t>(dataOffset_++)];
}

void mpegInfo::skipRealByte(std::int32_t count) {
  while (count > 0) {
    const std::int32_t step = std::min(count, dataLength_ - dataOffset_);
    dataOffset_ += step;
    count -= step;
    if (count > 0) {
      getRealByte();
      if (dataLength_ == 0)
        return;
      --count;
    }
  }
}

std::uint8_t mpegInfo::findRealCode() {
  bitOffset_ = 0;
  std::uint32_t lastBytes = 0xFFFFFF;
  while (lastBytes != 0x000001) {
    const std::uint8_t byte = getRealByte();
    if (dataLength_ == 0)
      return 0;
    lastBytes = (lastBytes << 8U | byte) & 0xFFFFFFU;
  }
  return getRealByte();
}

std::uint8_t mpegInfo::getByteBackward() {
  if (dataOffset_ <= 0) {
    const auto length = std::min<std::uint64_t>(position_, bytes_.size());
    position_ -= length;
    dataLength_ = length > 0 && seekTo(position_) ? fillBuffer(length) : 0;
    // Less than was asked for: the file has become shorter.
    if (dataLength_ < static_cast<std::int32_t>(length))
      dataLength_ = 0;
    dataOffset_ = dataLength_;
    if (dataLength_ == 0)
      return 0;
  }
  return bytes_[static_cast<std::size_t>(--dataOffset_)];
}

bool mpegInfo::findCodeBackward(std::uint8_t code) {
  const std::uint32_t wanted = 0x00000100U | code;
  std::uint32_t lastBytes = 0xFFFFFFFF;
  while (lastBytes != wanted) {
    const std::uint8_t byte = getByteBackward();
    if (dataLength_ == 0)
      return false;
    lastBytes = lastBytes >> 8U | static_cast<std::uint32_t>(byte) << 24U;
  }
  if (!seekTo(position_ + static_cast<std::uint64_t>(dataOffset_)))
    return false;
  forgetBuffer();
  getLong();
  return true;
}

// ---- The video

// No byte follows: every search ends.
void mpegInfo::endData() {
  forgetBuffer();
  seekTo(size_);
}

std::uint8_t mpegInfo::getByte() {
  if (!mux_)
    return getRealByte();
  while (videoLength_ <= 0) {
    const std::uint8_t code = findRealCode();
    if (code == 0xB7 || code == 0xB9 || code == 0) {
      endData();
      return 0;
    }
    if (code < 0xBB || code > 0xEF)
      continue;
    std::int32_t length = getRealByte() << 8;
    length |= getRealByte();
    if ((code & 0xF0) == 0xE0)
      readVideoPacketHeader(length);
    else
      skipRealByte(length);
  }
  --videoLength_;
  return getRealByte();
}

// Everything between the length of a video packet and its payload.
void mpegInfo::readVideoPacketHeader(std::int32_t length) {
  std::uint8_t byte = getRealByte();
  if ((byte & 0xC0) == 0x80) {
    skipRealByte(1);
    const std::int32_t headerLength = getRealByte();
    // One more than the payload: the first zero of the next start code goes with it, as callers
    // of this reader know it.
    videoLength_ = length - 2 - headerLength;
    skipRealByte(headerLength);
    return;
  }
  if ((byte & 0xC0) == 0x40) {
    skipRealByte(1);
    videoLength_ = length - 3;
    byte = getRealByte();
  } else {
    videoLength_ = length - 1;
  }
  if ((byte & 0xF0) == 0x20) {
    skipRealByte(4);
    videoLength_ -= 4;
  } else if ((byte & 0xF0) == 0x30) {
    skipRealByte(9);
    videoLength_ -= 9;
  }
}

std::uint32_t mpegInfo::getLong() {
  bitOffset_ = 0;
  std::uint32_t value = 0;
  for (int count = 0; count < 4; ++count)
    value = value << 8U | getByte();
  return value;
}

std::uint32_t mpegInfo::getBits(unsigned count) {
  if (bitOffset_ == 0)
    byte_ = getByte();
  std::uint32_t value = byte_ & restOfByte.at(bitOffset_);
  bitOffset_ += count;
  while (bitOffset_ > 7) {
    bitOffset_ -= 8;
    if (bitOffset_ == 0)
      return value;
    byte_ = getByte();
    value = value << 8U | byte_;
  }
  return value >> (8U - bitOffset_);
}

std::uint8_t mpegInfo::findCode() {
  bitOffset_ = 0;
  std::uint32_t lastBytes = 0xFFFFFF;
  while (lastBytes != 0x000001) {
    const std::uint8_t byte = getByte();
    if (dataLength_ == 0)
      return sequenceEndCode;
    lastBytes = (lastBytes << 8U | byte) & 0xFFFFFFU;
  }
  const std::uint8_t code = getByte();
  return dataLength_ == 0 ? sequenceEndCode : code;
}

}  // namespace tessarin
