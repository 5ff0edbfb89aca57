// The trace that opens every handler: a block in the fast trace and, at level 8, a line of text.
//
// Switched off, it costs one test of the process-wide fast trace and one of the level.
#pragma once

#include <algorithm>
#include <ostream>
#include <string_view>
#include <type_traits>

#include "Flashlog/BlockTimerSelf.h"
#include "Flashlog/FlashlogHandle.h"
#include "Flashlog/MsgDesc.h"
#include "Vel/TraceHandle.h"
#include "Vel/TraceHelper.h"

namespace Stp::Impl {

inline constexpr unsigned handlerTraceLevel = 8;

/// A place in the source that traces.
struct TraceSite {
  std::string_view qualifiedClass;  ///< "Stp::OCGlobalConfigSm"
  std::string_view handler;         ///< with a parameter list only where the message has it
  char const* sourcePath;           ///< by which both traces name the source of the module
  unsigned line;

  constexpr std::string_view className() const {
    return qualifiedClass.substr(qualifiedClass.rfind(':') + 1);
  }
  // Not by `find`: under GCC's sanitizer for undefined behaviour that is no constant expression.
  constexpr std::string_view handlerName() const {
    return {handler.begin(), std::ranges::find(handler, '(')};
  }
};

/// Registers the site's message in the file, and gives the site its id if it has none.
[[gnu::cold, gnu::noinline]] inline void traceSiteRegister(Flashlog::TraceFile& file, int& id,
                                                           TraceSite const& site) {
  Flashlog::MsgDesc message(file, id, site.sourcePath, site.line);
  message << site.qualifiedClass << "::" << site.handler;
  message << (site.handler.ends_with(')') ? ":" : "():") << site.line;
  message.finish();
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
  /// must be read after that: the braces fix the order. `write(text...)` writes the line; it is
  /// called only while the level is enabled in `handle`.
  template <class Write, class... Text>
  [[gnu::always_inline]] HandlerTrace(TraceSite const& site, int& id,
                                      Vel::TraceHandle const& handle, Write write,
                                      Text const&... text) noexcept
      : timer_{registeredFile(site, id), id} {
    if (handle.enabled(handlerTraceLevel)) [[unlikely]] {
      write(text...);
    }
  }

 private:
  static Flashlog::TraceFile* registeredFile(TraceSite const& site, int& id) {
    Flashlog::TraceFile* const file = Flashlog::currentTraceFile();
    if (file != nullptr && !file->registered(id)) [[unlikely]] {
      traceSiteRegister(*file, id, site);
    }
    return file;
  }

  Flashlog::BlockTimerSelf timer_;
};

}  // namespace Stp::Impl
