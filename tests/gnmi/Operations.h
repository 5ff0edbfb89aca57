// Random operations on a session, as its users write them.
#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace Harness {

/// Numbers of one seed, the same on every machine.
class Dice {
 public:
  explicit Dice(std::uint64_t seed) : engine_(seed) {}

  std::uint64_t below(std::uint64_t bound) { return engine_() % bound; }
  bool oneIn(std::uint64_t many) { return below(many) == 0; }
  template <class T>
  T of(std::vector<T> const& choices) {
    return choices[below(choices.size())];
  }

 private:
  std::mt19937_64 engine_;
};

/// One operation as a line of JSON. Many are refused: what is to be created may be there already.
std::string randomOperation(Dice& dice);

}  // namespace Harness
