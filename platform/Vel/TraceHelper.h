// The line of text trace that one statement writes.
#pragma once

#include <ostream>
#include <sstream>
#include <string_view>

#include "Base/Api.h"
#include "Vel/TraceHandle.h"

namespace Vel {

/// One line of text trace, emitted when it is destroyed.
class STP_API TraceHelper {
 public:
  TraceHelper(TraceHandle const& handle, unsigned level, std::string_view sourcePath,
              unsigned sourceLine, std::string_view function);
  TraceHelper(TraceHelper const&) = delete;
  TraceHelper& operator=(TraceHelper const&) = delete;
  ~TraceHelper();

  std::ostream& stream() noexcept { return text_; }

 private:
  TraceHandle const& handle_;
  unsigned level_;
  std::string_view sourcePath_;
  unsigned sourceLine_;
  std::string_view function_;
  std::ostringstream text_;
};

}  // namespace Vel
