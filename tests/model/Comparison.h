// Compares the library's world with the model's.
#pragma once

#include <string>

#include "Library.h"
#include "Model.h"

namespace Harness {

/// What differs in the six targets, in how often they were written, in the input configuration's
/// disabled VLANs and in the number of live objects; empty where nothing does.
std::string difference(Library const& library, Model::State const& state);

}  // namespace Harness
