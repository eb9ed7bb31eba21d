// childSplit FILE: writes "frame=1 time=00:00:" and, once the file exists, "01.00 bitrate=1\n": a
// line that arrives in two pieces.
#include <unistd.h>

#include <cstdio>

int main(int count, char** arguments) {
  if (count != 2)
    return 2;
  std::fputs("frame=1 time=00:00:", stdout);
  std::fflush(stdout);
  while (::access(arguments[1], F_OK) != 0)
    ::usleep(2000);
  std::fputs("01.00 bitrate=1\n", stdout);
  return 0;
}
