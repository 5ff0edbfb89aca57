// How the agent refuses what it is told: with a reason that begins with the member at fault.
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>

namespace Agent {

/// What is not taken: an operation, or a file. Nothing has changed because of it. The message is
/// the reason, on one line.
class Refusal : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// A member name as it stands in a message: one that is no plain word is quoted.
std::string memberText(std::string_view member);

/// Where in an operation a value stands: "value.vidToMsti[3][1]". It refers to the place around it
/// and to the names it is made of, which must outlive it; the text is made only for a refusal.
class Where {
 public:
  constexpr explicit Where(std::string_view member) : member_(member) {}
  constexpr Where(Where const& outer, std::string_view member) : outer_(&outer), member_(member) {}
  constexpr Where(Where const& outer, std::size_t index)
      : outer_(&outer), index_(index), isElement_(true) {}

  std::string text() const;

  /// Throws a Refusal of what stands here.
  [[noreturn]] void refuse(std::string const& reason) const;

 private:
  Where const* outer_ = nullptr;
  std::string_view member_;
  std::size_t index_ = 0;
  bool isElement_ = false;
};

}  // namespace Agent
