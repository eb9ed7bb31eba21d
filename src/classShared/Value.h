// The property-list value and the dictionary made of it.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace tessarin {

class Dico;
class Value;

using Bytes = std::vector<std::uint8_t>;
using List = std::vector<Value>;

// A moment, in seconds since 1970-01-01 00:00:00 UTC.
struct Date {
  double seconds = 0;
  bool operator==(const Date&) const = default;
};

// One property-list value. Copies are cheap: lists and dictionaries are shared between copies and
// never change once they are inside a value.
class Value {
 public:
  Value(bool value) : content_(value) {}
  Value(int value) : content_(static_cast<std::int64_t>(value)) {}
  Value(std::int64_t value) : content_(value) {}
  Value(double value) : content_(value) {}
  Value(const char* value) : content_(std::string(value)) {}
  Value(std::string_view value) : content_(std::string(value)) {}
  Value(std::string value) : content_(std::move(value)) {}
  Value(Bytes value) : content_(std::move(value)) {}
  Value(Date value) : content_(value) {}
  Value(List value);
  Value(Dico value);
  template <class T>
  Value(T*) = delete;  // a pointer would silently become a boolean

  // The value as a whole number: an integer as it is, a boolean as 0 or 1, a double cut towards
  // zero when it fits. Nothing for the other kinds.
  std::optional<std::int64_t> integer() const;
  // The value as a number: a double, an integer or a boolean. Nothing for the other kinds.
  std::optional<double> number() const;
  // The text; nothing when the value is not a text.
  std::optional<std::string> text() const;
  std::optional<Date> date() const;
  bool isBoolean() const { return std::holds_alternative<bool>(content_); }
  bool isInteger() const { return std::holds_alternative<std::int64_t>(content_); }

  // The content, owned by this value; null when the value is of another kind.
  const std::string* textContent() const { return std::get_if<std::string>(&content_); }
  const Bytes* bytes() const { return std::get_if<Bytes>(&content_); }
  const List* list() const;
  const Dico* dico() const;

  // The value in one line for the log.
  std::string description() const;

  bool operator==(const Value& other) const;

 private:
  std::variant<bool, std::int64_t, double, std::string, Bytes, Date, std::shared_ptr<const List>,
               std::shared_ptr<const Dico>>
      content_;
};

// A record: text keys to values, in the order of the keys. An absent key means unknown, so every
// read is optional.
class Dico {
 public:
  using Entries = std::map<std::string, Value, std::less<>>;

  Dico() = default;
  Dico(std::initializer_list<Entries::value_type> entries) : entries_(entries) {}

  bool contains(std::string_view key) const { return entries_.find(key) != entries_.end(); }
  // The value, owned by this record; null when the key is absent.
  const Value* find(std::string_view key) const;

  std::optional<std::int64_t> integer(std::string_view key) const;
  std::optional<double> number(std::string_view key) const;
  std::optional<std::string> text(std::string_view key) const;
  const List* list(std::string_view key) const;
  const Dico* dico(std::string_view key) const;

  // True when the key holds a number whose whole part is not 0.
  bool flag(std::string_view key) const { return integer(key).value_or(0) != 0; }
  // The text, or "" when the key is absent or no text.
  std::string textOrEmpty(std::string_view key) const { return text(key).value_or(std::string()); }

  void set(std::string_view key, Value value);
  // True when the key was there.
  bool remove(std::string_view key);
  // Takes over every entry of `other`, replacing entries of the same key.
  void merge(const Dico& other);

  std::size_t size() const { return entries_.size(); }
  bool empty() const { return entries_.empty(); }
  Entries::const_iterator begin() const { return entries_.begin(); }
  Entries::const_iterator end() const { return entries_.end(); }

  std::string description() const;

  bool operator==(const Dico& other) const { return entries_ == other.entries_; }

 private:
  Entries entries_;
};

}  // namespace tessarin
