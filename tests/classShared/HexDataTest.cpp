#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "classShared/HexData.h"
#include "support/LogCapture.h"
#include "support/ScopedTemporaryFolder.h"

namespace tessarin {
namespace {

using namespace std::string_literals;

// The length of a piece less that of the pattern, as the file search reads.
constexpr std::size_t pieceBase = 2000000;

class OpenFile {
 public:
  explicit OpenFile(const std::string& path)
      : descriptor_(::open(path.c_str(), O_RDONLY | O_CLOEXEC)) {}
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;
  ~OpenFile() { ::close(descriptor_); }
  int descriptor() const { return descriptor_; }

 private:
  int descriptor_;
};

TEST(HexData, turnsHexTextIntoBytes) {
  EXPECT_EQ(toDataFromHexString("0aFF").value(), "\x0A\xFF"s);
  EXPECT_EQ(toDataFromHexString("00").value(), "\0"s);
  EXPECT_EQ(toDataFromHexString("").value(), "");
  ASSERT_FALSE(toDataFromHexString("abc").ok());
  EXPECT_EQ(toDataFromHexString("abc").reason(), "String length is odd !");
}

TEST(HexData, takesOtherCharactersAsTheArithmeticSays) {
  EXPECT_EQ(toDataFromHexString("g0").value(), "\x00"s) << "16 * 16, kept to 8 bits";
  EXPECT_EQ(toDataFromHexString("0Z").value(), "\x23"s) << "90 - 55";
  EXPECT_EQ(toDataFromHexString("0 ").value(), "\xF0"s) << "32 - 48";
}

TEST(HexData, searchesBytesOfEveryValueAndKnowsNothingOfEmptyPatterns) {
  EXPECT_EQ(offsetOfData("a\0\0b"s, "\0b"s), 2U);
  EXPECT_EQ(offsetOfData("abc", "abcd"), notFound);
  EXPECT_EQ(offsetOfData("abc", ""), notFound);
  EXPECT_EQ(offsetOfData("", ""), notFound);
  EXPECT_EQ(notFound, 0x7FFFFFFFU);
}

TEST(HexData, replacesAsManyBytesAsTheReplacementHas) {
  const test::LogCapture log;
  std::string data = "ABCD";
  EXPECT_EQ(replaceDataWithData(data, "ABC", "X"), 0U);
  EXPECT_EQ(data, "XBCD");
  data = "1ABCDEF";
  EXPECT_EQ(replaceDataWithData(data, "AB", "xyz"), 1U);
  EXPECT_EQ(data, "1xyzDEF");
  data = "1AB";
  EXPECT_EQ(replaceDataWithData(data, "AB", "xyz"), 1U);
  EXPECT_EQ(data, "1xyz") << "grows at the end";
  EXPECT_EQ(replaceDataWithData(data, "AB", "xyz"), notFound);
  EXPECT_EQ(data, "1xyz");
  EXPECT_TRUE(log.has("replaceData"));
}

TEST(HexData, replacesEverywhereAndCounts) {
  const test::LogCapture log;
  std::string data = "ABxAB";
  EXPECT_EQ(replaceAllDataWithData(data, "AB", "CD"), 2U);
  EXPECT_EQ(data, "CDxCD");
  EXPECT_EQ(replaceAllDataWithData(data, "AB", "CD"), 0U);
  EXPECT_TRUE(log.has("replaceAllData"));

  data = "AAB";
  EXPECT_EQ(replaceAllDataWithData(data, "AB", "BA"), 2U) << "the second one begins further left";
  EXPECT_EQ(data, "BAA");
}

TEST(HexData, refusesReplacementsThatWouldNeverEnd) {
  const test::LogCapture log;
  const std::pair<const char*, const char*> endless[] = {{"the same", "AAB"},
                                                         {"the pattern's own start", "A"},
                                                         {"nothing", ""},
                                                         {"around it", "xAABx"}};
  for (const auto& [what, replacement] : endless) {
    std::string data = "xAABx";
    EXPECT_EQ(replaceAllDataWithData(data, "AAB", replacement), 0U) << what;
    EXPECT_EQ(data, "xAABx") << what;
  }
}

TEST(HexData, searchesFilesAndLeavesTheirPosition) {
  const test::ScopedTemporaryFolder folder;
  const OpenFile file(folder.write("clip", "0123456789"));
  ASSERT_EQ(::lseek(file.descriptor(), 5, SEEK_SET), 5);
  EXPECT_EQ(offsetOfData_NSFileHandle(file.descriptor(), "345"), 3U);
  EXPECT_EQ(offsetOfData_NSFileHandle(file.descriptor(), "x"), notFound);
  EXPECT_EQ(offsetOfData_NSFileHandle(file.descriptor(), ""), notFound);
  EXPECT_EQ(offsetOfData_NSFileHandle(file.descriptor(), "0123456789 and more"), notFound);
  EXPECT_EQ(::lseek(file.descriptor(), 0, SEEK_CUR), 5);
  EXPECT_EQ(offsetOfData_NSFileHandle(-1, "x"), notFound);
}

TEST(HexData, findsPatternsAcrossThePiecesOfAFile) {
  const test::ScopedTemporaryFolder folder;
  const std::string pattern = "\xFF\xFF\x1E\x20";
  const std::size_t piece = pieceBase + pattern.size();
  std::size_t count = 0;
  for (const std::size_t place : {piece - 4, piece - 3, piece - 1, piece, piece + 1, 2 * piece - 7,
                                  2 * piece - 5, 2 * piece - 2}) {
    std::string content(2 * piece + 10, '.');
    content.replace(place, pattern.size(), pattern);
    const OpenFile file(folder.write("clip" + std::to_string(count++), content));
    EXPECT_EQ(offsetOfData_NSFileHandle(file.descriptor(), pattern), place);
  }
  // The file ends exactly where a piece does.
  const OpenFile file(folder.write("none", std::string(piece, '.')));
  EXPECT_EQ(offsetOfData_NSFileHandle(file.descriptor(), pattern), notFound);
}

}  // namespace
}  // namespace tessarin
