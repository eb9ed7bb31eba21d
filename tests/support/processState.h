// What the kernel knows about this process and its children.
#pragma once

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace tessarin::test {

inline std::size_t openDescriptors() {
  const auto entries = std::filesystem::directory_iterator("/proc/self/fd");
  return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}

// Processor time that this process itself has used, its children left out.
inline double processorSeconds() {
  rusage usage{};
  ::getrusage(RUSAGE_SELF, &usage);
  const auto seconds = [](timeval time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

// The letter of proc(5): 'R' running, 'S' sleeping, 'T' stopped, 'Z' zombie; ' ' when the process
// does not exist.
inline char processLetter(pid_t pid) {
  std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
  std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  const std::size_t name = text.rfind(") ");  // the name before may hold anything
  return name == std::string::npos ? ' ' : text[name + 2];
}

// Whether there is any child of ours, running or a zombie.
inline bool hasChildren() {
  siginfo_t ignored{};
  return ::waitid(P_ALL, 0, &ignored, WEXITED | WNOHANG | WNOWAIT) == 0 || errno != ECHILD;
}

// Whether a child of ours has exited and was not reaped.
inline bool hasZombies() {
  siginfo_t child{};
  return ::waitid(P_ALL, 0, &child, WEXITED | WNOHANG | WNOWAIT) == 0 && child.si_pid != 0;
}

}  // namespace tessarin::test
