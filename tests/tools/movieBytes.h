// The beginnings of movies in several containers, made byte by byte around their dates.
#pragma once

#include <fmt/format.h>

#include <string>
#include <utility>

#include "tools/cardBytes.h"

namespace tessarin::test {

// ---- QuickTime

inline std::string atom(const std::string& type, const std::string& body) {
  return bigEndian(body.size() + 8, 4) + type + body;
}

inline std::string movieHeader(std::size_t seconds) {
  return atom("mvhd", bigEndian(0, 4) + bigEndian(seconds, 4) + std::string(92, '\0'));
}

// The second of two keys, so that entries have to be found by their numbers.
inline std::string dateKey(const std::string& date) {
  const auto key = [](const std::string& name) { return atom("mdta", name); };
  const auto entry = [](std::size_t number, const std::string& text) {
    return atom(bigEndian(number, 4), atom("data", bigEndian(1, 4) + bigEndian(0, 4) + text));
  };
  return atom("hdlr", std::string(25, '\0')) +
         atom("keys", bigEndian(0, 4) + bigEndian(2, 4) + key("com.apple.quicktime.make") +
                          key("com.apple.quicktime.creationdate")) +
         atom("ilst", entry(1, "1999-01-01T00:00:00") + entry(2, date));
}

inline std::string dayOfUserData(const std::string& date) {
  return atom(
      "\xA9"
      "day",
      bigEndian(date.size(), 2) + bigEndian(0x55C4, 2) + date + "junk");
}

// A file whose index is at its end, behind samples whose size is told in 64 bits.
inline std::string quickTime(const std::string& index, const std::string& samples = "pictures") {
  return atom("ftyp", "qt  ") + bigEndian(1, 4) + "mdat" + bigEndian(samples.size() + 16, 8) +
         samples + atom("moov", index);
}

// ---- Matroska, MXF, AVI

inline std::string matroska(std::size_t secondsSince2001, const std::string& pictures = "") {
  const auto element = [](const std::string& id, const std::string& body) {
    return fromHex(id) + bigEndian(0x10000000 | body.size(), 4) + body;
  };
  const std::string information = element("2AD7B1", bigEndian(1000000, 3)) +
                                  element("4461", bigEndian(secondsSince2001 * 1000000000, 8));
  return element("1A45DFA3", element("4282", "matroska")) + fromHex("18538067 01FFFFFFFFFFFFFF") +
         element("EC", std::string(40, '\0')) + element("1549A966", information) +
         element("1F43B675", pictures);
}

inline std::string mxf(const std::string& date) {
  const auto piece = [](const std::string& key, const std::string& body) {
    return fromHex("060E2B34" + key) + "\x83" + bigEndian(body.size(), 3) + body;
  };
  const auto value = [](std::size_t tag, const std::string& bytes) {
    return bigEndian(tag, 2) + bigEndian(bytes.size(), 2) + bytes;
  };
  return std::string(100, 'r') + piece("02050101 0D01020101020400", std::string(88, '\0')) +
         piece("02530101 0D01010101013700", value(0x4405, fromHex("07CD 01 01 00 00 00 00"))) +
         piece("02530101 0D01010101013600",
               value(0x4404, fromHex("07CE 01 01 00 00 00 00")) + value(0x4405, fromHex(date)));
}

inline std::string avi(const std::string& date, const std::string& pictures = "") {
  const auto chunk = [](const std::string& name, const std::string& body) {
    std::string length = bigEndian(body.size(), 4);
    return name + std::string(length.rbegin(), length.rend()) + body;
  };
  return chunk("RIFF", "AVI " + chunk("LIST", "hdrl" + chunk("IDIT", date)) +
                           chunk("LIST", "movi" + chunk("00dc", pictures)));
}

// ---- DV

// A frame whose packs of date and time are these ("FFD6E210" and "FFA8B6E1" are 2010-02-16
// 21:36:28), in the places of even or odd sequences.
inline std::string dvFrame(const std::string& date, const std::string& time, bool is625 = true) {
  std::string frame;
  for (int sequence = 0; sequence < (is625 ? 12 : 10); ++sequence) {
    std::string bytes;
    for (int block = 0; block < 150; ++block) {
      const int place = block - 6;  // among sound and picture, in groups of 16
      const auto [kind, number] = block == 0        ? std::pair("1F", 0)
                                  : block < 3       ? std::pair("3F", block - 1)
                                  : block < 6       ? std::pair("5F", block - 3)
                                  : place % 16 == 0 ? std::pair("7F", place / 16)
                                                    : std::pair("9F", place - place / 16 - 1);
      bytes += fromHex(kind) + static_cast<char>(sequence << 4 | 7) + static_cast<char>(number) +
               (is625 ? "\xBF" : "\x3F") + std::string(76, '\xFF');
    }
    const std::size_t at = sequence % 2 == 0 ? 458 : 253;
    bytes.replace(at, 10, "\x62" + fromHex(date) + "\x63" + fromHex(time));
    frame += bytes;
  }
  return frame;
}

// The picture with this number of a recording, by its time code and by the camera's clock.
inline std::string dvPicture(int code, int clock, bool starts = false) {
  const auto bcd = [](int number) { return number / 10 * 16 + number % 10; };
  const int seconds = clock / 25;
  std::string frame =
      dvFrame("FFD6E210", fmt::format("FF{:02x}{:02x}10", bcd(seconds % 60), bcd(seconds / 60)));
  const std::string packs = fromHex(fmt::format("13{:02x}{:02x}{:02x}00", bcd(code % 25),
                                                bcd(code / 25 % 60), bcd(code / 1500))) +
                            fromHex(starts ? "61FF48FFFF" : "61FFC8FFFF");
  for (std::size_t at = 468; at < frame.size(); at += 24000)
    frame.replace(at, packs.size(), packs);
  return frame;
}

}  // namespace tessarin::test
