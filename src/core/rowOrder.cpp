#include "core/rowOrder.h"

#include <algorithm>
#include <numeric>
#include <string>
#include <utility>

#include "classShared/TextAdditions.h"

namespace tessarin {

namespace {

constexpr std::string_view digits = "0123456789";

// The digits that the text begins with, without noughts in front.
std::string_view leadingDigits(std::string_view text) {
  const std::string_view number = text.substr(0, text.find_first_not_of(digits));
  return number.substr(std::min(number.find_first_not_of('0'), number.size()));
}

std::size_t digitCount(std::string_view text) {
  return std::min(text.find_first_not_of(digits), text.size());
}

// Up to the second; a time with a zone and one of the camera's clock are compared as they are read.
std::string_view secondOf(const std::string& recorded) {
  constexpr std::size_t length = std::string_view("2010-12-24 14:05:33").size();
  return std::string_view(recorded).substr(0, length);
}

template <class Before, class Known>
void sortRows(std::vector<int>& rows, const Before& isBefore, const Known& isKnown) {
  std::stable_sort(rows.begin(), rows.end(), [&](int one, int other) {
    if (isKnown(one) != isKnown(other))
      return isKnown(one);
    return isKnown(one) && isBefore(one, other);
  });
}

}  // namespace

bool isNameBefore(std::string_view one, std::string_view other) {
  while (!one.empty() && !other.empty()) {
    const std::size_t length = digitCount(one);
    const std::size_t otherLength = digitCount(other);
    if (length > 0 && otherLength > 0) {
      const std::string_view number = leadingDigits(one);
      const std::string_view otherNumber = leadingDigits(other);
      if (number != otherNumber)
        return std::pair(number.size(), number) < std::pair(otherNumber.size(), otherNumber);
      one.remove_prefix(length);
      other.remove_prefix(otherLength);
      continue;
    }
    const std::string letter = lowerCase(one.substr(0, 1));
    const std::string otherLetter = lowerCase(other.substr(0, 1));
    if (letter != otherLetter)
      return letter < otherLetter;
    one.remove_prefix(1);
    other.remove_prefix(1);
  }
  return one.empty() && !other.empty();
}

std::vector<int> orderBy(const BatchTable& table, SortBy what) {
  std::vector<int> rows(static_cast<std::size_t>(table.count()));
  std::iota(rows.begin(), rows.end(), 0);
  switch (what) {
    case SortBy::name: {
      std::vector<std::string> names;
      names.reserve(rows.size());
      for (const int row : rows)
        names.push_back(fileName(table.sourcePath(row)));
      const auto name = [&names](int row) -> const std::string& {
        return names[static_cast<std::size_t>(row)];
      };
      sortRows(
          rows, [&](int one, int other) { return isNameBefore(name(one), name(other)); },
          [](int) { return true; });
      break;
    }
    case SortBy::recorded:
      sortRows(
          rows,
          [&](int one, int other) {
            return secondOf(table.source(one).recorded) < secondOf(table.source(other).recorded);
          },
          [&](int row) { return !table.source(row).recorded.empty(); });
      break;
    case SortBy::length:
      sortRows(
          rows,
          [&](int one, int other) {
            return lengthOf(table.source(one)) < lengthOf(table.source(other));
          },
          [&](int row) { return lengthOf(table.source(row)) > 0; });
      break;
  }
  return rows;
}

std::vector<int> orderWithMoved(int count, std::vector<int> rows, int before) {
  std::sort(rows.begin(), rows.end());
  const auto isMoved = [&rows](int row) {
    return std::binary_search(rows.begin(), rows.end(), row);
  };
  std::vector<int> order;
  order.reserve(static_cast<std::size_t>(count));
  for (int row = 0; row <= count; ++row) {
    if (row == before)
      order.insert(order.end(), rows.begin(), rows.end());
    if (row < count && !isMoved(row))
      order.push_back(row);
  }
  return order;
}

std::vector<int> orderWithMovedUp(int count, const std::vector<int>& rows) {
  const auto first = std::min_element(rows.begin(), rows.end());
  return orderWithMoved(count, rows, first == rows.end() ? 0 : std::max(0, *first - 1));
}

std::vector<int> orderWithMovedDown(int count, const std::vector<int>& rows) {
  const auto last = std::max_element(rows.begin(), rows.end());
  return orderWithMoved(count, rows, last == rows.end() ? count : std::min(count, *last + 2));
}

}  // namespace tessarin
