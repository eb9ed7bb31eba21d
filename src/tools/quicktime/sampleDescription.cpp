#include "tools/quicktime/sampleDescription.h"

#include <bit>

namespace tessarin::quicktime {

using Atom = AtomWriter::Atom;

void putVideoDescription(AtomWriter& out, const VideoFormat& format) {
  const Atom table(out, "stsd", 0);
  out.put32(1);
  const Atom description(out, format.codec);
  out.putZeros(6);
  out.put16(1);  // data reference
  out.put16(0);  // version
  out.put16(1);  // revision
  out.putText("appl");
  out.put32(0);      // temporal quality: key frames only
  out.put32(0x200);  // spatial quality
  out.put16(static_cast<std::uint64_t>(format.width));
  out.put16(static_cast<std::uint64_t>(format.height));
  out.put32(72 << 16);
  out.put32(72 << 16);
  out.put32(0);
  out.put16(1);  // frames in a sample
  out.putCountedText(format.codecName, 32);
  out.put16(24);      // depth
  out.put16(0xFFFF);  // no colour table
  if (format.codec == "icod") {
    const Atom atom(out, "hpre");
    out.put32(0);
  }
  {
    const Atom atom(out, "fiel");
    // The number of fields, and which is first in time and in the frame.
    out.put8(format.fieldOrder == FieldOrder::progressive ? 1 : 2);
    out.put8(format.fieldOrder == FieldOrder::progressive ? 0
             : format.fieldOrder == FieldOrder::topFirst  ? 9
                                                          : 14);
  }
  if (format.pixelAspect.numerator != format.pixelAspect.denominator) {
    const Atom atom(out, "pasp");
    out.put32(static_cast<std::uint64_t>(format.pixelAspect.numerator));
    out.put32(static_cast<std::uint64_t>(format.pixelAspect.denominator));
  }
  if (!format.colours.primaries.empty()) {
    const ColourNumbers numbers = colourNumbers(coloursInProres(format.colours));
    const Atom atom(out, "colr");
    out.putText("nclc");
    out.put16(static_cast<std::uint64_t>(numbers.primaries));
    out.put16(static_cast<std::uint64_t>(numbers.transfer));
    out.put16(static_cast<std::uint64_t>(numbers.matrix));
  }
}

namespace {

// Version 0 knows no more than two channels, versions 0 and 1 no rate that 16 bits cannot hold.
void putShortSoundDescription(AtomWriter& out, const SoundFormat& format) {
  const bool extended = format.channels > 2;
  out.putZeros(6);
  out.put16(1);  // data reference
  out.put16(extended ? 1 : 0);
  out.putZeros(6);  // revision and vendor
  out.put16(static_cast<std::uint64_t>(format.channels));
  out.put16(16);
  out.put32(0);  // no compression, no packets
  out.put32(static_cast<std::uint64_t>(format.sampleRate) << 16);
  if (extended) {
    out.put32(1);  // sample moments in a packet
    out.put32(2);  // bytes of one channel in a packet
    out.put32(2 * static_cast<std::uint64_t>(format.channels));
    out.put32(2);  // bytes of a sample
  }
}

// Version 2, whose fields of before have fixed values.
void putLongSoundDescription(AtomWriter& out, const SoundFormat& format) {
  constexpr std::uint32_t sizeOfTheseFields = 72;
  constexpr std::uint32_t signedInteger = 4;
  constexpr std::uint32_t withoutGaps = 8;
  out.putZeros(6);
  out.put16(1);  // data reference
  out.put16(2);
  out.putZeros(6);  // revision and vendor
  out.put16(3);
  out.put16(16);
  out.put16(0xFFFE);
  out.put16(0);
  out.put32(0x10000);
  out.put32(sizeOfTheseFields);
  out.put64(std::bit_cast<std::uint64_t>(static_cast<double>(format.sampleRate)));
  out.put32(static_cast<std::uint64_t>(format.channels));
  out.put32(0x7F000000);
  out.put32(16);  // bits of a sample, low byte first
  out.put32(signedInteger | withoutGaps);
  out.put32(2 * static_cast<std::uint64_t>(format.channels));  // bytes of a packet
  out.put32(1);                                                // sample moments in it
}

// The layout of these places. The bits at the sides are in a movie loudspeakers besides those of
// surround sound, so that the usual layouts have a tag of their own: left, right, centre, low
// frequencies, surround left and right.
constexpr std::uint32_t layoutOfBits = 0x10000;

std::uint32_t layoutTag(std::uint32_t places) {
  constexpr std::uint32_t surround5 = 117U << 16 | 5;
  constexpr std::uint32_t surround51 = 121U << 16 | 6;
  if (places == 0x607)
    return surround5;
  return places == 0x60F ? surround51 : layoutOfBits;
}

}  // namespace

void putSoundDescription(AtomWriter& out, const SoundFormat& format) {
  const Atom table(out, "stsd", 0);
  out.put32(1);
  const bool isFast = format.sampleRate > 0xFFFF;
  const Atom description(out, isFast ? "lpcm" : "sowt");
  if (isFast)
    putLongSoundDescription(out, format);
  else
    putShortSoundDescription(out, format);
  if (format.channelPlaces != 0) {
    const std::uint32_t tag = layoutTag(format.channelPlaces);
    const Atom atom(out, "chan", 0);
    out.put32(tag);
    out.put32(tag == layoutOfBits ? format.channelPlaces : 0);
    out.put32(0);
  }
}

}  // namespace tessarin::quicktime
