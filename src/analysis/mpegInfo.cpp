#include "analysis/mpegInfo.h"

#include <algorithm>

#include "platform/fileFacts.h"
#include "platform/openFiles.h"

namespace tessarin {

namespace {

constexpr std::uint32_t packStart = 0x000001BA;
constexpr std::uint32_t sequenceStart = 0x000001B3;
constexpr std::uint8_t pictureCode = 0x00;
constexpr std::uint8_t extensionCode = 0xB5;
constexpr std::uint8_t groupCode = 0xB8;

// By frame_rate_code; the other codes are forbidden or reserved.
constexpr std::array<double, 16> frameRates = {
    0, 24000.0 / 1001, 24, 25, 30000.0 / 1001, 30, 50, 60000.0 / 1001, 60, 0, 0, 0, 0, 0, 0, 0};

std::uint8_t field(int value) {
  return static_cast<std::uint8_t>(value);
}

// The difference of one field of a time; a borrow is taken from the next larger one.
std::uint8_t difference(int end, int begin, int base, int& borrow) {
  int value = end - begin - borrow;
  borrow = 0;
  if (value < 0) {
    value += base;
    borrow = 1;
  }
  // Fields beyond their range come from broken headers.
  return field(std::max(value, 0));
}

}  // namespace

MpegTimeCode nextPicture(MpegTimeCode time, double frameRate) {
  const int wholeRate = static_cast<int>(frameRate);
  if (wholeRate < 1)
    return time;
  if (++time.pictures < wholeRate)
    return time;
  time.pictures = 0;
  if (++time.seconds < 60)
    return time;
  time.seconds = 0;
  if (++time.minutes < 60)
    return time;
  time.minutes = 0;
  if (++time.hours >= 24)
    time.hours = 0;
  return time;
}

MpegTimeCode timeBetween(const MpegTimeCode& begin, const MpegTimeCode& end, double frameRate) {
  int borrow = 0;
  MpegTimeCode time;
  time.pictures = difference(end.pictures, begin.pictures, static_cast<int>(frameRate), borrow);
  time.seconds = difference(end.seconds, begin.seconds, 60, borrow);
  time.minutes = difference(end.minutes, begin.minutes, 60, borrow);
  time.hours = difference(end.hours, begin.hours, 24, borrow);
  return time;
}

std::optional<std::string> mpegInfo::readInformations(const std::string& path) {
  const auto facts = fileFacts(path);
  if (!facts || facts->kind == FileFacts::Kind::folder)
    return "File not found";
  if (facts->state.size <= 0)
    return "File of length 0";
  if (facts->kind != FileFacts::Kind::file)
    return "Reading error";
  file_ = openFile(path, OpenFor::reading);
  if (!file_.isOpen())
    return "Reading error";
  size_ = static_cast<std::uint64_t>(facts->state.size);

  std::optional<std::string> failure = readUpToFirstGroup();
  file_.close();
  return failure;
}

std::optional<std::string> mpegInfo::readUpToFirstGroup() {
  forgetBuffer();
  mux_ = false;
  std::uint32_t start = getLong();
  if (start == packStart) {
    mux_ = true;
    forgetBuffer();
    videoLength_ = 0;
    if (!seekTo(0))
      return "Reading error";
    start = getLong();
  }
  if (start != sequenceStart)
    return "Not an MPEG-2 file";
  readSequenceHeader();

  while (true) {
    switch (findCode()) {
      case extensionCode:
        readExtension();
        break;
      case groupCode:
        if (mux_)
          return std::nullopt;
        begin_ = readTimeCode();
        if (!readEnd())
          return "No GOP found";
        duration_ = timeBetween(begin_, end_, frameRate_);
        return std::nullopt;
      case sequenceEndCode:
        return "No GOP found";
      default:
        break;
    }
  }
}

void mpegInfo::readSequenceHeader() {
  horizontalSize_ = static_cast<int>(getBits(12));
  verticalSize_ = static_cast<int>(getBits(12));
  isWideScreen_ = getBits(4) == 3;
  frameRate_ = frameRates.at(getBits(4));
  bitRate_ = static_cast<long>(getBits(18)) * 400;
  isMPeg2_ = false;
  isProgressive_ = false;
  chromaFormat_ = 0;
  begin_ = end_ = duration_ = MpegTimeCode();
}

void mpegInfo::readExtension() {
  constexpr std::uint32_t sequenceExtension = 1;
  if (getBits(4) != sequenceExtension)
    return;
  isMPeg2_ = true;
  getBits(8);  // profile and level
  isProgressive_ = getBits(1) == 1;
  chromaFormat_ = static_cast<int>(getBits(2));
}

MpegTimeCode mpegInfo::readTimeCode() {
  MpegTimeCode time;
  getBits(1);  // drop-frame counting
  time.hours = static_cast<std::uint8_t>(getBits(5));
  time.minutes = static_cast<std::uint8_t>(getBits(6));
  getBits(1);  // marker
  time.seconds = static_cast<std::uint8_t>(getBits(6));
  time.pictures = static_cast<std::uint8_t>(getBits(6));
  return time;
}

// The time behind the last picture: that of the last group, and one more for each of its pictures.
bool mpegInfo::readEnd() {
  position_ = size_;
  forgetBuffer();
  if (!findCodeBackward(groupCode))
    return false;
  end_ = readTimeCode();
  for (std::uint8_t code = findCode(); code != sequenceEndCode; code = findCode())
    if (code == pictureCode)
      end_ = nextPicture(end_, frameRate_);
  return true;
}

}  // namespace tessarin
