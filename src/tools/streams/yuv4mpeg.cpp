#include "tools/streams/yuv4mpeg.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <string>

namespace tessarin::yuv4mpeg {

namespace {

std::optional<int> wholeNumber(std::string_view text) {
  int number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size() || number < 0)
    return std::nullopt;
  return number;
}

std::optional<quicktime::Fraction> fraction(std::string_view text) {
  const std::size_t colon = text.find(':');
  if (colon == std::string_view::npos)
    return std::nullopt;
  const auto numerator = wholeNumber(text.substr(0, colon));
  const auto denominator = wholeNumber(text.substr(colon + 1));
  if (!numerator || !denominator)
    return std::nullopt;
  return quicktime::Fraction{*numerator, *denominator};
}

std::optional<quicktime::FieldOrder> fieldOrder(std::string_view letter) {
  if (letter == "p" || letter == "?")
    return quicktime::FieldOrder::progressive;
  if (letter == "t")
    return quicktime::FieldOrder::topFirst;
  if (letter == "b")
    return quicktime::FieldOrder::bottomFirst;
  return std::nullopt;
}

struct Pixels {
  std::string_view name;
  blocks::Sampling sampling;
  int bits;
  bool chromaOnLines = false;
};
// Where samples of chroma lie beside those of luma is left as it is.
constexpr Pixels knownPixels[] = {
    {"420", blocks::Sampling::yuv420, 8},      {"420jpeg", blocks::Sampling::yuv420, 8},
    {"420mpeg2", blocks::Sampling::yuv420, 8}, {"420paldv", blocks::Sampling::yuv420, 8, true},
    {"422", blocks::Sampling::yuv422, 8},      {"444", blocks::Sampling::yuv444, 8},
    {"420p10", blocks::Sampling::yuv420, 10},  {"422p10", blocks::Sampling::yuv422, 10},
    {"444p10", blocks::Sampling::yuv444, 10}};

std::optional<std::string> applyPixels(std::string_view name, Accepted accepted, Header& header) {
  const bool only420 = accepted == Accepted::only8Bits420;
  const auto* const pixels =
      std::find_if(std::begin(knownPixels), std::end(knownPixels),
                   [name](const Pixels& known) { return known.name == name; });
  if (pixels == std::end(knownPixels) ||
      (only420 && (pixels->bits != 8 || pixels->sampling != blocks::Sampling::yuv420)))
    return std::string(only420 ? "only 8 bits 4:2:0"
                               : "only 4:2:0, 4:2:2 and 4:4:4 of 8 or 10 bits") +
           " can be taken, and this is C" + std::string(name);
  header.sampling = pixels->sampling;
  header.bits = pixels->bits;
  header.chromaOnLines = pixels->chromaOnLines;
  return std::nullopt;
}

// Takes one word of the header; answers why it cannot.
std::optional<std::string> applyWord(std::string_view word, Accepted accepted, Header& header) {
  const std::string_view value = word.substr(1);
  switch (word.front()) {
    case 'W':
      header.width = wholeNumber(value).value_or(0);
      break;
    case 'H':
      header.height = wholeNumber(value).value_or(0);
      break;
    case 'F': {
      const auto rate = fraction(value);
      if (!rate || rate->numerator == 0 || rate->denominator == 0)
        return "the stream does not say its frame rate";
      header.frameRate = *rate;
      break;
    }
    case 'A': {
      const auto aspect = fraction(value);
      if (!aspect)
        return "the stream's pixel shape is no fraction: " + std::string(value);
      if (aspect->numerator != 0 && aspect->denominator != 0)
        header.pixelAspect = *aspect;
      break;
    }
    case 'I': {
      const auto order = fieldOrder(value);
      if (!order)
        return "frames of mixed interlacing cannot be taken (I" + std::string(value) + ")";
      header.fieldOrder = *order;
      break;
    }
    case 'C':
      return applyPixels(value, accepted, header);
    case 'X':
      // Decoders take the movie's luma for that of television, 16 to 235.
      if (value == "COLORRANGE=FULL")
        return "luma of 0 to 255 cannot be taken (ask ffmpeg for -vf scale=out_range=tv)";
      break;
    default:
      break;  // other extensions and comments
  }
  return std::nullopt;
}

}  // namespace

std::size_t Header::lumaStride() const {
  return static_cast<std::size_t>(width) * (bits > 8 ? 2 : 1);
}

std::size_t Header::chromaStride() const {
  return static_cast<std::size_t>(chromaWidth(sampling, width)) * (bits > 8 ? 2 : 1);
}

std::size_t Header::lumaSize() const {
  return lumaStride() * static_cast<std::size_t>(height);
}

std::size_t Header::chromaSize() const {
  return chromaStride() * static_cast<std::size_t>(chromaHeight(sampling, height));
}

Outcome<Header> parseHeader(std::string_view line, Accepted accepted) {
  constexpr std::string_view magic = "YUV4MPEG2";
  if (!line.starts_with(magic) || (line.size() > magic.size() && line[magic.size()] != ' '))
    return Failure{"this is no YUV4MPEG2 stream"};
  line.remove_prefix(magic.size());
  Header header;
  while (!line.empty()) {
    const std::size_t blank = std::min(line.find(' '), line.size());
    if (blank > 0) {
      if (const auto problem = applyWord(line.substr(0, blank), accepted, header))
        return Failure{*problem};
    }
    line.remove_prefix(std::min(blank + 1, line.size()));
  }
  if (header.width < 1 || header.height < 1)
    return Failure{"the stream does not say its picture size"};
  // Memory is taken by these numbers.
  constexpr int largestSide = 16384;
  constexpr std::size_t mostBytes = 192U << 20;
  if (header.width > largestSide || header.height > largestSide || header.frameSize() > mostBytes)
    return Failure{"the stream's pictures are too large"};
  return header;
}

Outcome<Header> Reader::readHeader(Accepted accepted) {
  const Outcome<std::string> line = source_.readLine();
  if (!line)
    return Failure{line.reason()};
  if (line.value().empty())
    return Failure{emptyStream};
  return parseHeader(line.value(), accepted);
}

Outcome<bool> Reader::readFrame(std::span<std::uint8_t> frame) {
  const Outcome<std::string> line = source_.readLine();
  if (!line)
    return Failure{line.reason()};
  if (line.value().empty())
    return false;
  ++frames_;
  const std::string_view start = line.value();
  if (!start.starts_with("FRAME") || (start.size() > 5 && start[5] != ' '))
    return Failure{"frame " + std::to_string(frames_) + " of the stream does not begin as one"};
  const Outcome<std::size_t> count = source_.read(frame);
  if (!count)
    return Failure{count.reason()};
  if (count.value() < frame.size())
    return Failure{"the stream ends inside frame " + std::to_string(frames_)};
  return true;
}

}  // namespace tessarin::yuv4mpeg
