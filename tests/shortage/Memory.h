// The memory of this process: it can run short, and it is counted.
//
// Slabs stand aside here: each piece is an allocation of its own, which can fail like any other and
// which the count of those in use sees.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Shortage {

/// How many allocations, slab pieces among them, were made and not yet freed.
std::int64_t allocationsInUse() noexcept;

/// The size of the largest allocation since this was last asked, in bytes.
std::size_t largestAllocation() noexcept;

/// Lets `allowed` allocations succeed during its scope, and fails all others.
class Limit {
 public:
  explicit Limit(unsigned allowed) noexcept;
  ~Limit();
  Limit(Limit const&) = delete;
  Limit& operator=(Limit const&) = delete;
};

/// Lifts the limit during its scope: what the test itself needs is not what it measures.
class Plenty {
 public:
  Plenty() noexcept;
  ~Plenty();
  Plenty(Plenty const&) = delete;
  Plenty& operator=(Plenty const&) = delete;

 private:
  unsigned before_;
};

}  // namespace Shortage
