// Files of camcorder cards, made byte by byte.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tessarin::test {

inline std::string bigEndian(std::size_t value, int width) {
  std::string bytes;
  for (int shift = (width - 1) * 8; shift >= 0; shift -= 8)
    bytes += static_cast<char>(value >> shift & 255);
  return bytes;
}

// Bytes written as pairs of digits, with blanks between their fields.
inline std::string fromHex(const std::string& digits) {
  std::string bytes;
  for (std::size_t index = 0; index + 1 < digits.size(); index += digits[index] == ' ' ? 1 : 2)
    if (digits[index] != ' ')
      bytes += static_cast<char>(std::stoi(digits.substr(index, 2), nullptr, 16));
  return bytes;
}

// A clip of a playlist; its time as binary-coded decimal, "20101224140533", "" for no mark.
struct CardClip {
  std::string name;
  std::string time;
  int connection = 5;
};

inline const std::string notSet = "FFFFFFFFFFFFFF";

// What the entry of the extension data counts its offset from.
enum class ExtensionOffset { extension, dataBlock, absent };

// A playlist whose own time is `ownTime`. Before each entry mark stands a mark of another type.
inline std::string playlistBytes(const std::vector<CardClip>& clips,
                                 const std::string& ownTime = notSet,
                                 ExtensionOffset offset = ExtensionOffset::extension) {
  std::string items;
  std::string marks;
  std::string times;
  std::size_t markCount = 0;
  const auto addMark = [&](int type, std::size_t clip, const std::string& time) {
    marks += bigEndian(0, 1) + bigEndian(static_cast<std::size_t>(type), 1) + bigEndian(clip, 2) +
             std::string(10, '\0');
    times += fromHex("0108 0001 000000 00 0000 1E") + fromHex(time) + std::string(48, '\0');
    ++markCount;
  };
  for (std::size_t index = 0; index < clips.size(); ++index) {
    const std::string item = clips[index].name + "M2TS" +
                             bigEndian(static_cast<std::size_t>(clips[index].connection), 2) +
                             std::string(9, '\0');
    items += bigEndian(item.size(), 2) + item;
    if (clips[index].time.empty())
      continue;
    addMark(2, index, "19990101000000");
    addMark(1, index, clips[index].time);
  }
  const auto withLength = [](const std::string& content) {
    return bigEndian(content.size(), 4) + content;
  };
  const std::string list =
      withLength(bigEndian(0, 2) + bigEndian(clips.size(), 2) + bigEndian(0, 2) + items);
  const std::string markList = withLength(bigEndian(markCount, 2) + marks);
  const std::string own =
      withLength(fromHex("0108 0001 00000000 0000 1E") + fromHex(ownTime) + std::string(40, '\0'));
  const std::string block = "PLEX" + bigEndian(0, 4) + bigEndian(40 + own.size(), 4) +
                            bigEndian(0, 4) + std::string(24, '\0') + own +
                            withLength(bigEndian(markCount, 2) + times);
  constexpr std::size_t blockAt = 24;
  const std::string extension =
      withLength(bigEndian(blockAt, 4) + bigEndian(1, 4) + fromHex("10000100") +
                 bigEndian(offset == ExtensionOffset::extension ? blockAt : 0, 4) +
                 bigEndian(block.size(), 4) + block);
  constexpr std::size_t listAt = 40;
  const std::size_t marksAt = listAt + list.size();
  const std::size_t extensionAt = marksAt + markList.size();
  return "MPLS0100" + bigEndian(listAt, 4) + bigEndian(marksAt, 4) +
         bigEndian(offset == ExtensionOffset::absent ? 0 : extensionAt, 4) + std::string(20, '\0') +
         list + markList + extension;
}

// An H.264 stream's beginning with the makers' message in its second enhancement unit; the time as
// above.
inline std::string h264Bytes(const std::string& time) {
  const std::string digits = fromHex(time);
  const std::string message = fromHex("17EE8C60F84D11D98CD60800200C9A66") + "MDPM" +
                              fromHex("03 13 00000000 18 1E") + digits.substr(0, 3) + "\x19" +
                              digits.substr(3);
  std::string escaped;
  std::size_t zeros = 0;
  for (const char byte : message) {
    if (zeros >= 2 && static_cast<std::uint8_t>(byte) <= 3) {
      escaped += '\3';
      zeros = 0;
    }
    zeros = byte == 0 ? zeros + 1 : 0;
    escaped += byte;
  }
  const std::string start = fromHex("000001");
  return start + fromHex("0930") + start + "\x67" + std::string(150, 'S') + start +
         fromHex("0601 02 1122 80") + start + fromHex("06 01 02 1122 05") +
         bigEndian(message.size(), 1) + escaped + "\x80" + start + "\x65" + std::string(400, 'P');
}

// The stream in packets of an AVCHD clip (192 bytes) or of plain transport (188), after a packet
// of sound.
inline std::string transportBytes(const std::string& video, std::size_t step = 192) {
  std::string bytes;
  const auto addPacket = [&](std::size_t stream, bool starts, const std::string& payload) {
    const std::size_t room = 184;
    std::string adaptation;
    if (payload.size() < room) {
      const std::size_t length = room - payload.size() - 1;
      adaptation = bigEndian(length, 1) + (length > 0 ? std::string(1, '\0') : "") +
                   std::string(length > 0 ? length - 1 : 0, '\xFF');
    }
    // The time before a packet of 192 bytes, whose first byte may well look like a sync byte.
    const std::string arrival = step == 192 ? bigEndian(0x47000000 + bytes.size() * 11, 4) : "";
    bytes += arrival + "\x47" + bigEndian((starts ? 0x4000 : 0) | stream, 2) +
             (adaptation.empty() ? "\x10" : "\x30") + adaptation + payload +
             std::string(step == 204 ? 16 : 0, '\0');
  };
  addPacket(0x1100, true,
            fromHex("000001BD 0000 808000") + h264Bytes("19990909090909").substr(0, 90));
  std::string unit = fromHex("000001E0 0000 8080 05 2100010001") + video;
  for (std::size_t offset = 0; offset < unit.size(); offset += 184) {
    addPacket(0x1011, offset == 0, unit.substr(offset, 184));
    addPacket(0x1100, false, "sound");
  }
  return bytes;
}

inline std::string moiBytes(int year, int month, int day, int hour, int minute, int milliseconds) {
  const auto number = [](int value, int width) {
    return bigEndian(static_cast<std::size_t>(value), width);
  };
  return "V6" + number(0x106, 4) + number(year, 2) + number(month, 1) + number(day, 1) +
         number(hour, 1) + number(minute, 1) + number(milliseconds, 2) + number(0x1FE0, 4) +
         std::string(244, '\0');
}

}  // namespace tessarin::test
