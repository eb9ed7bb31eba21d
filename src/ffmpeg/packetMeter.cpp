#include "ffmpeg/packetMeter.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

#include "classShared/TextAdditions.h"
#include "ffmpeg/reportNumbers.h"

namespace tessarin {

namespace {

constexpr std::size_t mostStreams = 64;

// "#tb 0: 1/90000" gives 0 and "1/90000".
struct Fact {
  std::int64_t stream = 0;
  std::string_view value;
};

std::optional<Fact> factOf(std::string_view line, std::string_view name) {
  if (!startsWith(line, name))
    return std::nullopt;
  line.remove_prefix(name.size());
  const auto value = textAfter(line, ": ");
  if (!value)
    return std::nullopt;
  return Fact{leadingInteger(line), *value};
}

// The number that the field is, without the blanks before it.
std::optional<std::int64_t> numberOf(std::string_view field) {
  field = trimmed(field);
  std::int64_t number = 0;
  const auto [end, error] = std::from_chars(field.data(), field.data() + field.size(), number);
  if (error != std::errc() || end != field.data() + field.size())
    return std::nullopt;
  return number;
}

std::int64_t hexadecimal(std::string_view text) {
  std::int64_t number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number, 16);
  return number;
}

// They are told where they are others than those of a key frame.
constexpr std::int64_t keyFrame = 1;
std::int64_t flagsOf(const std::vector<std::string_view>& fields) {
  for (const std::string_view field : fields)
    if (const auto flags = textAfter(field, "F=0x"))
      return hexadecimal(*flags);
  return keyFrame;
}

void findHoles(std::vector<double> starts, MeasuredStream& pictures) {
  constexpr std::size_t least = 10;
  if (starts.size() < least)
    return;
  std::sort(starts.begin(), starts.end());
  std::vector<double> steps(starts.size() - 1);
  for (std::size_t place = 0; place < steps.size(); ++place)
    steps[place] = starts[place + 1] - starts[place];
  std::vector<double> sorted = steps;
  const auto middle = sorted.begin() + static_cast<std::ptrdiff_t>(sorted.size() / 2);
  std::nth_element(sorted.begin(), middle, sorted.end());
  const double usual = *middle;
  constexpr double longest = 1.75;
  double holes = 0;
  std::size_t steady = 0;
  for (const double step : steps) {
    if (step > longest * usual)
      holes += step - usual;
    else if (step > usual / 2)
      ++steady;
  }
  if (steady * 10 < steps.size() * 9)
    return;
  pictures.holes = holes;
  constexpr std::size_t rare = 100;
  pictures.areHolesRare = steps.size() - steady <= 1 + steps.size() / rare;
}

}  // namespace

std::vector<std::string> measuringCommand(const std::vector<std::string>& conversion) {
  const auto input = std::find(conversion.begin(), conversion.end(), "-i");
  if (conversion.empty() || conversion.end() - input < 2)
    return {};
  std::vector<std::string> command(conversion.begin(), input + 2);
  if (const auto offset = std::find(command.begin(), command.end(), "-itsoffset");
      command.end() - offset >= 2)
    command.erase(offset, offset + 2);
  for (auto option = input + 2; option + 1 < conversion.end(); ++option)
    if (*option == "-map")
      command.insert(command.end(), {*option, *(option + 1)});
  if (const auto level = std::find(command.begin(), command.end(), "-loglevel");
      command.end() - level >= 2)
    *(level + 1) = "error";
  command.insert(command.end(),
                 {"-c", "copy", "-copyinkf:v", "-sn", "-dn", "-stats", "-f", "framecrc", "pipe:1"});
  return command;
}

void PacketMeter::addLine(std::string_view line) {
  if (startsWith(line, "#"))
    addFact(line);
  else
    addPacket(line);
}

void PacketMeter::addFact(std::string_view line) {
  const auto clock = factOf(line, "#tb ");
  const auto medium = factOf(line, "#media_type ");
  const auto codec = factOf(line, "#codec_id ");
  const auto& fact = clock ? clock : medium ? medium : codec;
  if (!fact || (streams_.size() == mostStreams && !streams_.contains(fact->stream)))
    return;
  Stream& stream = streams_[fact->stream];
  if (medium) {
    stream.isSound = startsWith(medium->value, "audio");
    return;
  }
  if (codec) {
    stream.isPcm = startsWith(codec->value, "pcm_");
    stream.isDv = startsWith(codec->value, "dvvideo");
    return;
  }
  const auto numerator = static_cast<double>(leadingInteger(clock->value));
  const auto denominator =
      static_cast<double>(leadingInteger(textAfter(clock->value, "/").value_or("")));
  if (numerator > 0 && denominator > 0)
    stream.tick = numerator / denominator;
}

// "0,          0,       3600,     3600,    14183, 0x5e8d2d5a": stream, decoding and presentation
// time, duration, size and checksum.
void PacketMeter::addPacket(std::string_view line) {
  const std::vector<std::string_view> fields = split(line, ",");
  if (fields.size() < 6 || !startsWith(trimmed(fields[5]), "0x"))
    return;
  std::array<std::int64_t, 5> numbers{};
  for (std::size_t field = 0; field < numbers.size(); ++field) {
    const auto number = numberOf(fields[field]);
    if (!number)
      return;
    numbers[field] = *number;
  }
  const auto [number, decoded, shown, duration, size] = numbers;
  // Packets that only help to decode others, which an edit list has cut off.
  constexpr std::int64_t discarded = 4;
  const std::int64_t flags = flagsOf(fields);
  if ((flags & discarded) != 0)
    return;
  const auto found = streams_.find(number);
  if (found == streams_.end() || size < 0 || duration < 0)
    return;
  Stream& stream = found->second;
  const double start = static_cast<double>(shown) * stream.tick;
  const double end = start + static_cast<double>(duration) * stream.tick;
  if (!isWithin(start, ReportRange::time) || !isWithin(end, ReportRange::time))
    return;
  bytes_ += static_cast<std::uint64_t>(size);
  stream.earliest = std::min(stream.earliest.value_or(start), start);
  if (!stream.measured && !stream.isSound && (flags & keyFrame) == 0) {
    ++stream.keyless;
    return;
  }
  const double byteRate = end > start ? static_cast<double>(size) / (end - start) : 0;
  if (!stream.measured) {
    stream.measured = MeasuredStream{};
    stream.measured->keyless = stream.keyless;
    stream.measured->earliest = *stream.earliest;
    stream.measured->first = start;
    stream.measured->end = end;
    stream.latest = start;
    stream.byteRate = byteRate;
    stream.measured->firstSize = size;
  }
  // The check sum of zeros alone, by which decoders go on without a word.
  constexpr std::string_view ofZeros = "0x00000000";
  constexpr std::int64_t leastPicture = 32;  // bytes
  // An empty picture repeats the one before.
  const bool isCutOff = stream.isDv && size > 0 && size < stream.measured->firstSize;
  if (!stream.isSound && ((size >= leastPicture && trimmed(fields[5]) == ofZeros) || isCutOff))
    ++stream.measured->spoilt;
  constexpr std::size_t mostStarts = 10'000'000;
  if (!stream.isSound && stream.starts.size() < mostStarts)
    stream.starts.push_back(start);
  stream.measured->lasting += end - start;
  ++stream.measured->packets;
  constexpr double mostReordering = 1;
  stream.latest = std::max(stream.latest, start);
  if (start < stream.latest - mostReordering)
    ++stream.measured->displaced;
  constexpr double shortestGap = 0.2;
  if (start > stream.measured->end + shortestGap)
    stream.measured->gaps += start - stream.measured->end;
  // Packets of fields do not all have the same number of samples.
  constexpr double unevenness = 0.05;
  if (stream.isPcm && byteRate > 0 && std::abs(byteRate / stream.byteRate - 1) > unevenness)
    ++stream.measured->otherRate;
  stream.measured->end = std::max(stream.measured->end, end);
  if (start < stream.measured->first)
    ++stream.measured->leading;
}

SourceMeasure PacketMeter::result() const {
  SourceMeasure measure;
  measure.bytes = bytes_;
  for (const auto& [number, stream] : streams_) {
    if (!stream.isSound && !measure.pictures) {
      measure.pictures = stream.measured;
      if (measure.pictures)
        findHoles(stream.starts, *measure.pictures);
    }
    if (stream.isSound && stream.measured)
      measure.sounds.push_back(*stream.measured);
  }
  return measure;
}

}  // namespace tessarin
