// Options that some versions of ffmpeg do not know, turned into those that a version does.
//
// The rest of the program writes its command lines in the vocabulary of old versions; this is the
// one place that knows what became of it from ffmpeg 3.1 to 7. Pure functions.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tessarin {

// What may stand before an input, and is none of ffmpeg's options: the tool joinclips, which closes
// the joints of recordings that were put behind each other, reads the input, and ffmpeg what comes
// of it.
inline constexpr std::array<const char*, 2> readingJoined = {"-joined", "1"};
// And a further file that it reads behind the input; behind each other, where there are several.
inline constexpr const char* joinedPart = "-part";
// Or a file with sound that lies beside the input, in the order of the channels, where there are
// several; first those of the input, then those of the next part. The tool joinmxf reads all of
// them then, as it does parts that are MXF.
inline constexpr const char* soundBeside = "-soundfile";

struct JoinedInput {
  std::vector<std::string> files;
  std::vector<std::string> sounds;
  std::vector<std::string> arguments;  // with standard input in its place
  // Whether they are for the tool joinmxf.
  bool isMxf() const;
};
// Nothing when there is no such input.
std::optional<JoinedInput> joinedInput(const std::vector<std::string>& arguments);

// An ffmpeg, told by the version of its libavcodec: that counts on between releases, and every
// build says it, also those without a release number.
struct FfmpegVersion {
  int major = 0;
  int minor = 0;
  bool operator==(const FfmpegVersion&) const = default;
  bool isAtLeast(FfmpegVersion other) const {
    return major != other.major ? major > other.major : minor >= other.minor;
  }
};

// What an ffmpeg counts as that says nothing of itself.
constexpr FfmpegVersion newestFfmpeg{1000, 0};

// From what `ffmpeg -version` prints, a banner, or a word of it: the libavcodec that it runs with
// ("libavcodec     58. 42.100 / 58. 42.100"), else that of the release which the first line names
// ("ffmpeg version 5.1.9-0+deb12u1", "n7.1", "4.4"). Anything else is the newest.
FfmpegVersion ffmpegVersionFromText(std::string_view text);

// The opposite: "libavcodec 58.42".
std::string ffmpegVersionText(FfmpegVersion version);

// The environment variable that holds the version's text, so that the adapter need not ask.
inline constexpr const char* ffmpegVersionVariable = "TESSARIN_FFMPEG_VERSION";

// Whether the result of translateFfmpegOptions depends on the version; when not, nobody has to
// find it out.
bool ffmpegOptionsNeedVersion(const std::vector<std::string>& arguments);

// The command line (without the program) as this version understands it:
//   -nostdin            added, for ffmpeg must never read the terminal
//   -q:vscale N         -q:v N
//   -vframes N          -frames:v N
//   -profile N          -profile:v N
//   -vsync N            left out when every output copies its video, else -fps_mode from 5.1 on
//   -async N            gaps are filled and overlaps cut rather than stretched; behind 5.1 by the
//                       filter that earlier versions put in for it
//   -bsf:v setts=…       left out before 5.1
//   -top N              a filter that says so
//   setparams=…         left out of filters where there is no such filter
//   -c:v prores         "prores_ks" where the other writes no fields, or no colours, into pictures
//   setpts=2*PTS,fps=…  "framerate=…" in 4.0 and 4.1, which lose a picture
//   -movflags           with "+write_colr" before 4.3
//   -color_trc          of high dynamic range left out of copies before 4.3, which may not know it
// Values, and options that are known everywhere, stay as they are.
std::vector<std::string> translateFfmpegOptions(const std::vector<std::string>& arguments,
                                                FfmpegVersion version);

// How ffmpeg is told of a source: by its path, and of a section of a file by that file and its
// bytes. translateFfmpegOptions() does so with every input.
std::string ffmpegInput(const std::string& path);

// What this command line wants that the version cannot do, as a sentence without an end; empty when
// it can. Pictures of high dynamic range are only copied before 4.3.
std::string beyondFfmpeg(const std::vector<std::string>& arguments, FfmpegVersion version);

}  // namespace tessarin
