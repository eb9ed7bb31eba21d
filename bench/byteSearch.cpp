// The byte search beside the C library's memmem on the same data, for patterns that are not found,
// so that every byte is looked at. The search is to take at most twice memmem's time.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstring>
#include <random>
#include <string>
#include <string_view>

#include "classShared/HexData.h"
#include "utils/files.h"

namespace {

enum class Content { random, zeros, marker, twoLetters };

struct Input {
  std::string data;
  std::string pattern;
};

// Data and a pattern that does not occur in it: random bytes; zeros and a pattern that differs in
// its last byte; data full of the pattern's start; two letters and a pattern that differs in the
// middle.
Input makeInput(Content content, std::size_t size, std::size_t patternSize) {
  std::mt19937 random(1);
  Input input;
  switch (content) {
    case Content::random:
      // 0 does not occur in the data.
      for (std::size_t index = 0; index < size; ++index)
        input.data += static_cast<char>(1 + random() % 255);
      input.pattern = input.data.substr(size / 2, patternSize);
      input.pattern.back() = '\0';
      break;
    case Content::zeros:
      input.data.assign(size, '\0');
      input.pattern.assign(patternSize, '\0');
      input.pattern.back() = '\1';
      break;
    case Content::marker:
      while (input.data.size() < size)
        input.data += "\xFF\xFF\x1E\x21";
      input.pattern.assign(patternSize, '\xFF');
      input.pattern.back() = '\x1E';
      input.pattern.front() = '\x21';
      if (patternSize > 4)
        input.pattern[patternSize / 2] = '\x20';
      else
        input.pattern = std::string("\xFF\xFF\x1E\x20").substr(4 - patternSize);
      break;
    case Content::twoLetters:
      for (std::size_t index = 0; index < size; ++index)
        input.data += index % 2 == 0 ? 'a' : 'b';
      input.pattern = input.data.substr(0, patternSize);
      input.pattern[patternSize / 2] = 'c';
      break;
  }
  return input;
}

void arguments(benchmark::internal::Benchmark* bench) {
  bench->ArgNames({"content", "size", "pattern"});
  for (int content = 0; content < 4; ++content)
    for (const int size : {1000, 100000, 4000000})
      for (const int pattern : {1, 4, 16, 200, 1000})
        if (pattern < size)
          bench->Args({content, size, pattern});
}

template <class Search>
void run(benchmark::State& state, Search search) {
  const Input input =
      makeInput(static_cast<Content>(state.range(0)), static_cast<std::size_t>(state.range(1)),
                static_cast<std::size_t>(state.range(2)));
  if (search(input.data, input.pattern)) {
    state.SkipWithError("the pattern occurs in the data");
    return;
  }
  while (state.KeepRunning())
    benchmark::DoNotOptimize(search(input.data, input.pattern));
  state.SetBytesProcessed(state.iterations() * state.range(1));
}

void searchOffsetOfData(benchmark::State& state) {
  run(state, [](std::string_view data, std::string_view pattern) {
    return tessarin::offsetOfData(data, pattern) != tessarin::notFound;
  });
}
BENCHMARK(searchOffsetOfData)->Apply(arguments);

void searchMemmem(benchmark::State& state) {
  run(state, [](std::string_view data, std::string_view pattern) {
    return ::memmem(data.data(), data.size(), pattern.data(), pattern.size()) != nullptr;
  });
}
BENCHMARK(searchMemmem)->Apply(arguments);

// A file of 100 MB from the system's cache: reading and searching, piece by piece.
void searchFile(benchmark::State& state) {
  constexpr std::size_t size = 100000000;
  const std::string path = tessarin::temporaryFolder() + "/byteSearch";
  const auto written =
      tessarin::writeFileAtomically(path, makeInput(Content::random, size, 4).data);
  const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (!written || descriptor < 0)
    state.SkipWithError("no file to search");
  else
    while (state.KeepRunning())
      benchmark::DoNotOptimize(
          tessarin::offsetOfData_NSFileHandle(descriptor, std::string_view("\0x", 2)));
  if (descriptor >= 0)
    ::close(descriptor);
  tessarin::removeTemporaryFolder();
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(size));
}
BENCHMARK(searchFile)->Unit(benchmark::kMillisecond);

}  // namespace
