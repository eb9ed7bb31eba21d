#include "Journey.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <stdexcept>
#include <thread>

#include "platform/Descriptor.h"
#include "utils/files.h"

extern char** environ;

namespace tessarin::test {

namespace {

using namespace std::chrono_literals;

// No run of a test takes this long.
constexpr auto hang = 60s;

std::string contentOf(const std::string& path) {
  return readWholeFile(path).value();
}

// One clip of each length for all tests of the program, as making them costs time.
const ScopedTemporaryFolder& clipFolder() {
  static const ScopedTemporaryFolder made;
  return made;
}

}  // namespace

std::vector<std::string> Journey::Result::linesOf(const std::string& text) {
  std::vector<std::string> lines;
  for (const std::string_view line : split(text, "\n"))
    lines.emplace_back(line);
  if (!lines.empty() && lines.back().empty())
    lines.pop_back();
  return lines;
}

Journey::Journey() {
  for (char** entry = environ; *entry != nullptr; ++entry) {
    const std::string_view variable = *entry;
    const bool isOurs = startsWith(variable, "XDG_") || startsWith(variable, "TESSARIN_") ||
                        startsWith(variable, "LC_") || startsWith(variable, "LANG");
    if (!isOurs)
      environment_.emplace_back(variable);
  }
  for (const char* name : {"home", "temporary"})
    mkdir(folder.file(name));
  setVariable("HOME", folder.file("home"));
  setVariable("XDG_CONFIG_HOME", folder.file("home/config"));
  setVariable("TMPDIR", folder.file("temporary"));
  setVariable("LC_ALL", "C.UTF-8");
  setVariable("TERM", "xterm");
}

void Journey::TearDown() {
  if (!leavesTemporaryFiles) {
    EXPECT_THAT(namesIn(folder.file("temporary")), testing::IsEmpty());
  }
}

void Journey::setVariable(const std::string& name, const std::string& value) {
  std::erase_if(environment_,
                [&](const std::string& entry) { return startsWith(entry, name + "="); });
  environment_.push_back(name + "=" + value);
}

void Journey::useFfmpeg(const std::string& script) {
  const std::string real(trimmed(runShell("command -v ffmpeg").output));
  const std::string path =
      folder.write("ffmpeg.sh", "#!/bin/sh\nreal=" + quoted(real) + "\n" + script);
  std::filesystem::permissions(path, std::filesystem::perms::owner_all);
  setVariable("TESSARIN_FFMPEG", path);
}

Journey::Run Journey::startProgram(const std::string& path, const Arguments& arguments) {
  const std::string number = std::to_string(++runs_);
  const std::string outPath = folder.write("out" + number, "");
  const std::string errPath = folder.write("err" + number, "");
  const Descriptor out(::open(outPath.c_str(), O_WRONLY | O_CLOEXEC));
  const Descriptor err(::open(errPath.c_str(), O_WRONLY | O_CLOEXEC));
  ChildSetup setup;
  setup.program = path;
  setup.arguments = arguments;
  setup.environment = environment_;
  setup.workingFolder = folder.path();
  setup.output = ChildStream::descriptor(out.number());
  setup.error = ChildStream::descriptor(err.number());
  Outcome<ChildProcess> child = ChildProcess::start(setup);
  if (!child)
    throw std::runtime_error(child.reason());
  return {std::move(*child), outPath, errPath};
}

Journey::Run Journey::start(const Arguments& arguments) {
  return startProgram(program(), arguments);
}

Journey::Result Journey::finish(Run& run) {
  Result result;
  if (const auto ended = run.process.waitFor(hang))
    result.status = ended->number();
  else
    ADD_FAILURE() << "the program does not end";
  run.process.kill();
  result.out = contentOf(run.outPath);
  result.err = contentOf(run.errPath);
  return result;
}

Journey::Result Journey::tessarin(const Arguments& arguments) {
  Run run = start(arguments);
  return finish(run);
}

std::string Journey::tinyClip(const std::string& name, const std::string& seconds) {
  const std::string made = clipFolder().file(seconds + ".mts");
  if (!pathExists(made))
    makeClip(interlacedPicture("352x288", seconds) + tone(seconds) +
                 "-c:v mpeg2video -flags +ildct+ilme -top 1 -q:v 2 -c:a mp2 -ac 2 -f mpegts",
             made);
  const std::string path = folder.file(name);
  mkdir(parentFolder(path));
  std::filesystem::copy_file(made, path);
  return path;
}

std::vector<std::string> Journey::namesIn(const std::string& path) {
  std::vector<std::string> names;
  std::error_code failed;
  for (const auto& entry : std::filesystem::directory_iterator(path, failed))
    names.push_back(entry.path().filename().string());
  std::sort(names.begin(), names.end());
  return names;
}

bool Journey::isBeingMade(const std::string& name) const {
  for (const std::string& entry : movies())
    if (startsWith(entry, ".tessarin-") && poidsFile(movie(entry) + "/" + name, "o") >= 0)
      return true;
  return false;
}

bool Journey::eventually(const std::function<bool()>& condition) {
  const auto end = std::chrono::steady_clock::now() + hang;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end)
      return false;
    std::this_thread::sleep_for(5ms);
  }
  return true;
}

}  // namespace tessarin::test
