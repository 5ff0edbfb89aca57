// The trace that opens every handler: a block in the fast trace and, at level 8, a line of text.
//
// Switched off, it costs one test of the process-wide fast trace and one of the level.
#pragma once

#include <ostream>
#include <string_view>
#include <type_traits>

#include "Flashlog/BlockTimerSelf.h"
#include "Flashlog/FlashlogHandle.h"
#include "Stp/Module.h"
#include "Vel/TraceHelper.h"

namespace Stp::Impl {

/// The path by which both traces name the source of this module.
inline constexpr char const* sourcePath = "/src/Stp/StpOpenConfigSm";

inline constexpr unsigned handlerTraceLevel = 8;

/// The same handle as `_defaultTraceHandle()`, for tests without a call.
extern constinit Vel::TraceHandle moduleTraceHandle;

/// A place in the source that traces; the names are those of the class without its namespace and
/// of the handler.
struct TraceSite {
  std::string_view className;
  std::string_view handler;  ///< with a parameter list only where the message has it
  unsigned line;

  constexpr std::string_view handlerName() const { return handler.substr(0, handler.find('(')); }
};

/// Registers the site's message in the file, and gives the site its id if it has none.
[[gnu::cold]] void traceSiteRegister(Flashlog::TraceFile& file, int& id, TraceSite const& site);

/// A line of text trace from this site.
inline Vel::TraceHelper textTrace(TraceSite const& site) {
  return {moduleTraceHandle, handlerTraceLevel, sourcePath, site.line, site.handlerName()};
}

/// Streams a value, or lets a callable write what is expensive to have at hand.
template <class Text>
void streamText(std::ostream& out, Text const& text) {
  if constexpr (std::is_invocable_v<Text const&, std::ostream&>) {
    text(out);
  } else {
    out << text;
  }
}

/// The scope of one traced block. An exception out of a trace ends the process.
class HandlerTrace {
 public:
  /// `id` is that of the site's message; registering the message gives it its value, so that it
  /// must be read after that: the braces fix the order. `traced.writeText(site, text...)` writes
  /// the line; it is called only while the level is enabled.
  template <class Traced, class... Text>
  [[gnu::always_inline]] HandlerTrace(TraceSite const& site, int& id, Traced const& traced,
                                      Text const&... text) noexcept
      : timer_{registeredFile(site, id), id} {
    if (moduleTraceHandle.enabled(handlerTraceLevel)) [[unlikely]] {
      traced.writeText(site, text...);
    }
  }

 private:
  static Flashlog::TraceFile* registeredFile(TraceSite const& site, int& id) {
    Flashlog::TraceFile* const file = Flashlog::currentTraceFile();
    if (file != nullptr) [[unlikely]] {
      if (!file->registered(id)) [[unlikely]] {
        traceSiteRegister(*file, id, site);
      }
    }
    return file;
  }

  Flashlog::BlockTimerSelf timer_;
};

}  // namespace Stp::Impl
