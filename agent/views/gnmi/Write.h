// What a client may write, and what becomes of it.
//
// The mirror writes every leaf but one: which VLANs run no spanning tree is a client's to say.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "StpTypes/VlanTable.h"
#include "agent/text/Json.h"
#include "agent/views/gnmi/RequestPath.h"

namespace Agent::Gnmi {

struct WriteRequest {
  enum class Kind : std::uint8_t { remove, replace, update };

  Kind kind;
  RequestPath path;
  /// Of a replace and an update; a scalar or a list of them stands here as JSON, too.
  Json value = {};
};

/// One write of a client, checked: it can't fail any more.
class Write {
 public:
  /// Checks requests, which are joined paths in the order in which they take effect. Throws a
  /// Failure that names the path at fault.
  explicit Write(std::span<WriteRequest const> requests);

  /// Whether it asks for nothing at all.
  bool isEmpty() const { return steps_.empty(); }

  /// Which VLANs run no spanning tree after it, where these run none before.
  Stp::VlanSet disabledVlans(Stp::VlanSet vlans) const;

 private:
  struct Step {
    enum class Kind : std::uint8_t { clear, set, add };

    Kind kind;
    Stp::VlanSet vlans = {};
  };

  void add(WriteRequest const& request);

  std::vector<Step> steps_;
};

}  // namespace Agent::Gnmi
