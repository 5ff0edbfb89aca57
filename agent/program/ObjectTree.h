// The mirror's objects as they live, for people.
#pragma once

#include <string>

#include "agent/state/Database.h"
#include "agent/state/Mirror.h"

namespace Agent {

/// The tree of objects: class and key, whether its subscriptions are on and whether it is marked as
/// a zombie, and its fields by number: entities by their path in the database, values, children.
std::string objectTree(Database const& database, Mirror const& mirror);

/// How many objects of each class live, and how many there were in this process.
std::string allocationTable();

}  // namespace Agent
