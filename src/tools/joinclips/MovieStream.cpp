#include "tools/joinclips/MovieStream.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cerrno>

#include "classShared/descriptorBytes.h"
#include "platform/Descriptor.h"
#include "platform/openFiles.h"
#include "tools/joinclips/movieJoint.h"

namespace tessarin::joining {

namespace {

constexpr std::size_t readAtOnce = 256U << 10;

// By MovieTables::joinedWords(). Twelve hours of 60 pictures a second take less, even where each
// picture and each packet of sound lies by itself.
constexpr std::uint64_t mostWords = 128'000'000;

class PieceWriter {
 public:
  PieceWriter(const std::vector<std::string>& files, bool isList)
      : files_(files), isList_(isList) {}

  Outcome<bool> open() {
    for (const std::string& file : files_) {
      open_.push_back(openFile(file, OpenFor::reading));
      if (!open_.back().isOpen())
        return Failure{file + ": " + systemReason(errno)};
    }
    return true;
  }
  Outcome<bool> write(std::string_view bytes) {
    if (isList_ || isClosed_ || writeAll(standardOutput, bytes))
      return true;
    isClosed_ = errno == EPIPE;
    if (isClosed_)
      return true;
    return Failure{"the stream cannot be written: " + systemReason(errno)};
  }
  Outcome<bool> write(const MoviePiece& piece) {
    for (std::uint64_t done = 0; done < piece.bytes && !isClosed_;) {
      const auto count =
          static_cast<std::size_t>(std::min<std::uint64_t>(readAtOnce, piece.bytes - done));
      if (piece.file == MoviePiece::noFile) {
        buffer_.assign(count, piece.filling);
      } else {
        buffer_.resize(count);
        if (readAt(open_[piece.file].number(), buffer_.data(), count, piece.position + done) <
            count)
          return Failure{files_[piece.file] + ": " +
                         (errno != 0 ? systemReason(errno) : "it ends too early")};
      }
      TESSARIN_TRY(write(buffer_));
      done += count;
    }
    return true;
  }

 private:
  const std::vector<std::string>& files_;
  bool isList_;
  bool isClosed_ = false;  // who reads it has enough
  std::vector<Descriptor> open_;
  std::string buffer_;
};

}  // namespace

bool isMovie(const std::string& path) {
  static constexpr std::array<std::string_view, 6> begins{"ftyp", "moov", "mdat",
                                                          "wide", "free", "skip"};
  const Descriptor file = openFile(path, OpenFor::reading);
  std::array<char, 8> head{};
  return file.isOpen() && readAt(file.number(), head.data(), head.size(), 0) == head.size() &&
         std::find(begins.begin(), begins.end(), std::string_view(head.data() + 4, 4)) !=
             begins.end();
}

Outcome<bool> joinMovies(const std::vector<std::string>& files, bool isList) {
  std::vector<MovieTables> movies;
  std::string list;
  std::uint64_t before = 0;
  std::uint64_t words = 0;
  for (const std::string& file : files) {
    auto tables = readMovieTables(file);
    if (!tables)
      return Failure{file + ": " + tables.reason()};
    words += tables->joinedWords();
    if (words > mostWords)
      return Failure{file + ": its index is too large"};
    if (!movies.empty())
      tables->index.clear();
    list += fmt::format("byte {}: {:.3f} s\n", before, tables->seconds());
    before += tables->bytes;
    movies.push_back(std::move(*tables));
  }
  const auto joined = joinedMovie(std::move(movies));
  if (!joined)
    return Failure{files.front() + ": " + joined.reason()};
  PieceWriter writer(files, isList);
  TESSARIN_TRY(writer.open());
  TESSARIN_TRY(writer.write(joined->head));
  for (const MoviePiece& piece : joined->pieces)
    TESSARIN_TRY(writer.write(piece));
  if (isList)
    fmt::print("{}", list);
  return true;
}

}  // namespace tessarin::joining
