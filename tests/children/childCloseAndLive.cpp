// childCloseAndLive MILLISECONDS STATUS: prints "closing", closes all its standard streams, lives
// on for that long and exits with the status.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

int main(int count, char** arguments) {
  if (count != 3)
    return 2;
  std::puts("closing");
  std::fflush(stdout);
  for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor)
    ::close(descriptor);
  ::usleep(static_cast<useconds_t>(std::atoi(arguments[1])) * 1000);
  return std::atoi(arguments[2]);
}
