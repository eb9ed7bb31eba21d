// Prints how it was started, one "NAME VALUE" a line: its arguments, environment, folder, signals,
// descriptors, session and standard input.
#include <dirent.h>
#include <fcntl.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>

namespace {

void printDescriptors() {
  DIR* folder = ::opendir("/proc/self/fd");
  while (const dirent* entry = ::readdir(folder)) {
    const int number = std::atoi(entry->d_name);
    if (entry->d_name[0] != '.' && number != ::dirfd(folder))
      std::printf("descriptor %d\n", number);
  }
  ::closedir(folder);
}

void printSignals() {
  sigset_t blocked;
  ::sigprocmask(SIG_SETMASK, nullptr, &blocked);
  for (int signal = 1; signal < NSIG; ++signal) {
    if (sigismember(&blocked, signal) == 1)
      std::printf("blocked %d\n", signal);
    struct sigaction action {};
    if (::sigaction(signal, nullptr, &action) == 0 && action.sa_handler != SIG_DFL)
      std::printf("handled %d\n", signal);
  }
  int parentDeath = 0;
  ::prctl(PR_GET_PDEATHSIG, &parentDeath);
  std::printf("parentDeathSignal %d\n", parentDeath);
}

}  // namespace

int main(int count, char** arguments, char** environment) {
  for (int index = 0; index < count; ++index)
    std::printf("argument %s\n", arguments[index]);
  for (char** entry = environment; *entry != nullptr; ++entry)
    std::printf("environment %s\n", *entry);
  char folder[PATH_MAX];
  if (::getcwd(folder, sizeof folder) != nullptr)
    std::printf("folder %s\n", folder);
  printSignals();
  printDescriptors();
  std::printf("leadsSession %d\n", ::getsid(0) == ::getpid() ? 1 : 0);
  char byte = 0;
  std::printf("input %s\n", ::read(STDIN_FILENO, &byte, 1) == 0 ? "empty" : "something");
  return 0;
}
