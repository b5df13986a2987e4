#include "net/ClientAddressList.h"

#include <gtest/gtest.h>

namespace {

bool Allows(const ClientAddressList& list, const char* peer) { return list.Allows(QHostAddress(QString(peer))); }

TEST(ClientAddressListTest, LoopbackOnlyTakesThisPcInEitherFamily) {
    const ClientAddressList list = ClientAddressList::LoopbackOnly();
    for (const char* peer : {"127.0.0.1", "127.3.2.1", "::1", "::ffff:127.0.0.1"}) EXPECT_TRUE(Allows(list, peer)) << peer;
    for (const char* peer : {"128.0.0.1", "10.0.0.1", "::2", "::ffff:10.0.0.1", "0.0.0.0"}) EXPECT_FALSE(Allows(list, peer)) << peer;
}

TEST(ClientAddressListTest, AddressesAndSubnetsSeparatedByCommasSemicolonsOrBlanks) {
    std::vector<std::string> rejected;
    const ClientAddressList list =
        ClientAddressList::Parse(" 192.168.1.20,10.1.0.0/16;\tfd00::/8  bad 300.1.1.1 10.0.0.0/33 ,,", rejected);
    EXPECT_EQ(rejected, (std::vector<std::string>{"bad", "300.1.1.1", "10.0.0.0/33"}));
    for (const char* peer : {"192.168.1.20", "::ffff:192.168.1.20", "10.1.255.255", "10.1.0.0", "fd12::5"})
        EXPECT_TRUE(Allows(list, peer)) << peer;
    // A listed address is not its neighbours, and loopback is only there when listed.
    for (const char* peer : {"192.168.1.21", "10.2.0.0", "fe80::1", "127.0.0.1", "::1"})
        EXPECT_FALSE(Allows(list, peer)) << peer;

    rejected.clear();
    EXPECT_TRUE(Allows(ClientAddressList::Parse("10.0.0.1 *", rejected), "203.0.113.9"));
    EXPECT_FALSE(Allows(ClientAddressList::Parse("", rejected), "127.0.0.1"));
    EXPECT_TRUE(rejected.empty());
}

TEST(ClientAddressListTest, ShareKeyIsTheIpv4AddressOrTheIpv6Slash64) {
    auto key = [](const char* peer) { return ShareKey(QHostAddress(QString(peer))); };
    EXPECT_EQ(key("192.168.1.20"), "192.168.1.20");
    EXPECT_EQ(key("::ffff:192.168.1.20"), "192.168.1.20");
    EXPECT_EQ(key("2001:db8:1:2:aaaa::1"), key("2001:db8:1:2:ffff:1:2:3"));
    EXPECT_EQ(key("2001:db8:1:2::5"), "2001:db8:1:2::/64");
    EXPECT_NE(key("2001:db8:1:2::1"), key("2001:db8:1:3::1"));
}

}  // namespace
