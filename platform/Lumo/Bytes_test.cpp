#include "Lumo/Bytes.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <utility>

namespace Lumo {
namespace {

static_assert(std::is_nothrow_move_constructible_v<Bytes>);

TEST(Bytes, HoldAnyValue) {
  Bytes bytes;
  for (unsigned value = 0; value < 256; ++value) {
    bytes.push(static_cast<std::uint8_t>(value));
  }
  ASSERT_EQ(bytes.size(), 256U);
  for (unsigned value = 0; value < 256; ++value) {
    EXPECT_EQ(bytes[value], value);
    EXPECT_EQ(bytes.data()[value], value);
  }
}

TEST(Bytes, CompareByContent) {
  EXPECT_EQ(Bytes(), Bytes({}));
  EXPECT_EQ(Bytes({0, 255}), Bytes(std::vector<std::uint8_t>{0, 255}));
  EXPECT_NE(Bytes({0}), Bytes());
  EXPECT_NE(Bytes({0, 1}), Bytes({1, 0}));
}

TEST(Bytes, AreOwned) {
  Bytes const original{1, 2, 3};
  Bytes copy = original;
  copy.push(4);
  EXPECT_EQ(original, Bytes({1, 2, 3}));
  EXPECT_EQ(copy, Bytes({1, 2, 3, 4}));
}

TEST(Bytes, RefuseAnIndexPastTheEnd) {
  Bytes const bytes{1, 2};
  EXPECT_EQ(bytes[1], 2);
  for (std::size_t const index : {std::size_t{2}, ~std::size_t{0}}) {
    try {
      static_cast<void>(bytes[index]);
      ADD_FAILURE() << "index " << index << " was accepted";
    } catch (VectorOutOfRangeException const& exception) {
      EXPECT_EQ(exception.what(), "index " + std::to_string(index) + " of a list of 2");
    }
  }
  EXPECT_THROW(static_cast<void>(Bytes()[0]), VectorOutOfRangeException);
}

}  // namespace
}  // namespace Lumo
