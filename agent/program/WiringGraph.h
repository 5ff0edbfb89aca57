// Which change runs which handler, as a picture.
#pragma once

#include <string>

namespace Agent {

/// The type registry as a graph in the language of Graphviz's dot: entities with the attributes
/// that somebody watches on the left, the library's classes with the operations that a change runs
/// in the middle, what they write on the right. As wiringPage() it is the same in every process.
std::string wiringGraph();

}  // namespace Agent
