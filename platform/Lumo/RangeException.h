// The framework's own exceptions.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

#include "Base/Api.h"

namespace Lumo {

/// A value outside the range of its type; the message is the type's own fixed text.
class STP_API RangeException : public std::range_error {
 public:
  using std::range_error::range_error;
  ~RangeException() override;

  [[noreturn]] static void throwException(std::string const& message);
};

/// A list was asked for an element past its end.
class STP_API VectorOutOfRangeException : public RangeException {
 public:
  using RangeException::RangeException;
  ~VectorOutOfRangeException() override;

  [[noreturn]] static void throwException(std::size_t index, std::size_t size);
};

/// A counted pointer that points to nothing was used; the message names the type it points to.
class STP_API AbsentPointerException : public std::logic_error {
 public:
  using std::logic_error::logic_error;
  ~AbsentPointerException() override;

  [[noreturn]] static void throwException(std::string_view typeName);
};

}  // namespace Lumo
