#include "Stp/vlans/InstanceName.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>

#include "Lumo/RangeException.h"

namespace Stp {
namespace {

TEST(InstanceName, IsMstForTheInstanceThatRunsMstp) {
  EXPECT_EQ(mstpInstanceName().view(), "Mst");
}

TEST(InstanceName, IsCistForZero) {
  EXPECT_EQ(instanceIdToMstiName(0).view(), "Cist");
  EXPECT_EQ(mstiNameToInstanceId("Cist"), 0);
}

TEST(InstanceName, IsMstAndTheNumberForAllOthers) {
  for (std::uint16_t id = 1; id <= 4095; ++id) {
    std::string const name = "MST" + std::to_string(id);
    ASSERT_EQ(instanceIdToMstiName(id).view(), name);
    ASSERT_EQ(instanceIdToMstiName(id).view(), name) << "asked for again";
    ASSERT_EQ(mstiNameToInstanceId(name), id);
  }
}

TEST(InstanceName, ExistsUpTo4095) {
  for (int id = 4096; id <= 65535; ++id) {
    try {
      instanceIdToMstiName(static_cast<std::uint16_t>(id));
      FAIL() << id;
    } catch (Lumo::RangeException const& error) {
      ASSERT_STREQ(error.what(),
                   "Stp::InstanceId::value < Stp::InstanceId::minInstanceId or > "
                   "Stp::InstanceId::maxInternalInstanceId not allowed");
    }
  }
}

TEST(InstanceName, IsNoOtherText) {
  using namespace std::string_view_literals;
  for (std::string_view const text : {
           "MST0"sv,
           "MST00"sv,
           "MST01"sv,
           "MST4096"sv,
           "MST04095"sv,
           "MST9999"sv,
           "MST65535"sv,
           "MST65536"sv,
           "MST65537"sv,                 // 1 in 16 bits
           "MST4294967297"sv,            // 1 in 32 bits
           "MST18446744073709551617"sv,  // 1 in 64 bits
           "mst1"sv,
           "Mst1"sv,
           "Mst"sv,
           "MS1"sv,
           ""sv,
           "MST"sv,
           "MST "sv,
           "MST1 "sv,
           " MST1"sv,
           "MST 1"sv,
           "MST1a"sv,
           "MST1.0"sv,
           "MST1\0"sv,
           "MST\0"sv,
           "MST-1"sv,
           "MST+1"sv,
           "MST0x1"sv,
           "Cist1"sv,
           "Cist "sv,
           "Cist\0"sv,
           "cist"sv,
           "CIST"sv,
           "Cis"sv,
           "1"sv,
       }) {
    SCOPED_TRACE(text);
    try {
      mstiNameToInstanceId(text);
      ADD_FAILURE() << "taken for a name";
    } catch (Lumo::RangeException const& error) {
      std::string const named = "\"" + std::string(text) + "\"";
      EXPECT_THAT(error.what(), testing::StartsWith(named.c_str()));
    }
  }
}

}  // namespace
}  // namespace Stp
