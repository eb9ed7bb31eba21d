// childEnd exit STATUS | signal NUMBER: ends that way after a line on standard output.
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>

int main(int count, char** arguments) {
  if (count != 3)
    return 2;
  std::puts("ending");
  std::fflush(stdout);
  const int number = std::atoi(arguments[2]);
  if (std::string(arguments[1]) == "signal")
    std::raise(number);
  return number;
}
