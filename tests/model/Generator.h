// Draws operations.
#pragma once

#include <array>
#include <cstdint>
#include <random>
#include <vector>

#include "Operation.h"
#include "State.h"

namespace Harness {

/// A source of operations for one sequence. How often each kind of operation is drawn differs from
/// sequence to sequence, so that some do little but one thing.
class Generator {
 public:
  explicit Generator(std::uint64_t seed);

  Model::Operation next(Model::State const& state);

  /// The operations to begin with, in random order: those that fill an ordinary world, most of
  /// them, and that start most of the mirrors.
  std::vector<Model::Operation> opening();

  /// A number for whatever else differs between sequences.
  int below(int limit);

 private:
  template <class Values>
  auto among(Values const& values) {
    return values[static_cast<std::size_t>(below(static_cast<int>(std::size(values))))];
  }
  bool oneIn(int limit) { return below(limit) == 0; }

  Model::Do what();
  int vlan();
  int msti();
  int instance();
  int keyOf(Model::Kind member);
  int hand(Model::Kind kind);
  int presentOrAny(Model::State const& state, Model::Members collection, int owner);
  Model::Operation vlans(Model::Do what, int config);
  Model::Operation attribute();
  Model::Operation members(Model::State const& state, Model::Do what);
  Model::Operation touch(Model::State const& state);
  Model::Operation flag(Model::State const& state, Model::Do what);
  Model::Operation call();
  Model::Operation stage(Model::Do what);

  std::mt19937_64 numbers_;
  std::array<int, Model::operationKinds> weights_{};
  int sum_ = 0;
};

}  // namespace Harness
