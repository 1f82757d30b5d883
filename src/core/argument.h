// What a caller passed, before any check: operations take Arguments, so that a wrong type becomes this library's own
// error. An int is whatever stands for one in Python (True, numpy's integers), a float whatever else stands for a real
// number, a list every sequence of items. Bytes are data and no numbers: only what is sent as it is takes them.
#pragma once

#include "core/bytes.h"
#include "core/errors.h"

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qvx {

class Argument {
 public:
  enum class Kind : std::uint8_t { None, Int, Float, Text, List, Data, Other };
  // An item of a list that is a plain int or float. Long lists are made of nothing else.
  struct Number {
    double real = 0;
    std::int64_t integer = 0;
    bool is_int = false;
  };

  Argument() = default;  // None
  Argument(std::int64_t value) : kind_(Kind::Int), int_(value), type_("int") {}
  Argument(int value) : Argument(static_cast<std::int64_t>(value)) {}
  Argument(double value) : kind_(Kind::Float), float_(value), type_("float") {}
  Argument(std::string value) : kind_(Kind::Text), text_(std::move(value)), type_("str") {}
  Argument(const char* value) : Argument(std::string(value)) {}
  Argument(std::vector<Argument> items, const char* type = "list")
      : kind_(Kind::List), items_(std::move(items)), type_(type) {}
  static Argument numbers(std::vector<Number> numbers, const char* type = "list");
  static Argument data(ByteView bytes, const char* type = "bytes");
  static Argument other(std::string type_name);
  // An int of a class of its own: bool, or what a caller derived.
  static Argument intOf(std::int64_t value, std::string type_name);
  // An int beyond 64 bits: kept as the nearest 64-bit value, which no range accepts.
  static Argument hugeInt(bool negative);

  Kind kind() const { return kind_; }
  bool isInt() const { return kind_ == Kind::Int; }
  std::int64_t asInt() const { return int_; }
  double asFloat() const { return float_; }
  const std::string& asText() const { return text_; }
  ByteView asData() const { return {reinterpret_cast<const std::uint8_t*>(text_.data()), text_.size()}; }
  // Of a list.
  class Items;
  Items items() const&;
  Items items() && = delete;
  const std::string& typeName() const { return type_; }
  // The value as an error message shows it.
  std::string show() const;

 private:
  Kind kind_ = Kind::None;
  std::int64_t int_ = 0;
  double float_ = 0;
  std::string text_;  // or the bytes
  std::vector<Argument> items_;
  std::vector<Number> numbers_;  // instead, where there is nothing else
  std::string type_ = "NoneType";
};

// The items of a list, one after the other. Must not outlive it.
class Argument::Items {
 public:
  explicit Items(const Argument& list) : list_(list) {}
  std::size_t size() const { return list_.items_.size() + list_.numbers_.size(); }
  bool empty() const { return size() == 0; }
  Argument operator[](std::size_t i) const {
    if (!list_.items_.empty()) {
      return list_.items_[i];
    }
    const Number& number = list_.numbers_[i];
    return number.is_int ? Argument(number.integer) : Argument(number.real);
  }

  class Iterator {
   public:
    Iterator(const Items& items, std::size_t at) : items_(items), at_(at) {}
    Argument operator*() const { return items_[at_]; }
    Iterator& operator++() {
      ++at_;
      return *this;
    }
    bool operator!=(const Iterator& other) const { return at_ != other.at_; }

   private:
    const Items& items_;
    std::size_t at_;
  };
  Iterator begin() const { return {*this, 0}; }
  Iterator end() const { return {*this, size()}; }

 private:
  const Argument& list_;
};

inline Argument::Items Argument::items() const& {
  return Items(*this);
}

// Raises `id`: the published text of the class, then what is wrong with the argument `what`.
[[noreturn]] void refuse(ErrorId id, std::string_view what, const std::string& detail);
// The same for a value out of range: "<need> is needed, not <value>".
[[noreturn]] void refuseNeeding(const Argument& value, std::string_view what, const std::string& need);

// Checks shared by all modules. `what` names the argument in the message, which tells the value and the limits too.
// Each raises InputTypeNotCorrectError on a wrong type.
std::int64_t checkedInt(const Argument& value, std::string_view what);
// An int or a float; NaN raises InputDataNotInRangeError.
double checkedNumber(const Argument& value, std::string_view what);
const std::string& checkedText(const Argument& value, std::string_view what);
// An int in low..high, else `out_of_range`.
int checkedRange(const Argument& value, std::string_view what, std::int64_t low, std::int64_t high,
                 ErrorId out_of_range = ErrorId::InputDataNotInRangeError);
// An int in 0..4294967295, else InputDataNotInRangeError.
std::uint32_t checkedU32(const Argument& value, std::string_view what);
[[noreturn]] void refuseChoice(ErrorId id, const Argument& value, std::string_view what,
                               const std::vector<int>& choices);
// An int that is a key of `choices`, else `none_of_them`.
template <class Value>
int checkedKey(const Argument& value, std::string_view what, const std::map<int, Value>& choices,
               ErrorId none_of_them) {
  const std::int64_t number = checkedInt(value, what);
  if (!std::in_range<int>(number) || !choices.contains(static_cast<int>(number))) {
    std::vector<int> keys;
    keys.reserve(choices.size());
    for (const auto& [key, entry] : choices) {
      keys.push_back(key);
    }
    refuseChoice(none_of_them, value, what, keys);
  }
  return static_cast<int>(number);
}
// The items of a list.
Argument::Items checkedList(const Argument& value, std::string_view what);
Argument::Items checkedList(Argument&& value, std::string_view what) = delete;
// Bytes, or a list of ints 0..255; an item outside raises InputDataNotInRangeError.
Bytes checkedByteList(const Argument& value, std::string_view what);
// Seconds to wait. Not a number raises InputTypeNotCorrectError, NaN InputDataNotInRangeError.
double checkedTimeout(const Argument& value);

}  // namespace qvx
