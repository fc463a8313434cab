#include "services/address.h"

#include <gtest/gtest.h>

namespace zevo::connections {
namespace {

std::string rewritten(std::string_view text) {
  const auto address = parseAddress(text);
  return address ? numericText(*address) : "no address";
}

TEST(AddressTest, IsWrittenNumericallyInItsShortestForm) {
  EXPECT_EQ(rewritten("10.20.0.2"), "10.20.0.2");
  EXPECT_EQ(rewritten("2001:0db8:0:0::1"), "2001:db8::1");
}

TEST(AddressTest, AMappedIpv4AddressIsWrittenAsIpv4) {
  EXPECT_EQ(rewritten("::ffff:10.20.0.2"), "10.20.0.2");
  EXPECT_EQ(rewritten("::ffff:0a14:0002"), "10.20.0.2");
}

TEST(AddressTest, ALinkLocalAddressCarriesItsInterface) {
  EXPECT_EQ(rewritten("fe80::1%lo"), "fe80::1%lo");
  EXPECT_EQ(rewritten("fe80::1%1"), "fe80::1%lo");
  EXPECT_EQ(rewritten("fe80::1"), "fe80::1");
}

TEST(AddressTest, AnInterfaceThatIsGoneIsWrittenByItsIndex) {
  EXPECT_EQ(rewritten("fe80::1%4000000"), "fe80::1%4000000");
}

TEST(AddressTest, AGlobalAddressCarriesNoInterface) {
  Address address = *parseAddress("2001:db8::1");
  address.interface = 1;
  EXPECT_EQ(numericText(address), "2001:db8::1");
}

TEST(AddressTest, OtherTextIsNoAddress) {
  for (const char* text : {"", "localhost", "10.20.0", "10.20.0.2:445", "10.0.0.1%lo", "[::1]"}) {
    EXPECT_EQ(parseAddress(text), std::nullopt) << text;
  }
}

}  // namespace
}  // namespace zevo::connections
