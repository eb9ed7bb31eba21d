// What was read of files, each once.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "classShared/Outcome.h"

namespace tessarin::joining {

template <class Facts>
class FactsOfFiles {
 public:
  explicit FactsOfFiles(Outcome<Facts> (*read)(const std::string&)) : read_(read) {}

  // Null: it cannot be read, or does not tell.
  const Facts* of(const std::string& file) {
    auto known = facts_.find(file);
    if (known == facts_.end())
      known = facts_.emplace(file, read_(file)).first;
    return known->second ? &known->second.value() : nullptr;
  }
  std::vector<Facts> all(const std::vector<std::string>& files) {
    std::vector<Facts> facts;
    for (const std::string& file : files)
      if (const Facts* known = of(file))
        facts.push_back(*known);
    return facts;
  }

 private:
  Outcome<Facts> (*read_)(const std::string&);
  std::map<std::string, Outcome<Facts>> facts_;
};

// Where each but the first begins, and where the last ends.
template <class Facts>
std::vector<double> sumsOfSeconds(const std::vector<Facts>& parts) {
  std::vector<double> sums;
  sums.reserve(parts.size());
  double sum = 0;
  for (const Facts& part : parts)
    sums.push_back(sum += part.seconds());
  return sums;
}

}  // namespace tessarin::joining
