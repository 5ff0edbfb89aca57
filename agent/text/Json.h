// JSON as the agent reads and shows it.
//
// Two types on purpose: what is read is looked up by member name, and of a member given twice the
// last counts; what is shown keeps its members in the order in which they are added.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <utility>

namespace Agent {

using Json = nlohmann::json;
using OrderedJson = nlohmann::ordered_json;

/// Adds a member under a name that the object does not have yet, without looking for it first.
inline void memberAdd(OrderedJson& object, std::string_view name, OrderedJson value) {
  object.get_ref<OrderedJson::object_t&>().emplace_back(std::string(name), std::move(value));
}

/// A text as it can stand in a message: its beginning, quoted, on one line.
std::string inQuotes(std::string_view text);

/// A value as it can stand in a message: short, on one line.
std::string brief(Json const& value);

}  // namespace Agent
