// The description of one source movie: what analysis finds out and everything else reads.
//
// A record is a Dico with the keys below. An absent key means unknown, never zero. Numbers are
// single precision; a reader takes an integer or a number alike (Dico::number, Dico::integer),
// for a record that went through a property list may have changed from one to the other.
#pragma once

#include <string>
#include <string_view>

#include "classShared/Value.h"

namespace tessarin {

using SourceInfo = Dico;

// The last part of a stream's key: "v0_" + fps. Streams of a kind are counted from 0 in the order
// of the report; the number that ffmpeg gives a stream is the value of its id.
namespace StreamField {
inline constexpr std::string_view id = "id";            // integer: ffmpeg's stream number
inline constexpr std::string_view lang = "lang";        // text: language code
inline constexpr std::string_view title = "lang+";      // text: title of a subtitle stream
inline constexpr std::string_view codec = "codec";      // text: ffmpeg's name of the codec
inline constexpr std::string_view bitrate = "bitrate";  // integer: kb/s, above 0
inline constexpr std::string_view fps = "fps";          // number: see SourceKey::v0Fps
inline constexpr std::string_view tbc = "tbc";          // number: codec time base, without "k"
inline constexpr std::string_view width = "width";      // integer: pixels
inline constexpr std::string_view height = "height";    // integer: pixels
inline constexpr std::string_view par = "par";          // text "a:b": shape of a pixel
inline constexpr std::string_view dar = "dar";          // text "a:b": shape of the picture
inline constexpr std::string_view chroma = "chroma";    // text: pixel format, "yuv420p"
inline constexpr std::string_view fields = "fields";    // text: see SourceKey::v0Fields
// Integer, -179 to 180 and not 0: degrees by which a player turns the pictures against the clock.
inline constexpr std::string_view rotation = "rotation";
inline constexpr std::string_view rate = "rate";          // integer: Hz
inline constexpr std::string_view channels = "channels";  // integer
inline constexpr std::string_view force = "force";        // integer: see SourceKey::a0Force
// Integers, ms against the start of the container. Their keys are made with ffmpeg's number of
// the stream instead of the counter, and they are there only beyond 30 ms either way.
inline constexpr std::string_view offsetMs = "offsetMs";    // of the first presentation time
inline constexpr std::string_view offsetDts = "offsetDts";  // of the first decoding time
}  // namespace StreamField

enum class StreamKind : char { container = 'w', video = 'v', audio = 'a', subtitle = 's' };

// The key of one stream's value: streamKey(StreamKind::audio, 1, StreamField::rate) is "a1_rate".
std::string streamKey(StreamKind kind, int index, std::string_view field);

namespace SourceKey {
// The container.
inline constexpr std::string_view wrapper = "wrapper";       // text: "mpegts", "mov,mp4,m4a,…"
inline constexpr std::string_view wDuration = "w_duration";  // integer or number: seconds
// Number: the same to the hundredth, as ffmpeg tells it; there for clips below a second, too.
inline constexpr std::string_view wSeconds = "w_seconds";
// Text, digits: bytes of the file when it was looked at. Another number later is another clip.
inline constexpr std::string_view wBytes = "w_bytes";
inline constexpr std::string_view wOffset = "w_offset";  // number: start time in seconds
// Text: the format that ffmpeg has to be told, for it cannot tell it from the file.
inline constexpr std::string_view wForce = "w_force";
inline constexpr std::string_view wBitrate = "w_bitrate";  // integer: kb/s, above 0
inline constexpr std::string_view chapters = "chapters";   // list of numbers: seconds
// Number, above 0: seconds from the start of the container to the first key frame.
inline constexpr std::string_view intraOffset = "intraOffset";
// Integers: how much ffmpeg has to read (bytes, microseconds) before it knows the streams, where
// that is more than it does by itself.
inline constexpr std::string_view wProbeSize = "w_probesize";
inline constexpr std::string_view wAnalyzeDuration = "w_analyzeduration";
// Integer 1: ffmpeg has to be told which streams are meant, for it could choose others.
inline constexpr std::string_view wMap = "w_map";
// List of texts, "KEY NUMBER": what the user has to be told of the source. KEY is one of Remark and
// a key of the string table "Localized", whose text takes the number (remarkTexts() of core).
inline constexpr std::string_view remarks = "remarks";
// Integer, ms: the smallest video start offset with its sign turned.
inline constexpr std::string_view vOffsetMs = "v_offsetMs";

// Text: when it was recorded, by the camera's clock: "2010-12-24 14:05:33"; by the date of the file
// with the zone of this machine: "2010-12-24 14:05:33 +0100".
inline constexpr std::string_view recorded = "recorded";
// Text: what tells it. Also without a time, for a clip on a card that does not tell.
inline constexpr std::string_view recordedBy = "recordedBy";

// The first video stream, the one that is converted.
inline constexpr std::string_view v0Id = "v0_id";
inline constexpr std::string_view v0Lang = "v0_lang";
inline constexpr std::string_view v0Codec = "v0_codec";
inline constexpr std::string_view v0Bitrate = "v0_bitrate";
// Number: frames per second; of an interlaced source of 30 or less its fields per second.
inline constexpr std::string_view v0Fps = "v0_fps";
inline constexpr std::string_view v0Tbc = "v0_tbc";
inline constexpr std::string_view v0Width = "v0_width";
inline constexpr std::string_view v0Height = "v0_height";
inline constexpr std::string_view v0Par = "v0_par";
inline constexpr std::string_view v0Dar = "v0_dar";
inline constexpr std::string_view v0Rotation = "v0_rotation";
inline constexpr std::string_view v0Chroma = "v0_chroma";
// Texts, by ffmpeg's names, where the source says them: see PictureColours.
inline constexpr std::string_view v0Primaries = "v0_primaries";  // "bt709"
inline constexpr std::string_view v0Transfer = "v0_transfer";    // "arib-std-b67"
inline constexpr std::string_view v0Matrix = "v0_matrix";        // "bt2020nc"
// Number: seconds, as a conversion counts them, to the first picture that can be decoded, where
// that is not 0: sound begins before, or the clip was cut inside a group of pictures; below 0 where
// pictures are shown before the key frame that a QuickTime movie's time begins with.
inline constexpr std::string_view v0Begin = "v0_begin";
// Text: "PFF" (fieldsKey) means progressive, every other text interlaced.
inline constexpr std::string_view v0Fields = "v0_fields";

// Text, "TFF" or "BFF": the order that the stream claims, only when its pictures say otherwise;
// v0Fields then tells what the pictures say.
inline constexpr std::string_view v0FieldsClaim = "v0_fieldsClaim";

// The first audio stream.
inline constexpr std::string_view a0Id = "a0_id";
inline constexpr std::string_view a0Lang = "a0_lang";
inline constexpr std::string_view a0Codec = "a0_codec";
inline constexpr std::string_view a0Rate = "a0_rate";
inline constexpr std::string_view a0Channels = "a0_channels";
inline constexpr std::string_view a0Bitrate = "a0_bitrate";
// Integer 1: the decoder has to be named to ffmpeg, for it takes the sound for something else.
inline constexpr std::string_view a0Force = "a0_force";
}  // namespace SourceKey

namespace Remark {
// With ffmpeg's number of the stream: no sound can be made of it, so it is left out.
inline constexpr std::string_view soundUnreadable = "remark_soundUnreadable";
// With their number: the source holds several programmes, of which one is converted.
inline constexpr std::string_view programs = "remark_programs";
}  // namespace Remark

// Whether a viewer sees the pictures with width and height exchanged.
bool isTurned(const Dico& source);

// The values of "recordedBy".
namespace RecordedBy {
inline constexpr std::string_view card = "card";            // a card with playlists
inline constexpr std::string_view beside = "beside";        // the camera's file beside the clip
inline constexpr std::string_view stream = "stream";        // the pictures
inline constexpr std::string_view container = "container";  // the file around them
inline constexpr std::string_view file = "file";            // the file system
}  // namespace RecordedBy

}  // namespace tessarin
