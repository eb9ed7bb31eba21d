// Says "ready" on standard output, then lives until it is killed: it ignores every signal that can
// be ignored.
#include <unistd.h>

#include <csignal>
#include <cstdio>

int main() {
  for (int signal = 1; signal < NSIG; ++signal)
    if (signal != SIGKILL && signal != SIGSTOP && signal != SIGCONT)
      std::signal(signal, SIG_IGN);
  std::puts("ready");
  std::fflush(stdout);
  for (;;)
    ::pause();
}
