// A small reader of MPEG-1 and MPEG-2 video headers, for program streams and elementary streams.
//
// It reads the first sequence header and extension, and of an elementary stream the time codes of
// the first and the last group of pictures (ISO/IEC 11172-2 and 13818-2 for the headers, 11172-1
// and 13818-1 for the packets around them). Whatever a file claims, reading ends with it: every
// step consumes bytes, and none is kept but a buffer of 2048.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>

#include "analysis/Source.h"
#include "platform/Descriptor.h"

namespace tessarin {

struct MpegTimeCode {
  std::uint8_t hours = 0;
  std::uint8_t minutes = 0;
  std::uint8_t seconds = 0;
  std::uint8_t pictures = 0;

  bool operator==(const MpegTimeCode&) const = default;
};

class mpegInfo {
 public:
  // The start code that ends a sequence; also the answer of findCode at the end of the data.
  static constexpr std::uint8_t sequenceEndCode = 0xB7;

  // Reads the file. Nothing when it went well, else the reason: "File not found",
  // "File of length 0", "Reading error", "Not an MPEG-2 file" (also said of MPEG-1 files) or
  // "No GOP found". The values below are whole only after success.
  std::optional<std::string> readInformations(const std::string& path);

  bool isMuxed() const { return mux_; }
  bool isMPeg2() const { return isMPeg2_; }
  int horizontalSize() const { return horizontalSize_; }  // pixels
  int verticalSize() const { return verticalSize_; }      // pixels
  bool isWideScreen() const { return isWideScreen_; }     // 16:9
  double frameRate() const { return frameRate_; }         // 0: not one of the standard's rates
  long bitRate() const { return bitRate_; }               // bit/s
  bool isProgressive() const { return isProgressive_; }
  int chromaFormat() const { return chromaFormat_; }  // 1: 4:2:0, 2: 4:2:2, 3: 4:4:4, 0: not seen
  // Of elementary streams only.
  const MpegTimeCode& begin() const { return begin_; }
  const MpegTimeCode& end() const { return end_; }
  const MpegTimeCode& duration() const { return duration_; }

 private:
  // ---- Bytes of the file (mpegInfoBytes.cpp). All answer 0 and set dataLength_ to 0 at its end.
  std::uint8_t getRealByte();
  void skipRealByte(std::int32_t count);
  // The code behind the next 00 00 01; 0 at the end.
  std::uint8_t findRealCode();
  std::uint8_t getByteBackward();
  bool findCodeBackward(std::uint8_t code);
  bool seekTo(std::uint64_t position);
  std::int32_t fillBuffer(std::size_t count);
  void forgetBuffer();

  // ---- Bytes of the video (mpegInfoBytes.cpp): those of the file, or the payload of its video
  // packets.
  std::uint8_t getByte();
  void readVideoPacketHeader(std::int32_t length);
  void endData();
  std::uint32_t getLong();                // four bytes, big-endian
  std::uint32_t getBits(unsigned count);  // up to 24, most significant first
  std::uint8_t findCode();

  // ---- Headers (mpegInfo.cpp)
  void readSequenceHeader();
  void readExtension();
  MpegTimeCode readTimeCode();
  bool readEnd();
  std::optional<std::string> readUpToFirstGroup();

  Descriptor file_;
  std::uint64_t size_ = 0;        // bytes
  std::int32_t dataOffset_ = 0;   // read position in the buffer
  std::int32_t dataLength_ = 0;   // valid bytes in the buffer; 0 is the end of the data
  unsigned bitOffset_ = 0;        // position in byte_; 0 is aligned
  std::int32_t videoLength_ = 0;  // payload left in the packet
  std::array<std::uint8_t, 2048> bytes_ = {};
  std::uint8_t byte_ = 0;       // the last one read
  std::uint64_t position_ = 0;  // of the buffer when reading backwards
  bool mux_ = false;

  int horizontalSize_ = 0;
  int verticalSize_ = 0;
  bool isWideScreen_ = false;
  double frameRate_ = 0;
  long bitRate_ = 0;
  bool isMPeg2_ = false;
  bool isProgressive_ = false;
  int chromaFormat_ = 0;
  MpegTimeCode begin_;
  MpegTimeCode end_;
  MpegTimeCode duration_;
};

// One coded picture later. Pictures wrap at the whole part of the rate, so that 29.97 counts to
// 29; nothing moves at a rate below 1.
MpegTimeCode nextPicture(MpegTimeCode time, double frameRate);
// From `begin` to `end`, field by field with borrows; a day later where `end` lies before.
MpegTimeCode timeBetween(const MpegTimeCode& begin, const MpegTimeCode& end, double frameRate);

class mpeginfoFunction {
 public:
  // What an MPEG file says of itself: container, duration and start (elementary streams only), and
  // its pictures. Nothing when mpegInfo cannot read it.
  static std::optional<Source> mpegInfoDico(const std::string& path);
  static std::optional<Source> mpegInfo(const std::string& path) { return mpegInfoDico(path); }
};

}  // namespace tessarin
