#pragma once
// A list of client addresses, as the socket settings give it: entries separated by commas,
// semicolons or blanks, each an IPv4 or IPv6 address ("192.168.1.20"), a subnet with its prefix
// length ("10.0.0.0/24", "fd00::/8"), or "*" for every address. An IPv4 peer reached through an
// IPv6 socket counts as its IPv4 address.
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <QHostAddress>

class ClientAddressList {
public:
    // 127.0.0.0/8 and ::1: programs on this PC only.
    static ClientAddressList LoopbackOnly();
    // Entries that name no address are left out and returned in rejected, as written.
    static ClientAddressList Parse(std::string_view text, std::vector<std::string>& rejected);

    bool Allows(const QHostAddress& peer) const;

private:
    bool any_ = false;
    std::vector<std::pair<QHostAddress, int>> subnets_;
};

// What counts as one client address when connections are shared out: an IPv4 address, or the /64
// of an IPv6 one, since one IPv6 host has a whole /64 to itself.
std::string ShareKey(const QHostAddress& peer);
