// What a run of ffmpeg complains of, read line by line while it runs.
#pragma once

#include <cstddef>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

namespace tessarin {

// A run that reads one source and writes one movie, with the log level "info" or a quieter one; or
// a tool of ours that passes ffmpeg's lines on. ffmpeg up to version 7 ends with the status 0 for
// much of what is found here.
//
// What the source says of itself is passed over: it is printed with blanks before it. Complaints
// from before the conversion begins are of the look that ffmpeg takes at the source first; the
// conversion meets the same places again.
class RunTroubles {
 public:
  // The files may be named like a complaint: their paths are replaced before a line is read.
  explicit RunTroubles(std::string source = {}, std::string output = {});

  // A line without its end, of standard error or standard output.
  void addLine(std::string_view line);

  // Why the system could not read the source to its end ("Input/output error"), "" when it could.
  const std::string& readError() const { return readError_; }
  // With which words ffmpeg stopped reading a source that the system could read, "" when it did
  // not: what stands behind the place is in no movie.
  const std::string& givenUp() const { return givenUp_; }
  // The source has less than its own index promises.
  bool endsEarly() const { return endsEarly_; }
  // Pictures of the source have another size than the first.
  bool changesSize() const { return changesSize_; }
  // Not all of the movie could be written.
  bool losesOutput() const { return losesOutput_; }

  // Pictures that were shown damaged or are missing. Exact for decoders that mark damaged pictures
  // (ffmpeg from 4.0 on) or tell when they conceal something, of others at most so many; a picture
  // that was not decoded, as in a copy, counts when its packet was damaged on the way.
  std::size_t damagedPictures() const;
  // Packets of sound, the same way.
  std::size_t damagedSound() const;

  // The path that outputPlaceholder stands for.
  const std::string& output() const { return output_; }

  // The lines that complain of something, in order, without the marks of ffmpeg's parts and with
  // sourcePlaceholder and outputPlaceholder for the paths. Of very many the first and the last
  // ones.
  std::vector<std::string> complaints() const;

  static constexpr std::string_view sourcePlaceholder = "«source»";
  static constexpr std::string_view outputPlaceholder = "«output»";

 private:
  // What a line counts as.
  enum class Sign { none, corruptFrame, concealed, brokenBlock, lostPacket, corruptPacket };
  enum class Medium { pictures, sound };
  struct Found {
    Sign sign = Sign::none;
    Medium medium = Medium::pictures;
  };
  struct Counts {
    std::size_t corruptFrames = 0;
    std::size_t concealed = 0;
    std::size_t brokenBlocks = 0;  // of pictures, one or a few of each
    std::size_t lostPackets = 0;
    std::size_t corruptPackets = 0;

    std::size_t damaged() const;
  };

  std::string withoutPaths(std::string_view line) const;
  bool isRestOfName(std::string_view line) const;
  void noteStream(std::string_view line);
  Medium mediumOf(std::string_view module, std::string_view number) const;
  Found signOf(std::string_view module, std::string_view words) const;
  void count(Found found, std::size_t times);
  void readReading(std::string_view module, std::string_view words);
  void keep(std::string_view words);

  std::string source_;
  std::string output_;
  std::vector<std::string> namesRests_;  // further lines of names that have several
  bool describes_ = false;               // the source, before the conversion
  std::vector<std::size_t> sounds_;      // numbers of the source's sound streams
  Found last_;                           // of the line before
  Counts pictures_;
  Counts sound_;
  std::string readError_;
  std::string givenUp_;
  bool endsEarly_ = false;
  bool changesSize_ = false;
  bool losesOutput_ = false;
  std::vector<std::string> first_;
  std::deque<std::string> latest_;
};

// Why the system could not read the source of a whole report, in which the placeholder of the class
// stands for its path; "" when it could, or when ffmpeg could not even open it.
std::string readErrorOf(std::string_view report);

}  // namespace tessarin
