#include "agent/text/Refusal.h"

#include <algorithm>

#include "agent/text/Json.h"

namespace Agent {

std::string memberText(std::string_view member) {
  bool const plain =
      !member.empty() && member.size() <= 40 && std::ranges::all_of(member, [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
               c == '_' || c == '-';
      });
  return plain ? std::string(member) : inQuotes(member);
}

std::string Where::text() const {
  std::string const outer = outer_ == nullptr ? "" : outer_->text();
  if (isElement_) {
    return outer + "[" + std::to_string(index_) + "]";
  }
  return (outer.empty() ? outer : outer + ".") + memberText(member_);
}

void Where::refuse(std::string const& reason) const {
  throw Refusal(text() + ": " + reason);
}

}  // namespace Agent
