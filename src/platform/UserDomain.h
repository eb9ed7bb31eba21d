// Where the program keeps what belongs to the user: keys with property-list values.
#pragma once

#include <string>
#include <string_view>

#include "classShared/Value.h"
#include "platform/RunLoop.h"

namespace tessarin {

class UserDomain {
 public:
  virtual ~UserDomain() = default;

  // The value, owned by the domain until the key is written or removed; null when there is none.
  virtual const Value* read(std::string_view key) const = 0;
  virtual void write(std::string_view key, Value value) = 0;
  virtual void remove(std::string_view key) = 0;

  // Brings what was written to its permanent place. False when that failed or is not allowed.
  virtual bool synchronize() = 0;
};

// A domain that ends with the object. For the command line and for tests.
class MemoryUserDomain : public UserDomain {
 public:
  explicit MemoryUserDomain(Dico seed = {}) : values_(std::move(seed)) {}

  const Value* read(std::string_view key) const override { return values_.find(key); }
  void write(std::string_view key, Value value) override { values_.set(key, std::move(value)); }
  void remove(std::string_view key) override { values_.remove(key); }
  bool synchronize() override { return true; }

  const Dico& values() const { return values_; }

 private:
  Dico values_;
};

// A domain kept in a property-list file
//   { "formatVersion" = 1; "values" = { … }; }
// Keys live in memory; the file is written whole and atomically half a second after the first
// change that it lacks, at synchronize() and at destruction.
//
// The user's data is never lost: a damaged file is renamed ("….damaged-1" and so on) before a new
// one is written; a file of a newer format, or one that cannot be read or renamed, is left alone,
// and the domain then only lives in memory.
class FileUserDomain : public UserDomain {
 public:
  static constexpr int formatVersion = 1;

  // The file need not exist, nor its folder. Without a loop nothing is written by itself. The loop
  // is borrowed and has to outlive the domain.
  FileUserDomain(std::string path, RunLoop* loop);
  ~FileUserDomain() override;
  FileUserDomain(const FileUserDomain&) = delete;
  FileUserDomain& operator=(const FileUserDomain&) = delete;

  const Value* read(std::string_view key) const override { return values_.find(key); }
  void write(std::string_view key, Value value) override;
  void remove(std::string_view key) override;
  bool synchronize() override;

  const Dico& values() const { return values_; }
  const std::string& path() const { return path_; }
  // What was wrong with the file at the start and what was done about it, for the user; "" when
  // all was well.
  const std::string& problem() const { return problem_; }

 private:
  void load();
  void putAside(const std::string& reason);
  void changed();

  std::string path_;
  RunLoop* loop_;
  Dico values_;
  std::string problem_;
  bool mayWrite_ = true;
  bool unsaved_ = false;
  RunLoop::Id timer_ = 0;
};

// The user's own file: Tessarin/preferences.plist below $XDG_CONFIG_HOME (when that is an absolute
// path) or ~/.config.
std::string userDomainPath();

}  // namespace tessarin
