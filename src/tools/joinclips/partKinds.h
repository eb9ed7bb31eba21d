// The kinds of files that cameras cut recordings into, and how their parts are known.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tools/joinclips/spannedParts.h"

namespace tessarin::joining {

// The files among which parts are looked for, and their places.
using KnownFiles = std::map<std::string, std::size_t>;

// What is known of a file and the one behind it.
enum class Link {
  apart,
  goesOn,
  doubtful  // by card, name or size they should be parts of one recording, and do not fit
};

class PartKind {
 public:
  virtual ~PartKind() = default;

  // The file in which this one would go on, whether it is there or not; nothing: no such file has a
  // name.
  virtual std::optional<std::string> nextName(const std::string& file, const KnownFiles& known) = 0;
  // Whether the card says that it goes on, though in a file without a name.
  virtual bool goesOnSomewhere(const std::string&) { return false; }
  // Whether by name or card another part is before this one.
  virtual bool isLaterPart(const std::string&) { return false; }
  // Whether the name alone says that the files of this and of the next name are one recording.
  virtual bool isNamedAsPart(const std::string&) const { return false; }
  // Reads of both what has to be known.
  virtual Link link(CardSays says, const std::string& file, const std::string& next) = 0;
  // Of files that go on in each other: as lengthsOf() of spannedParts.h.
  virtual std::vector<double> lengths(const std::vector<std::string>& parts) = 0;
};

// Whether it is as large as cameras make a file at most.
bool isFull(const std::string& file);

// By the extension of the name; one object for all files of a kind. Null: files of that kind are
// never parts.
std::shared_ptr<PartKind> partKindOf(const std::string& file);

}  // namespace tessarin::joining
