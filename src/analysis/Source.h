// A clip as the program knows it: what the analysis finds out and everything else reads.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "analysis/Fields.h"
#include "analysis/recordingFacts.h"
#include "ffmpeg/pictureColours.h"
#include "ffmpeg/streamLine.h"

namespace tessarin {

// What tells when a clip was recorded: a card with playlists; the camera's file beside the clip;
// the pictures; the file around them; the file system.
enum class RecordedBy { card, beside, stream, container, file };

// What slow motion has for sound: as it was recorded, so that it ends before the pictures do; none;
// as long as the pictures, at its own pitch.
enum class SlowSound { asRecorded, silent, slowed };

// What is not known is absent, or "" of a text; never zero. Numbers of a report are single
// precision. As a record (sourceRecord.h) it is stored and told.
struct Source {
  struct Stream {
    std::optional<std::int64_t> id;       // ffmpeg's number of it
    std::string language;                 // its code
    std::string codec;                    // by ffmpeg's name
    std::optional<std::int64_t> bitRate;  // kb/s
    bool operator==(const Stream&) const = default;
  };
  struct Pictures : Stream {
    std::optional<double> rate;        // a second; of an interlaced source of 30 or less its fields
    std::optional<double> codecClock;  // ticks a second, without "k"
    std::optional<std::int64_t> width;
    std::optional<std::int64_t> height;
    std::string pixelShape;  // "64:45"
    std::string shape;       // "16:9", of the pictures as they are coded
    // The same as the container has it, where that is another.
    std::string containerPixelShape;
    std::string containerShape;
    std::string format;  // "yuv420p"
    std::optional<Fields> fields;
    std::optional<Fields> claim;  // the order that the stream claims, where its pictures say other
    PictureColours colours;       // that the clip names
    // Seconds, as a conversion counts them, to the first picture that can be decoded, where that is
    // not 0: sound begins before, or the clip was cut inside a group of pictures; below 0 where
    // pictures are shown before the key frame that a QuickTime movie's time begins with.
    std::optional<double> begin;
    // Degrees, -179 to 180, by which a player turns the pictures against the clock.
    std::int64_t rotation = 0;
    bool operator==(const Pictures&) const = default;
  };
  struct Sound : Stream {
    std::optional<std::int64_t> rate;  // Hz
    std::optional<std::int64_t> channels;
    std::string title;
    bool isMisread = false;  // ffmpeg takes it for something else and has to be told the decoder
    bool operator==(const Sound&) const = default;
  };
  struct Subtitle : Stream {
    std::string title;
    bool operator==(const Subtitle&) const = default;
  };
  // How much later than the container a stream starts, in ms; only beyond 30 ms either way.
  struct Offset {
    std::optional<std::int64_t> shown;    // its first presentation time
    std::optional<std::int64_t> decoded;  // its first decoding time
    bool operator==(const Offset&) const = default;
  };
  // What the user has to be told of it (remarkTexts of core).
  struct Remark {
    enum class Kind {
      soundUnreadable,    // with ffmpeg's number of the stream, which is left out
      programs,           // with their number: one of them is converted
      doubtfulPart,       // seems to go on in a next file that is not there, or does not fit
      soundFilesMissing,  // with their number: the card tells of them, and has them not
      soundFilesByName,   // for the card does not tell which belong to the clip
      timeUnread,         // when it was recorded: what reads that failed
      laterPart,          // the one before is not there, or does not fit
      partsUnknown,       // of this and the clips taken in with it: what looks for them failed
      unsplitTape,        // may hold several recordings: where they would meet is not certain
    };
    Kind kind = Kind::programs;
    std::int64_t number = 0;
    bool operator==(const Remark&) const = default;
  };

  // A file of a recording that the camera cut, behind the first one.
  struct Part {
    double begin = 0;  // seconds from the beginning of the recording
    std::int64_t bytes = 0;
    std::string path;
    std::int64_t changed = 0;  // as of the source
    bool operator==(const Part&) const = default;
  };

  // A file beside the one with the pictures that has a sound of theirs.
  struct SoundFile {
    std::int64_t bytes = 0;
    std::string path;
    std::int64_t changed = 0;  // as of the source
    bool operator==(const SoundFile&) const = default;
  };

  std::string path;  // or that of a section of a file: fileSection.h
  // Of a clip with a file for each channel of its sound: these, in order, of each part. The sounds'
  // numbers are those behind the pictures, which are stream 0.
  std::vector<SoundFile> soundFiles;
  // The files in which the recording goes on. What is said of the streams is said of the first
  // file, the length is that of all.
  std::vector<Part> furtherParts;
  std::string thumbnail;                        // the file of its picture
  bool hasOddThumbnail = false;                 // not of a key frame
  std::optional<bool> keepsSurround;            // in the movie; the user's choice
  std::string soundChoice;                      // likewise: soundChoice.h
  SlowSound slowSound = SlowSound::asRecorded;  // likewise
  // The row of sizes and the application that it was last made valid for.
  std::optional<std::int64_t> sizeOutPrevious;
  std::optional<std::int64_t> softPrevious;

  std::string container;  // "mpegts", "mov,mp4,m4a,…"
  // Digits: bytes of the file when it was looked at. Another number later is another clip.
  std::string bytes;
  // Of a recording of several files, which cameras make equally large, or of a tape's among others:
  // when the first file was last changed, in seconds since 1970; 0: not known.
  std::int64_t changed = 0;
  std::optional<double> duration;       // seconds; whole ones of a report, from one on
  std::optional<double> seconds;        // the same to the hundredth, also of clips below a second
  std::optional<double> start;          // seconds
  std::optional<std::int64_t> bitRate;  // kb/s
  std::vector<double> chapters;         // seconds
  std::optional<double> firstKeyFrame;  // above 0: seconds from the start
  // What ffmpeg has to be told to read it: its format, where the file does not tell that; how many
  // bytes and microseconds it has to read before it knows the streams, where that is more than it
  // does by itself; which streams are meant, where it could choose others.
  std::string toldFormat;
  std::optional<std::int64_t> probeSize;
  std::optional<std::int64_t> analyzeDuration;
  bool isMapped = false;
  // Whether recordings with clocks of their own were put behind each other in it, to be joined by
  // the tool joinclips. Known when all of it was read, and not stored.
  bool isJoined = false;
  // By the camera's clock: "2010-12-24 14:05:33"; by the date of the file with the zone of this
  // machine: "2010-12-24 14:05:33 +0100".
  std::string recorded;
  std::optional<RecordedBy> recordedBy;  // also without a time, of a clip on a card without one
  RecordingFacts recording;
  std::vector<Remark> remarks;

  // The pictures that are converted, and the first sound; which sounds are, soundChoice.h says.
  Pictures pictures;
  Sound sound;
  // And those behind them, in order.
  std::vector<Pictures> otherPictures;
  std::vector<Sound> otherSounds;
  std::vector<Subtitle> subtitles;
  std::map<std::pair<StreamKind, int>, Offset> offsets;  // by ffmpeg's number of the stream
  std::optional<std::int64_t> pictureLead;  // ms: the smallest offset of pictures, sign turned

  bool operator==(const Source&) const = default;
};

// Whether the pictures are known to be whole ones.
bool isSourceProgressive(const Source& source);
// Seconds, as exactly as they are known; 0: not at all.
double lengthOf(const Source& source);
// All its files, in order: those with its pictures, and those with sound alone.
std::vector<std::string> filesOf(const Source& source);
// Those with its pictures.
std::vector<std::string> partsOf(const Source& source);
// Whether the tool joinclips has to read it.
bool isReadJoined(const Source& source);
// Whether its pictures may change their size: other recordings may follow in it.
bool mayChangeSize(const Source& source);
// The one of its files that has the pictures of this moment, in seconds, as a source of its own;
// the moment becomes that of the file.
Source partAt(const Source& source, double& seconds);
// Whether a viewer sees the pictures with width and height exchanged.
bool isTurned(const Source& source);
// "mov" of "mov,mp4,m4a,3gp,3g2,mj2".
std::string_view firstContainer(const Source& source);

}  // namespace tessarin
