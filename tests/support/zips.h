// Zip archives for tests, well-behaved and others.
#pragma once

#include <archive.h>
#include <archive_entry.h>
#include <gtest/gtest.h>

#include <clocale>
#include <string>
#include <vector>

namespace tessarin::test {

struct ZipEntry {
  std::string name;
  std::string content = {};
  unsigned kind = AE_IFREG;
  unsigned permissions = 0644;
  std::string link = {};  // where a symbolic link leads
};

// The archive's bytes; names go in as they are.
inline std::string zipOf(const std::vector<ZipEntry>& entries) {
  std::string bytes(16 * 1024 * 1024, '\0');
  std::size_t used = 0;
  // The library writes names of other letters only in a locale that knows them.
  std::setlocale(LC_CTYPE, "C.UTF-8");
  archive* writer = archive_write_new();
  EXPECT_EQ(archive_write_set_format_zip(writer), ARCHIVE_OK);
  archive_write_set_options(writer, "hdrcharset=UTF-8");
  archive_write_set_bytes_in_last_block(writer, 1);
  EXPECT_EQ(archive_write_open_memory(writer, bytes.data(), bytes.size(), &used), ARCHIVE_OK);
  for (const ZipEntry& one : entries) {
    archive_entry* entry = archive_entry_new();
    archive_entry_set_pathname_utf8(entry, one.name.c_str());
    archive_entry_set_filetype(entry, one.kind);
    archive_entry_set_perm(entry, one.permissions);
    archive_entry_set_size(entry, static_cast<la_int64_t>(one.content.size()));
    if (!one.link.empty())
      archive_entry_set_symlink(entry, one.link.c_str());
    EXPECT_GE(archive_write_header(writer, entry), ARCHIVE_WARN) << archive_error_string(writer);
    if (!one.content.empty())
      archive_write_data(writer, one.content.data(), one.content.size());
    archive_entry_free(entry);
  }
  EXPECT_EQ(archive_write_close(writer), ARCHIVE_OK);
  archive_write_free(writer);
  std::setlocale(LC_CTYPE, "C");
  bytes.resize(used);
  return bytes;
}

}  // namespace tessarin::test
