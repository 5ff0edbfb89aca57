// What can be said about each place in the tree.
//
// The tree is not written down here: it is that of the `attributes` tables of the entity types,
// from the roots of the database on. A path goes through them, from attribute names to keys and
// on, to one place; the place knows which operations it supports, and with which values.
//
//     input.portConfig.Ethernet1.linkType      an attribute        set, touch
//     input.portConfig.Ethernet1               a member            create, replace, touch, delete
//     input.portConfig                         a collection        clear, also a target's
//     input.disabledVlan.10                    an entry of a table set, touch, delete
//     vlanConfigDir.vlanConfig.10              a VLAN that exists  create, replace, touch, delete
//     operational.tree.MST5.port.E1.role       an attribute        set, touch
//     operational.tree.MST5.port.E1            a member            create, replace, touch, delete
//     ocGlobalConfig.config                    a target's own      set
//     ocInterfaceConfigDir.interface.Ethernet1 a target's member   create, set, delete
//     ocInterfaceStateDir.state.Ethernet1      a target's record   set, delete
//     ocTreePortStateDir.record.MST5/Ethernet1 a target's record   set, delete
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "agent/state/Change.h"
#include "agent/state/Database.h"
#include "agent/text/Json.h"

namespace Agent {

/// Attribute names and keys, from the root; each a string or an integer.
using Path = Json::array_t;

/// The first `count` steps of a path, as they stand in a message: "input.portConfig.Ethernet1".
std::string pathText(Path const& path, std::size_t count);

/// One place in the tree. Each operation checks everything against the present state and changes
/// nothing: it returns the change, which can't be refused as long as nothing else changes first, or
/// throws a Refusal. The default is that the place does not support it.
class Place {
 public:
  /// `path`, which leads here, must outlive the place.
  explicit Place(Path const& path) : path_(path) {}
  Place(Place const&) = delete;
  Place& operator=(Place const&) = delete;
  virtual ~Place() = default;

  virtual Change set(Json const& value) const;
  /// `value` is an object of attributes, empty where none is given.
  virtual Change create(Json const& value) const;
  virtual Change replace(Json const& value) const;
  virtual Change touch() const;
  virtual Change erase() const;
  virtual Change clear() const;

 protected:
  Path const& path() const { return path_; }
  [[noreturn]] void unsupported(std::string_view operation) const;

 private:
  Path const& path_;
};

/// The place to which a path leads. Throws a Refusal for a step that leads nowhere: an attribute
/// that is unknown, a key of the wrong type or range, a key on the way that is missing. Whether
/// the last key must exist is for the operation to say.
std::unique_ptr<Place> placeAt(Database const& database, Path const& path);

}  // namespace Agent
