// The program "ffmpeg" of the tools folder: finds the ffmpeg of this computer, translates the
// options that it does not know, and becomes it, so that process id, signals and exit status are
// ffmpeg's own. What makes a ProRes movie becomes the export tool, whose encoder is the better one.
//
// Exit status of its own: 127 when there is no ffmpeg, 126 when it cannot be run, or cannot do
// what is wanted.
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "ffmpeg/ffmpegCommandLine.h"
#include "ffmpeg/ffmpegOptions.h"
#include "ffmpeg/installedFfmpeg.h"
#include "ffmpeg/proresCommand.h"
#include "platform/fileFacts.h"
#include "tools/ffmpegAdapter/streamBegin.h"

namespace {

using namespace tessarin;

constexpr int cannotBeRun = 126;
constexpr int notFound = 127;

// The adapters that this process has been already, as "device:inode,": a copy of the adapter under
// the name ffmpeg in PATH must not lead to an endless change between the two.
constexpr const char* passedVariable = "TESSARIN_FFMPEG_ADAPTERS";

void say(const std::string& sentence) {
  const std::string line = sentence + "\n";
  // Nothing can be done when standard error is gone; the exit status still says it.
  [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, line.data(), line.size());
}

FfmpegSearch searchWithoutPassedAdapters() {
  FfmpegSearch search = ffmpegSearchOfEnvironment("/proc/self/exe");
  const char* passed = std::getenv(passedVariable);
  std::string later = passed != nullptr ? passed : "";
  const char* rest = later.c_str();
  while (*rest != '\0') {
    char* end = nullptr;
    FileIdentity identity;
    identity.device = std::strtoull(rest, &end, 10);
    if (*end != ':')
      break;
    identity.inode = std::strtoull(end + 1, &end, 10);
    search.adapters.push_back(identity);
    if (*end != ',')
      break;
    rest = end + 1;
  }
  if (!search.adapters.empty()) {
    const FileIdentity& own = search.adapters.front();
    later += std::to_string(own.device) + ":" + std::to_string(own.inode) + ",";
    ::setenv(passedVariable, later.c_str(), 1);
  }
  return search;
}

// What `ffmpeg -version` prints; empty when it cannot be run, or does not answer within this time.
constexpr std::chrono::seconds longestAnswer(10);

std::string askVersion(const std::string& ffmpeg) {
  int ends[2] = {-1, -1};
  if (::pipe2(ends, O_CLOEXEC) != 0)
    return {};
  posix_spawn_file_actions_t actions;
  ::posix_spawn_file_actions_init(&actions);
  ::posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  ::posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
  ::posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  std::string program = ffmpeg;
  std::string argument = "-version";
  char* arguments[] = {program.data(), argument.data(), nullptr};
  pid_t child = -1;
  const int failure = ::posix_spawn(&child, ffmpeg.c_str(), &actions, nullptr, arguments, environ);
  ::posix_spawn_file_actions_destroy(&actions);
  ::close(ends[1]);
  std::string text;
  if (failure == 0) {
    const auto end = std::chrono::steady_clock::now() + longestAnswer;
    char buffer[4096];
    while (text.size() < sizeof buffer) {
      const auto left =
          std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
      pollfd entry{ends[0], POLLIN, 0};
      const int ready = left.count() > 0 ? ::poll(&entry, 1, static_cast<int>(left.count())) : 0;
      const ssize_t count = ready > 0 ? ::read(ends[0], buffer, sizeof buffer) : ready;
      if (count > 0)
        text.append(buffer, static_cast<std::size_t>(count));
      else if (count == 0 || errno != EINTR)
        break;
    }
    // All that matters has been said, or nothing will be.
    ::kill(child, SIGKILL);
    while (::waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
    }
  }
  ::close(ends[0]);
  return text;
}

FfmpegVersion versionOf(const std::string& ffmpeg) {
  const char* told = std::getenv(ffmpegVersionVariable);
  if (told != nullptr && *told != '\0')
    return ffmpegVersionFromText(told);
  return ffmpegVersionFromText(askVersion(ffmpeg));
}

// Becomes this program; comes back when it cannot be run.
void become(const std::string& program, std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), program);
  std::vector<char*> pointers;
  pointers.reserve(arguments.size() + 1);
  for (std::string& argument : arguments)
    pointers.push_back(argument.data());
  pointers.push_back(nullptr);
  // The program inherits this: what goes beyond the limit of a file's size fails with a reason
  // then, instead of ending it without a word.
  std::signal(SIGXFSZ, SIG_IGN);
  ::execv(program.c_str(), pointers.data());
}

std::string besideUs(const char* name) {
  const std::string own = programPath();
  const std::string tool = own.substr(0, own.rfind('/') + 1) + name;
  return !own.empty() && isProgram(tool) ? tool : std::string();
}

// Puts the tool that makes one stream of several files before our standard input, in our process
// group, so that who pauses or ends us does the same with it; should we end alone, so does it, as
// nobody reads it any more. False, with errno, when it cannot be run.
bool readJoined(const JoinedInput& input, const std::string& ffmpeg) {
  std::string tool = besideUs(input.isMxf() ? "joinmxf" : "joinclips");
  std::vector<std::string> words = {tool};
  if (input.isMxf())
    words.insert(words.end(), {"--ffmpeg", ffmpeg});
  for (const std::string& sound : input.sounds)
    words.push_back("--sound=" + sound);
  words.emplace_back("--");
  words.insert(words.end(), input.files.begin(), input.files.end());
  int ends[2] = {-1, -1};
  if (tool.empty()) {
    errno = ENOENT;
    return false;
  }
  if (::pipe2(ends, O_CLOEXEC) != 0)
    return false;
  posix_spawn_file_actions_t actions;
  ::posix_spawn_file_actions_init(&actions);
  ::posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  ::posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
  std::vector<char*> arguments;
  arguments.reserve(words.size() + 1);
  for (std::string& word : words)
    arguments.push_back(word.data());
  arguments.push_back(nullptr);
  pid_t child = -1;
  const int failure =
      ::posix_spawn(&child, tool.c_str(), &actions, nullptr, arguments.data(), environ);
  ::posix_spawn_file_actions_destroy(&actions);
  ::close(ends[1]);
  errno = failure;
  return failure == 0 && ::dup2(ends[0], STDIN_FILENO) == STDIN_FILENO;
}

// The format is told by what lies before that, too, where it is not told here.
std::vector<std::string> fromBegins(const std::vector<std::string>& arguments) {
  std::vector<FfmpegOptionGroup> groups = parseFfmpegArguments(arguments);
  for (FfmpegOptionGroup& group : groups) {
    const bool isInput = group.kind == FfmpegOptionGroup::Kind::input;
    const StreamBegin begin = isInput ? streamBegin(group.file) : StreamBegin();
    if (begin.bytes == 0)
      continue;
    group.options.push_back({"skip_initial_bytes", std::to_string(begin.bytes)});
    if (group.last({"f"}) == nullptr)
      group.options.push_back({"f", begin.format});
  }
  return ffmpegArguments(groups);
}

// The export tool beside us; "" when there is none, or ffmpeg's own encoder is asked for.
std::string proresTool() {
  const char* wanted = std::getenv(proresEncoderVariable);
  if (wanted != nullptr && std::string_view(wanted) == "ffmpeg")
    return {};
  return besideUs("movtool");
}

}  // namespace

int main(int count, char** values) {
  const Outcome<std::string> found = findFfmpeg(searchWithoutPassedAdapters());
  if (!found) {
    say(found.reason());
    return notFound;
  }
  const std::string& ffmpeg = found.value();
  std::vector<std::string> given(values + (count > 0 ? 1 : 0), values + count);
  const FfmpegVersion version = ffmpegOptionsNeedVersion(given) ? versionOf(ffmpeg) : newestFfmpeg;
  if (const std::string missing = beyondFfmpeg(given, version); !missing.empty()) {
    say(missing);
    return cannotBeRun;
  }
  if (const std::string tool = proresTool(); !tool.empty() && proresCommand(given)) {
    std::vector<std::string> arguments = given;
    arguments.insert(arguments.begin(), "--as-ffmpeg");
    become(tool, std::move(arguments));
  }
  if (auto joined = joinedInput(given)) {
    given = std::exchange(joined->arguments, {});
    if (!readJoined(*joined, ffmpeg)) {
      say("the tool that reads several files as one cannot be run: " +
          std::string(std::strerror(errno)));
      return cannotBeRun;
    }
  }
  become(ffmpeg, translateFfmpegOptions(fromBegins(given), version));
  say("\"" + ffmpeg + "\" cannot be run: " + std::strerror(errno));
  return cannotBeRun;
}
