#include "net/ClientAddressList.h"

#include <QString>

namespace {

// A single address is a subnet of its full length.
bool ParseEntry(const QString& entry, std::pair<QHostAddress, int>& subnet) {
    if (entry.contains('/')) {
        subnet = QHostAddress::parseSubnet(entry);
        return subnet.second >= 0 && !subnet.first.isNull();
    }
    QHostAddress address;
    if (!address.setAddress(entry)) return false;
    subnet = {address, address.protocol() == QAbstractSocket::IPv4Protocol ? 32 : 128};
    return true;
}

QHostAddress Plain(const QHostAddress& peer) {
    bool isV4 = false;
    const quint32 v4 = peer.toIPv4Address(&isV4);
    return isV4 ? QHostAddress(v4) : peer;
}

}  // namespace

ClientAddressList ClientAddressList::LoopbackOnly() {
    ClientAddressList list;
    list.subnets_ = {{QHostAddress(QStringLiteral("127.0.0.0")), 8}, {QHostAddress(QHostAddress::LocalHostIPv6), 128}};
    return list;
}

ClientAddressList ClientAddressList::Parse(std::string_view text, std::vector<std::string>& rejected) {
    ClientAddressList list;
    std::string entry;
    auto take = [&] {
        if (entry.empty()) return;
        std::pair<QHostAddress, int> subnet;
        if (entry == "*") {
            list.any_ = true;
        } else if (ParseEntry(QString::fromStdString(entry), subnet)) {
            list.subnets_.push_back(subnet);
        } else {
            rejected.push_back(entry);
        }
        entry.clear();
    };
    for (const char c : text) {
        if (c == ',' || c == ';' || c == ' ' || c == '\t') {
            take();
        } else {
            entry += c;
        }
    }
    take();
    return list;
}

bool ClientAddressList::Allows(const QHostAddress& peer) const {
    if (any_) return true;
    const QHostAddress address = Plain(peer);
    for (const auto& subnet : subnets_) {
        if (address.isInSubnet(subnet)) return true;
    }
    return false;
}

std::string ShareKey(const QHostAddress& peer) {
    const QHostAddress address = Plain(peer);
    if (address.protocol() == QAbstractSocket::IPv4Protocol) return address.toString().toStdString();
    Q_IPV6ADDR bytes = address.toIPv6Address();
    for (int i = 8; i < 16; ++i) bytes[i] = 0;
    return QHostAddress(bytes).toString().toStdString() + "/64";
}
