#include "tools/quicktime/movieHeader.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "ffmpeg/languages.h"
#include "tools/quicktime/atoms.h"
#include "tools/quicktime/sampleDescription.h"

namespace tessarin::quicktime {

namespace {

using Atom = AtomWriter::Atom;

constexpr std::uint64_t most32Bits = 0xFFFFFFFF;

// What is common to the atoms of a track.
struct TrackTimes {
  std::uint32_t id = 1;
  std::uint64_t duration = 0;  // in the movie's ticks, the offset included
  std::uint32_t group = 0;     // of tracks that are alternatives of each other; 0: none
};

std::uint64_t sampleCount(const std::vector<Chunk>& chunks) {
  std::uint64_t count = 0;
  for (const Chunk& chunk : chunks)
    count += chunk.samples;
  return count;
}

// Numbers that are 64 bits wide in version 1 of an atom and 32 bits in version 0.
void putWide(AtomWriter& out, std::uint64_t number, bool wide) {
  if (wide)
    out.put64(number);
  else
    out.put32(number);
}

std::uint32_t versionFlags(bool wide, std::uint32_t flags) {
  return (wide ? 1U << 24 : 0) | flags;
}

void putMatrix(AtomWriter& out) {
  for (const std::uint32_t entry : {0x10000U, 0U, 0U, 0U, 0x10000U, 0U, 0U, 0U, 0x40000000U})
    out.put32(entry);
}

void putMovieHeader(AtomWriter& out, std::uint64_t made, std::uint64_t duration,
                    const TimeScale& scale, std::size_t tracks) {
  const bool wide = duration > most32Bits;
  const Atom atom(out, "mvhd", versionFlags(wide, 0));
  putWide(out, made, wide);
  putWide(out, made, wide);  // changed
  out.put32(scale.moviePerSecond());
  putWide(out, duration, wide);
  out.put32(0x10000);  // normal speed
  out.put16(0x100);    // full volume
  out.putZeros(10);
  putMatrix(out);
  out.putZeros(24);  // preview, poster, selection, current time
  out.put32(tracks + 1);
}

void putTrackHeader(AtomWriter& out, const TrackTimes& times, bool sound, std::uint32_t width,
                    std::uint32_t height) {
  constexpr std::uint32_t enabledInMovie = 1 | 2 | 4;
  const bool wide = times.duration > most32Bits;
  const Atom atom(out, "tkhd", versionFlags(wide, enabledInMovie));
  putWide(out, 0, wide);
  putWide(out, 0, wide);
  out.put32(times.id);
  out.put32(0);
  putWide(out, times.duration, wide);
  out.putZeros(8);
  out.put16(0);  // layer
  out.put16(times.group);
  out.put16(sound ? 0x100 : 0);  // volume
  out.put16(0);
  putMatrix(out);
  out.put32(width << 16);
  out.put32(height << 16);
}

struct Edit {
  std::uint64_t duration = 0;   // in the movie's ticks
  std::int64_t mediaStart = 0;  // in the track's; -1: nothing is shown
};

void putEdits(AtomWriter& out, const std::vector<Edit>& edits) {
  const bool wide = std::any_of(edits.begin(), edits.end(), [](const Edit& edit) {
    return edit.duration > most32Bits || edit.mediaStart > 0x7FFFFFFF;
  });
  const Atom container(out, "edts");
  const Atom atom(out, "elst", versionFlags(wide, 0));
  out.put32(edits.size());
  for (const Edit& edit : edits) {
    putWide(out, edit.duration, wide);
    putWide(out, static_cast<std::uint64_t>(edit.mediaStart), wide);
    out.put32(0x10000);
  }
}

// Five bits for each letter; 0x7FFF for none.
std::uint32_t packedLanguage(std::string_view code) {
  const std::string_view own = ownLanguageCode(code);
  const bool isCode = own.size() == 3 && own != "und" &&
                      std::all_of(own.begin(), own.end(),
                                  [](char letter) { return letter >= 'a' && letter <= 'z'; });
  std::uint32_t packed = 0;
  for (const char letter : isCode ? own : std::string_view())
    packed = packed << 5 | (static_cast<std::uint32_t>(letter) - 0x60);
  return isCode ? packed : 0x7FFF;
}

void putMediaHeader(AtomWriter& out, std::uint32_t perSecond, std::uint64_t duration,
                    std::string_view language = {}) {
  const bool wide = duration > most32Bits;
  const Atom atom(out, "mdhd", versionFlags(wide, 0));
  putWide(out, 0, wide);
  putWide(out, 0, wide);
  out.put32(perSecond);
  putWide(out, duration, wide);
  out.put16(packedLanguage(language));
  out.put16(0);
}

void putHandler(AtomWriter& out, std::string_view kind, std::string_view type,
                std::string_view name) {
  const Atom atom(out, "hdlr", 0);
  out.putText(kind);
  out.putText(type);
  out.putZeros(12);
  out.putCountedText(name, name.size() + 1);
}

// The media is in this file.
void putDataReference(AtomWriter& out) {
  putHandler(out, "dhlr", "url ", "DataHandler");
  const Atom information(out, "dinf");
  const Atom references(out, "dref", 0);
  out.put32(1);
  const Atom reference(out, "url ", 1);
}

void putTimeTable(AtomWriter& out, std::uint64_t samples, std::uint32_t ticks) {
  const Atom atom(out, "stts", 0);
  out.put32(samples == 0 ? 0 : 1);
  if (samples != 0) {
    out.put32(samples);
    out.put32(ticks);
  }
}

void putChunkTables(AtomWriter& out, const std::vector<Chunk>& chunks) {
  {
    const Atom atom(out, "stsc", 0);
    std::vector<std::size_t> firsts;  // chunks that hold another number than the one before
    for (std::size_t i = 0; i < chunks.size(); ++i) {
      if (i == 0 || chunks[i].samples != chunks[i - 1].samples)
        firsts.push_back(i);
    }
    out.put32(firsts.size());
    for (const std::size_t first : firsts) {
      out.put32(first + 1);
      out.put32(chunks[first].samples);
      out.put32(1);  // description
    }
  }
  const bool wide = !chunks.empty() && chunks.back().position > most32Bits;
  const Atom atom(out, wide ? "co64" : "stco", 0);
  out.put32(chunks.size());
  for (const Chunk& chunk : chunks)
    putWide(out, chunk.position, wide);
}

std::uint64_t toMovieTicks(std::int64_t samples, const SoundFormat& format,
                           const TimeScale& scale) {
  const std::int64_t rate = format.sampleRate;
  return static_cast<std::uint64_t>((samples * scale.moviePerSecond() + rate / 2) / rate);
}

// In the movie's ticks, like the edits.
std::uint64_t videoDuration(const VideoTrack& track, const TimeScale& scale) {
  return track.frameSizes.size() * std::uint64_t{scale.perFrame} * scale.finer;
}

std::vector<Edit> soundEdits(const SoundTrack& track, const TimeScale& scale) {
  const auto count = static_cast<std::int64_t>(sampleCount(track.chunks));
  const std::int64_t offset = track.format.startOffset;
  // What comes before the picture is left out.
  const std::int64_t skipped = offset < 0 ? std::min(-offset, count) : 0;
  std::vector<Edit> edits;
  if (offset > 0)
    edits.push_back({toMovieTicks(offset, track.format, scale), -1});
  edits.push_back({toMovieTicks(count - skipped, track.format, scale), skipped});
  return edits;
}

std::uint64_t editedDuration(const std::vector<Edit>& edits) {
  std::uint64_t duration = 0;
  for (const Edit& edit : edits)
    duration += edit.duration;
  return duration;
}

// `timeCodeId`: the track that tells its time code; 0: none.
void putVideoTrack(AtomWriter& out, const VideoTrack& track, const TimeScale& scale,
                   std::uint32_t timeCodeId) {
  const VideoFormat& format = track.format;
  const std::uint64_t duration = videoDuration(track, scale);
  const Atom container(out, "trak");
  // The track is as wide as the picture is shown.
  const std::int64_t shownWidth =
      (format.width * format.pixelAspect.numerator + format.pixelAspect.denominator / 2) /
      format.pixelAspect.denominator;
  putTrackHeader(out, {1, duration}, false, static_cast<std::uint32_t>(shownWidth),
                 static_cast<std::uint32_t>(format.height));
  putEdits(out, {{duration, 0}});
  if (timeCodeId != 0) {
    const Atom references(out, "tref");
    const Atom reference(out, "tmcd");
    out.put32(timeCodeId);
  }
  const Atom media(out, "mdia");
  putMediaHeader(out, scale.perSecond, duration / scale.finer);
  putHandler(out, "mhlr", "vide", "VideoHandler");
  const Atom information(out, "minf");
  {
    const Atom atom(out, "vmhd", 1);
    out.putZeros(8);  // copied to the screen as it is
  }
  putDataReference(out);
  const Atom samples(out, "stbl");
  putVideoDescription(out, format);
  putTimeTable(out, track.frameSizes.size(), scale.perFrame);
  {
    const Atom atom(out, "stsz", 0);
    out.put32(0);
    out.put32(track.frameSizes.size());
    for (const std::uint32_t size : track.frameSizes)
      out.put32(size);
  }
  putChunkTables(out, track.chunks);
}

// As much of a text as a handler's name holds, in whole characters.
std::string handlerName(const SoundName& name) {
  constexpr std::size_t mostBytes = 200;
  if (name.text.empty())
    return "SoundHandler";
  std::size_t end = std::min(name.text.size(), mostBytes);
  const auto goesOn = [&](std::size_t place) {
    return place < name.text.size() &&
           (static_cast<unsigned char>(name.text[place]) & 0xC0) == 0x80;
  };
  while (end > 0 && goesOn(end))
    --end;
  return name.text.substr(0, end);
}

void putSoundTrack(AtomWriter& out, const SoundTrack& track, std::uint32_t id, std::uint32_t group,
                   const TimeScale& scale) {
  const SoundFormat& format = track.format;
  const std::uint64_t count = sampleCount(track.chunks);
  const std::vector<Edit> edits = soundEdits(track, scale);
  const Atom container(out, "trak");
  putTrackHeader(out, {id, editedDuration(edits), group}, true, 0, 0);
  putEdits(out, edits);
  const Atom media(out, "mdia");
  putMediaHeader(out, static_cast<std::uint32_t>(format.sampleRate), count, track.name.language);
  putHandler(out, "mhlr", "soun", handlerName(track.name));
  const Atom information(out, "minf");
  {
    const Atom atom(out, "smhd", 0);
    out.putZeros(4);  // balance in the middle
  }
  putDataReference(out);
  const Atom samples(out, "stbl");
  putSoundDescription(out, format);
  putTimeTable(out, count, 1);
  {
    const Atom atom(out, "stsz", 0);
    out.put32(2 * static_cast<std::uint64_t>(format.channels));
    out.put32(count);
  }
  putChunkTables(out, track.chunks);
}

void putTimeCodeTrack(AtomWriter& out, const TimeCodeTrack& track, std::uint32_t id,
                      std::uint64_t duration, const TimeScale& scale) {
  out.putText(timeCodeTrack(track.code, {id, track.position, duration, scale.perSecond,
                                         scale.perFrame, duration / scale.finer}));
}

}  // namespace

TimeScale timeScale(const Fraction& frameRate) {
  const std::int64_t divisor =
      std::max<std::int64_t>(std::gcd(frameRate.numerator, frameRate.denominator), 1);
  const std::int64_t perSecond = std::max<std::int64_t>(frameRate.numerator / divisor, 1);
  constexpr std::int64_t fineEnough = 10000;
  return {static_cast<std::uint32_t>(perSecond),
          static_cast<std::uint32_t>(frameRate.denominator / divisor),
          static_cast<std::uint32_t>((fineEnough + perSecond - 1) / perSecond)};
}

std::vector<std::uint8_t> movieHeader(const Movie& movie) {
  const TimeScale scale = timeScale(movie.video.format.frameRate);
  std::uint64_t duration = videoDuration(movie.video, scale);
  for (const SoundTrack& track : movie.sound)
    duration = std::max(duration, editedDuration(soundEdits(track, scale)));

  AtomWriter out;
  {
    const Atom atom(out, "moov");
    const std::size_t tracks = 1 + movie.sound.size() + (movie.timeCode ? 1 : 0);
    putMovieHeader(out, movie.made, duration, scale, tracks);
    putVideoTrack(out, movie.video, scale, movie.timeCode ? static_cast<std::uint32_t>(tracks) : 0);
    std::uint32_t id = 2;
    for (const SoundTrack& track : movie.sound)
      putSoundTrack(out, track, id++, movie.sound.size() == 1 ? 1 : 0, scale);
    if (movie.timeCode)
      putTimeCodeTrack(out, *movie.timeCode, id, videoDuration(movie.video, scale), scale);
    putMovieTexts(out, movie.texts);
  }
  return out.bytes();
}

}  // namespace tessarin::quicktime
