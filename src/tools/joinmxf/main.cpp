// joinmxf: makes one stream of MXF files: of those with the pictures of a recording, behind each
// other, and of those with its sound, a file for each channel, as on P2 cards.
//
//   joinmxf --ffmpeg PROGRAM [--sound SOUND]... PART...
//
// Of each part there are the same sounds, in the same order: first those of the first part, then
// those of the second. The pictures are stream 0, and the sounds those behind; without files with
// sound the streams are those of the parts. All is as it is in the files, in NUT, which can hold
// it; the stream goes to standard output. That nobody reads it to its end is no failure. What
// cannot be read is told with the name of the first part, as ffmpeg tells of a file that it reads
// itself.
//
// Exit status: 0 done, 1 not done (one line on standard error says why), 2 wrong use.
#include <fmt/format.h>

#include <array>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "classShared/TextAdditions.h"
#include "classShared/descriptorBytes.h"
#include "ffmpeg/toolLine.h"
#include "platform/ChildProcess.h"
#include "platform/Descriptor.h"
#include "platform/openFiles.h"
#include "tools/gettimestamps/mxfFile.h"
#include "tools/toolMain.h"

namespace {

using namespace tessarin;

using Paths = std::vector<std::string>;

struct Files {
  Paths parts;
  Paths sounds;
};

// A name that ffmpeg takes for nothing else.
std::string plainPath(const std::string& path) {
  return startsWith(path, "/") ? path : "./" + path;
}

// A name in a list, which has another place than the files.
std::string urlOf(const std::string& path) {
  return "file:" + path;
}

// What ffmpeg names a list by is all of it, so that the reason comes behind this.
constexpr std::string_view endOfList = "# end";

// Microseconds to the end of the pictures of each part, as far as they are known.
std::vector<std::int64_t> endsOf(const Paths& parts) {
  std::vector<std::int64_t> ends;
  double end = 0;
  for (const std::string& part : parts) {
    BoundedFile file(part);
    const auto facts = mxfFacts(file);
    if (!facts)
      break;
    end += facts->seconds();
    ends.push_back(std::llround(end * 1e6));
  }
  return ends;
}

// What ffmpeg reads behind each other, as a list in the words of its "concat" format. Each part
// begins where the pictures of the one before end, so that nothing adds up where sound is a little
// longer or shorter.
std::string listOf(const Paths& paths, const std::vector<std::int64_t>& ends) {
  std::string list = "data:text/plain,ffconcat version 1.0\n";
  for (std::size_t part = 0; part < paths.size(); ++part) {
    list += fmt::format("file '{}'\n", replaceAll(urlOf(paths[part]), "'", "'\\''"));
    if (part < ends.size()) {
      const std::int64_t length = ends[part] - (part == 0 ? 0 : ends[part - 1]);
      list += fmt::format("duration {}.{:06}\n", length / 1'000'000, length % 1'000'000);
    }
  }
  return list.append(endOfList);
}

Arguments inputOf(const Paths& paths, const std::vector<std::int64_t>& ends) {
  if (paths.size() == 1)
    return {"-i", plainPath(paths.front())};
  return {"-f",
          "concat",
          "-safe",
          "0",
          "-auto_convert",
          "0",
          "-protocol_whitelist",
          "file,data",
          "-i",
          listOf(paths, ends)};
}

Arguments readingArguments(const Files& files) {
  Arguments list = {"-nostdin", "-hide_banner", "-v", "error"};
  Arguments map = {"-map", files.sounds.empty() ? "0" : "0:0"};
  const auto add = [&list, ends = endsOf(files.parts)](const Paths& paths) {
    const Arguments input = inputOf(paths, ends);
    list.insert(list.end(), input.begin(), input.end());
  };
  add(files.parts);
  const std::size_t channels = files.sounds.size() / files.parts.size();
  for (std::size_t channel = 0; channel < channels; ++channel) {
    Paths sounds;
    for (std::size_t sound = channel; sound < files.sounds.size(); sound += channels)
      sounds.push_back(files.sounds[sound]);
    add(sounds);
    map.insert(map.end(), {"-map", fmt::format("{}:0", channel + 1)});
  }
  list.insert(list.end(), map.begin(), map.end());
  list.insert(list.end(), {"-dn", "-c", "copy", "-write_index", "0", "-f", "nut", "pipe:1"});
  return list;
}

// What ffmpeg says while it reads, line by line.
class Words {
 public:
  explicit Words(const Files& files) : files_(files) {}

  void add(std::string_view bytes) {
    begun_ += bytes;
    for (std::size_t end = begun_.find('\n'); end != std::string::npos; end = begun_.find('\n')) {
      tell(std::string_view(begun_).substr(0, end));
      begun_.erase(0, end + 1);
    }
  }
  // Whether nobody reads any more, which it tells as a failure of its own.
  bool isUnread() const { return isUnread_; }
  // Whether a file of a list could not be read, and that is told.
  bool hasFailed() const { return hasFailed_; }

 private:
  void tell(std::string_view line) {
    constexpr std::string_view unread = "Broken pipe";
    isUnread_ = isUnread_ || contains(line, unread);
    if (isUnread_)
      return;
    const std::string_view words = withoutMarks(line).words;
    if (takeFailureOfList(words))
      return;
    for (const Paths* paths : {&files_.parts, &files_.sounds})
      for (const std::string& path : *paths)
        if (const std::string start = plainPath(path) + ": "; startsWith(words, start)) {
          write(fmt::format("joinmxf: {}: {} ({})\n", files_.parts.front(),
                            trimmed(words.substr(start.size())), fileName(path)));
          return;
        }
    write(fmt::format("{}\n", line));
  }
  // "Impossible to open 'file:/card/…'" and then the list, with the reason behind it: ffmpeg takes
  // it for the end of all, and no failure.
  bool takeFailureOfList(std::string_view words) {
    if (const auto name = textAfter(words, "Impossible to open 'file:")) {
      unreadable_ = name->substr(0, name->rfind('\''));
      return true;
    }
    if (startsWith(words, "data:text/plain,ffconcat")) {
      isInList_ = true;
      return true;
    }
    const bool wasInList = isInList_;
    if (const auto reason = textAfter(words, ": ");
        wasInList && reason && startsWith(words, endOfList)) {
      isInList_ = false;
      hasFailed_ = true;
      write(fmt::format("joinmxf: {}: {}\n", files_.parts.front(), reasonOfList(trimmed(*reason))));
    }
    return wasInList;
  }
  // Of a file that it cannot open it says no more than that.
  std::string reasonOfList(std::string_view told) const {
    if (unreadable_.empty())
      return std::string(told);
    const Descriptor file = openFile(unreadable_, OpenFor::reading);
    return fmt::format("{} ({})", file.isOpen() ? std::string(told) : systemReason(errno),
                       fileName(unreadable_));
  }
  static void write(const std::string& line) { writeAll(standardError, line); }

  const Files& files_;
  std::string begun_;
  std::string unreadable_;  // the file of a list that could not be opened; ""
  bool isUnread_ = false;
  bool isInList_ = false;
  bool hasFailed_ = false;
};

Outcome<bool> join(const std::string& ffmpeg, const Files& files) {
  Outcome<Pipe> errors = makePipe();
  if (!errors)
    return Failure{errors.reason()};
  ChildSetup setup;
  setup.program = ffmpeg;
  setup.arguments = readingArguments(files);
  setup.output = ChildStream::inherited();
  setup.error = ChildStream::descriptor(errors->writeEnd.number());
  setup.ownSession = false;
  Outcome<ChildProcess> child = ChildProcess::start(setup);
  if (!child)
    return Failure{child.reason()};
  errors->writeEnd.close();
  Words words(files);
  std::array<char, 4096> buffer{};
  for (auto count = readSome(errors->readEnd.number(), buffer.data(), buffer.size()); count > 0;
       count = readSome(errors->readEnd.number(), buffer.data(), buffer.size()))
    words.add({buffer.data(), static_cast<std::size_t>(count)});
  const ExitStatus status = child->wait();
  if (words.isUnread() || (status.number() == 0 && !words.hasFailed()))
    return true;
  return Failure{fmt::format("{}: it cannot be read with the files beside it (status {})",
                             files.parts.front(), status.number())};
}

}  // namespace

int main(int count, char** values) {
  std::string ffmpeg;
  Files files;
  const auto declare = [&](CLI::App& options) {
    options.add_option("--ffmpeg", ffmpeg, "the ffmpeg that reads them")->required();
    options.add_option("PART", files.parts, "the files with the pictures, in order")->required();
    options.add_option("--sound", files.sounds, "a file with sound, once for each")
        ->allow_extra_args(false);
  };
  return toolMain("joinmxf", "Makes one stream of the MXF files of a recording.", count, values,
                  declare, [&]() -> Outcome<bool> {
                    if (files.sounds.size() % files.parts.size() != 0)
                      return Failure{"of each part there have to be the same sounds"};
                    return join(ffmpeg, files);
                  });
}
