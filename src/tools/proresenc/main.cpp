// proresenc: encodes a YUV4MPEG2 stream as ProRes into a QuickTime movie.
//
// Exit status: 0 the movie is written, 1 it is not (one line on standard error says why), 2 wrong
// use.
#include "classShared/TextAdditions.h"
#include "tools/pictures/ProresCodec.h"
#include "tools/pictures/streamTool.h"
#include "tools/prores/quantiser.h"

namespace {

using namespace tessarin;

// "bt2020/arib-std-b67/bt2020nc"; why not, or nothing.
std::string readColours(const std::string& text, std::optional<PictureColours>& colours) {
  const auto names = split(text, "/");
  if (names.size() != 3 || !isPrimaries(names[0]) || !isTransfer(names[1]) || !isMatrix(names[2]))
    return "\"" + text + "\" does not name primaries/transfer/matrix as ffmpeg does";
  colours = PictureColours{std::string(names[0]), std::string(names[1]), std::string(names[2])};
  return {};
}

}  // namespace

int main(int count, char** values) {
  pictures::StreamUse use;
  prores::EncoderSettings settings;
  std::string flavour;
  const auto declare = [&](CLI::App& options) {
    flavour = "standard";
    std::vector<std::string> words;
    for (const ProresFlavour& each : proresFlavours)
      words.emplace_back(each.word);
    options.add_option("-p", flavour, "flavour of ProRes; 4444 for streams of 4:4:4")
        ->check(CLI::IsMember(words))
        ->capture_default_str();
    options
        .add_option("-q", settings.index,
                    "the same quantisation for all pictures, 1 (best) to 224; without it the "
                    "mean comes to the flavour's nominal size at most")
        ->check(CLI::Range(prores::smallestIndex, prores::largestIndex));
    options
        .add_option_function<std::string>(
            "-c",
            [&use](const std::string& text) {
              if (const std::string problem = readColours(text, use.job.colours); !problem.empty())
                throw CLI::ValidationError("-c", problem);
            },
            "what the movie says of its colours, as \"bt709/bt709/bt709\"; without it what is "
            "usual for its size")
        ->type_name("PRIMARIES/TRANSFER/MATRIX");
    pictures::declareStream(options, use);
  };
  const auto work = [&] {
    settings.threads = use.threads;
    return pictures::encodeUse(use, pictures::ProresCodec(*proresFlavourOfWord(flavour), settings));
  };
  return toolMain("proresenc",
                  "Encodes a YUV4MPEG2 stream (4:2:0, 4:2:2 or 4:4:4 of 8 or 10 bits) as ProRes "
                  "into a QuickTime movie.",
                  count, values, declare, work);
}
