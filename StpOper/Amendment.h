// How the mirrors change a record in place. Internal.
#pragma once

#include <type_traits>

namespace Stp::Oper {

/// Sets members of a record, and knows whether one of them was something else before.
class Amendment {
 public:
  template <class Value>
  Amendment& set(Value& member, std::type_identity_t<Value> const& value) noexcept {
    if (member != value) {
      member = value;
      made_ = true;
    }
    return *this;
  }

  bool made() const noexcept { return made_; }

 private:
  bool made_ = false;
};

}  // namespace Stp::Oper
