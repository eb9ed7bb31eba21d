// Commands run by a test.
#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <string>
#include <vector>

namespace tessarin::test {

// The word as the shell takes it for one argument.
inline std::string quoted(const std::string& word) {
  std::string result = "'";
  for (const char letter : word)
    result += letter == '\'' ? std::string("'\\''") : std::string(1, letter);
  return result + "'";
}

inline std::string quoted(const std::vector<std::string>& words) {
  std::string line;
  for (const std::string& word : words)
    line += (line.empty() ? "" : " ") + quoted(word);
  return line;
}

struct ShellResult {
  int status = -1;     // as the shell says it: 128 + signal for a command that a signal ended
  std::string output;  // standard output and standard error
};

// Runs a command line with /bin/sh and nothing to read.
inline ShellResult runShell(const std::string& line) {
  ShellResult result;
  FILE* stream = ::popen(("{ " + line + "\n} 2>&1 </dev/null").c_str(), "re");
  if (stream == nullptr) {
    ADD_FAILURE() << "cannot run: " << line;
    return result;
  }
  std::array<char, 4096> buffer{};
  while (const std::size_t count = std::fread(buffer.data(), 1, buffer.size(), stream))
    result.output.append(buffer.data(), count);
  const int state = ::pclose(stream);
  if (WIFEXITED(state))
    result.status = WEXITSTATUS(state);
  return result;
}

}  // namespace tessarin::test
