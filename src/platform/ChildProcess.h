// A program that runs as a child of ours.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "classShared/Outcome.h"
#include "platform/Descriptor.h"

namespace tessarin {

// What a child gets as its standard input, output or error.
class ChildStream {
 public:
  static ChildStream nullDevice() { return ChildStream(Kind::nullDevice, -1); }
  // The one that this process has itself.
  static ChildStream inherited() { return ChildStream(Kind::inherited, -1); }
  // Where our own log lines go (logDescriptor).
  static ChildStream log() { return ChildStream(Kind::log, -1); }
  // This descriptor, borrowed until the start returns.
  static ChildStream descriptor(int number) { return ChildStream(Kind::descriptor, number); }

 private:
  friend class ChildProcess;
  enum class Kind { nullDevice, inherited, log, descriptor };
  ChildStream(Kind kind, int number) : kind_(kind), number_(number) {}

  Kind kind_;
  int number_;
};

struct ChildSetup {
  std::string program;                 // a path; PATH is not searched
  std::vector<std::string> arguments;  // without the program's name, which the start puts in front
  // "NAME=value" entries; none: this process's environment.
  std::optional<std::vector<std::string>> environment = {};
  std::string workingFolder = {};  // "": this process's

  // Not the terminal: a program in the background that reads it is stopped by the system, or takes
  // keystrokes that were meant for us (the converter looks for single keys on its standard input).
  ChildStream input = ChildStream::nullDevice();
  ChildStream output = ChildStream::nullDevice();
  ChildStream error = ChildStream::log();

  // False: the child stays in our session and process group, so that what is sent to the group
  // (by a terminal, or by who started us and pauses or ends us as a whole) meets it, too.
  bool ownSession = true;

  // False: without an exit descriptor, as on a kernel that has none.
  bool exitDescriptor = true;
};

struct ExitStatus {
  int code = 0;    // what the program returned; 0 when a signal ended it
  int signal = 0;  // the signal that ended it; 0 when it exited by itself

  // The exit code, or 128 + the signal as shells count it.
  int number() const { return signal == 0 ? code : 128 + signal; }
};

// One child. It starts with default signal handling, no signal blocked, no descriptor of ours but
// the three standard ones, and (unless asked otherwise) in a session of its own: no terminal
// reaches it, so an interrupt typed by the user comes to us alone, and we decide what happens to
// our children. What signals we send go to its whole process group, so that helpers which a shell
// line started are met, too.
//
// When the thread that started the child ends, the kernel kills the child: nothing is left behind
// when we crash. A helper thread therefore has to wait for the exit of what it starts.
//
// A child that is still running when its object goes is ended. Every child is reaped.
class ChildProcess {
 public:
  // How long a killed child is waited for before it is left to be reaped later, counted from the
  // kill. Going takes milliseconds, unless the child hangs in a driver (a camera pulled out while
  // it is read) or in a file system that does not answer.
  static constexpr std::chrono::milliseconds goingTime{400};

  // Runs the program. A program that is missing or cannot be run is a failure here, with the
  // reason; it is never an exit status. Waits only until the program has been loaded.
  static Outcome<ChildProcess> start(const ChildSetup& setup);

  ChildProcess(ChildProcess&& other) noexcept;
  ChildProcess& operator=(ChildProcess&&) = delete;
  ~ChildProcess() { end(); }

  pid_t pid() const { return pid_; }
  // Becomes readable when the child exits and stays so; owned by this object. -1 on kernels
  // before 5.3: ask exitStatus() from time to time instead, as ExitWatch does.
  int exitDescriptor() const { return exitDescriptor_.number(); }

  // How the child ended; nothing while it runs.
  std::optional<ExitStatus> exitStatus();
  bool isRunning() { return !exitStatus(); }

  // Waits for the exit, blocking.
  ExitStatus wait();
  // The same, at most for this long.
  std::optional<ExitStatus> waitFor(std::chrono::milliseconds longest);

  // Each does nothing once the child has exited.
  void suspend();
  void resume();
  void kill();  // SIGKILL, which a stopped child obeys, too
  void sendSignal(int signal);

 private:
  ChildProcess(pid_t pid, bool leadsGroup, Descriptor exitDescriptor)
      : pid_(pid), leadsGroup_(leadsGroup), exitDescriptor_(std::move(exitDescriptor)) {}

  bool reap(int options);
  void end();

  pid_t pid_ = -1;  // -1: moved from
  bool leadsGroup_ = true;
  Descriptor exitDescriptor_;
  std::optional<ExitStatus> exitStatus_;
  std::optional<std::chrono::steady_clock::time_point> killed_;
};

}  // namespace tessarin
