#include "agent/sources/engine/MemberReader.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace Agent {

namespace {

// Takes the parser's events, and builds what is kept.
class Builder {
 public:
  explicit Builder(std::span<std::string_view const> names) : names_(names) {}

  Json take() { return std::move(root_); }

  // The names are those of the parser's interface.
  bool null() { return value(nullptr); }
  bool boolean(bool val) { return value(val); }
  bool number_integer(Json::number_integer_t val) { return value(val); }
  bool number_unsigned(Json::number_unsigned_t val) { return value(val); }
  bool number_float(Json::number_float_t val, std::string const& /*text*/) { return value(val); }
  bool string(std::string& val) { return value(std::move(val)); }
  bool binary(Json::binary_t& val) { return value(std::move(val)); }
  bool start_object(std::size_t /*size*/) { return open(Json::object()); }
  bool start_array(std::size_t /*size*/) { return open(Json::array()); }
  bool end_object() { return close(); }
  bool end_array() { return close(); }

  bool key(std::string& name) {
    isKept_ = std::ranges::binary_search(names_, std::string_view(name));
    member_ = std::move(name);
    return true;
  }

  template <class Error>
  static bool parse_error(std::size_t /*position*/, std::string const& /*token*/,
                          Error const& error) {
    throw error;
  }

 private:
  // Where a value goes that is kept.
  Json& place(Json&& json) {
    if (open_.empty()) {
      return root_ = std::move(json);
    }
    Json& in = *open_.back();
    return in.is_array() ? in.emplace_back(std::move(json)) : in[member_] = std::move(json);
  }

  bool skips() const { return skipped_ > 0 || !isKept_; }

  template <class Value>
  bool value(Value&& json) {
    if (!skips()) {
      place(Json(std::forward<Value>(json)));
    }
    isKept_ = true;
    return true;
  }
  bool open(Json&& container) {
    if (skips()) {
      ++skipped_;
    } else {
      open_.push_back(&place(std::move(container)));
    }
    isKept_ = true;
    return true;
  }
  bool close() {
    if (skipped_ > 0) {
      --skipped_;
    } else {
      open_.pop_back();
    }
    return true;
  }

  std::span<std::string_view const> names_;
  Json root_;
  std::vector<Json*> open_;  // an entry stays where it is while something in it is open
  std::size_t skipped_ = 0;  // how many containers are open in a member that is not kept
  std::string member_;
  bool isKept_ = true;  // whether the next value is
};

}  // namespace

Json parseMembers(std::string_view text, std::span<std::string_view const> names) {
  Builder builder(names);
  Json::sax_parse(text, &builder);
  return builder.take();
}

}  // namespace Agent
