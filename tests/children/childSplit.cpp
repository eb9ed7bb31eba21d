// Writes "frame=1 time=00:00:" and, 300 ms later,
// "01.00 bitrate=1\n": a line that arrives in two pieces.
#include <unistd.h>

#include <cstdio>

int main() {
  std::fputs("frame=1 time=00:00:", stdout);
  std::fflush(stdout);
  ::usleep(300 * 1000);
  std::fputs("01.00 bitrate=1\n", stdout);
  return 0;
}
