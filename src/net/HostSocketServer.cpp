#include "net/HostSocketServer.h"

#include <algorithm>
#include <chrono>
#include <map>
#include <string>

#include <QHostAddress>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

#include "net/ClientAddressList.h"
#include "net/SocketProtocol.h"
#include "net/clsWindowsSockets.h"
#include "support/Log.h"

namespace {

// The numbers the platform's socket control gave these failures.
int SocketErrorNumber(QAbstractSocket::SocketError error) {
    switch (error) {
    case QAbstractSocket::SocketAccessError: return 10013;               // permission denied
    case QAbstractSocket::AddressInUseError: return 10048;               // address in use
    case QAbstractSocket::SocketAddressNotAvailableError: return 10049;  // address not available
    case QAbstractSocket::SocketResourceError: return 10055;             // no buffer space
    case QAbstractSocket::UnsupportedSocketOperationError: return 10045; // operation not supported
    default: return 10022;                                               // invalid argument
    }
}

constexpr int ErrInvalidPropertyValue = 380;

using SteadyClock = std::chrono::steady_clock;

// Dotted text; an IPv4 peer reached through an IPv6 socket is shown as plain IPv4.
std::string DottedIp(const QHostAddress& address) {
    bool isV4 = false;
    const quint32 v4 = address.toIPv4Address(&isV4);
    const QString text = isV4 ? QHostAddress(v4).toString() : address.toString();
    return text.toStdString();
}

}  // namespace

struct HostSocketServer::Impl {
    struct Element {
        QTcpSocket* Socket = nullptr;
        std::string Label;     // the request identifier of the connection request
        std::string RemoteIp;  // kept, since a closed socket forgets its peer
        std::string Share;     // the client address as the per-address share counts it
        bool MaySet = false;   // the peer is on the list of addresses allowed to set values
        bool Understood = false;  // it has sent a read or a set, not only fragments
        SteadyClock::time_point LastHeard;  // connected, or last data received
    };

    Impl(TagValueAccess& t, SocketTrace& tr, SocketLimits l)
        : tags(t), trace(tr), defaults(l), limits(l), setters(ClientAddressList::LoopbackOnly()) {
        QObject::connect(&listener, &QTcpServer::newConnection, &listener, [this] { AcceptPending(); });
        QObject::connect(&idleSweep, &QTimer::timeout, &listener, [this] { CloseIdle(); });
    }

    // Quietly: the socket log window may already be gone.
    ~Impl() { CloseAll(/*traced=*/false); }

    void Trace(const std::string& text) {
        if (trace.Tracing()) trace.AddLog(text);
    }

    void Report(const VbError& error) {
        LastErrorText = "OpenHostSocket, Error " + std::to_string(error.Number) + ". " + error.Description;
        AddToLog(LastErrorText);
    }

    void Open(std::string_view jobSetupFolder) {
        std::string addressText;
        std::string settersText;
        limits = defaults;
        {
            clsWindowsSockets settings(jobSetupFolder);
            const VbResult<int32_t> port = settings.VoltarisMonitorPortNo();
            if (!port.Ok()) Report(port.Error);
            localPort = port.Value;
            addressText = settings.ListenAddress();
            if (const auto seconds = settings.IdleSeconds()) limits.IdleMs = *seconds * 1000;
            if (const auto perAddress = settings.MaxConnectionsPerAddress()) limits.MaxConnectionsPerAddress = *perAddress;
            settersText = settings.SetsAllowedFrom();
        }
        limits.MaxConnectionsPerAddress = std::clamp(limits.MaxConnectionsPerAddress, 1, limits.MaxConnections);

        std::vector<std::string> rejected;
        setters = settersText.empty() ? ClientAddressList::LoopbackOnly() : ClientAddressList::Parse(settersText, rejected);
        // A bad entry allows nobody: the others still count.
        for (const std::string& entry : rejected) Report(VbError(ErrInvalidCall, "Invalid address in SetsAllowedFrom " + entry));

        CloseConnections();
        listener.close();
        idleSweep.stop();

        QHostAddress address(QHostAddress::LocalHost);
        if (addressText == "*") {
            address = QHostAddress(QHostAddress::Any);
        } else if (!addressText.empty() && !address.setAddress(QString::fromStdString(addressText))) {
            // Stay reachable from this PC rather than not at all.
            Report(VbError(ErrInvalidCall, "Invalid listen address " + addressText));
            address = QHostAddress(QHostAddress::LocalHost);
        }

        if (localPort > 65535) {
            Report(VbError(ErrInvalidPropertyValue, "Invalid property value"));
        } else if (!listener.listen(address, static_cast<quint16>(localPort))) {
            Report(VbError(SocketErrorNumber(listener.serverError()), listener.errorString().toStdString()));
        }

        if (listener.isListening()) {
            idleSweep.start(std::clamp(limits.IdleMs / 8, 10, 1000));
            Trace("Listening to port: " + std::to_string(localPort));
        } else {
            Trace("Error Opening port: " + std::to_string(localPort));
        }
    }

    void AcceptPending() {
        while (QTcpSocket* socket = listener.nextPendingConnection()) {
            try {
                ConnectionRequest(socket);
            } catch (...) {
                // An element that cannot be created leaves that connection unserved.
                socket->abort();
                socket->deleteLater();
            }
        }
    }

    void ConnectionRequest(QTcpSocket* socket) {
        const std::string requestId = std::to_string(socket->socketDescriptor());
        const QHostAddress peer = socket->peerAddress();
        const std::string remoteIp = DottedIp(peer);
        Trace("Connection request id " + requestId + " from " + remoteIp);

        // Room is made by closing a connection of this address when it holds its share, else of any
        // address when the server is full: one that never sent a whole request before one that
        // did, and of those the one silent longest.
        const std::string share = ShareKey(peer);
        const auto sameAddress = [&share](const Element& e) { return e.Share == share; };
        const auto anyAddress = [](const Element&) { return true; };
        const auto ofThisAddress = std::count_if(elements.begin(), elements.end(),
                                                 [&](const auto& entry) { return sameAddress(entry.second); });
        if (ofThisAddress >= limits.MaxConnectionsPerAddress) {
            CloseLeastUseful(sameAddress);
        } else if (static_cast<int>(elements.size()) >= limits.MaxConnections) {
            CloseLeastUseful(anyAddress);
        }
        if (static_cast<int>(elements.size()) >= limits.MaxConnections) {
            socket->abort();
            socket->deleteLater();
            return;
        }

        // The lowest free number, so each live connection has an element of its own.
        int number = 1;
        for (const auto& [used, element] : elements) {
            if (used != number) break;
            ++number;
        }
        elements[number] = Element{socket, requestId, remoteIp, share, setters.Allows(peer), false, SteadyClock::now()};

        // Qt buffers no more than one request's worth; the rest waits in the kernel.
        socket->setReadBufferSize(limits.MaxRequestBytes + 1);
        QObject::connect(socket, &QTcpSocket::readyRead, socket, [this, number, socket] {
            try {
                DataArrival(number, socket);
            } catch (...) {
                // That request goes unanswered; the others are still served.
            }
        });
        QObject::connect(socket, &QTcpSocket::disconnected, socket, [this, number, socket] {
            if (Owns(number, socket)) CloseElement(number);
        });
        QObject::connect(socket, &QAbstractSocket::errorOccurred, socket, [this, number, socket] {
            if (Owns(number, socket) && socket->state() == QAbstractSocket::UnconnectedState) {
                CloseElement(number);
            }
        });
    }

    template <typename Pred>
    void CloseLeastUseful(Pred pred) {
        int victim = 0;
        std::pair<bool, SteadyClock::time_point> rank{true, SteadyClock::time_point::max()};
        for (const auto& [number, element] : elements) {
            const std::pair<bool, SteadyClock::time_point> own{element.Understood, element.LastHeard};
            if (pred(element) && (victim == 0 || own < rank)) {
                victim = number;
                rank = own;
            }
        }
        if (victim != 0) CloseElement(victim, /*abort=*/true);
    }

    void CloseIdle() {
        const auto now = SteadyClock::now();
        const auto idle = std::chrono::milliseconds(limits.IdleMs);
        std::vector<int> silent;
        for (const auto& [number, element] : elements) {
            if (now - element.LastHeard >= idle) silent.push_back(number);
        }
        for (const int number : silent) CloseElement(number, /*abort=*/true);
    }

    bool Owns(int number, const QTcpSocket* socket) const {
        const auto it = elements.find(number);
        return it != elements.end() && it->second.Socket == socket;
    }

    void DataArrival(int number, QTcpSocket* socket) {
        if (!Owns(number, socket)) return;
        const QByteArray data = socket->readAll();
        if (data.isEmpty()) return;
        if (data.size() > limits.MaxRequestBytes) {
            CloseElement(number, /*abort=*/true);
            return;
        }

        Element& element = elements.at(number);
        element.LastHeard = SteadyClock::now();
        const RequestOutcome outcome =
            HandleRequest(std::string_view(data.constData(), static_cast<size_t>(data.size())),
                          element.RemoteIp, element.Label, tags, element.MaySet);
        element.Understood = element.Understood || outcome.Understood;
        if (trace.Tracing()) {
            for (const std::string& line : outcome.Trace) trace.AddLog(line);
        }
        if (!outcome.Reply) return;

        // A peer that has gone, or that does not read its replies, loses this reply only.
        if (socket->state() != QAbstractSocket::ConnectedState) return;
        if (socket->bytesToWrite() + static_cast<qint64>(outcome.Reply->size()) > limits.MaxPendingReplyBytes) return;
        socket->write(outcome.Reply->data(), static_cast<qint64>(outcome.Reply->size()));
    }

    void CloseElement(int number, bool abort = false, bool traced = true) {
        const auto it = elements.find(number);
        if (it == elements.end()) return;
        const Element element = it->second;
        elements.erase(it);  // first, so the socket's own close signals find nothing to do
        if (traced) Trace("Connection " + element.Label + " closed: " + element.RemoteIp);
        if (abort) {
            element.Socket->abort();
        } else {
            element.Socket->close();
        }
        element.Socket->deleteLater();
    }

    // Highest element first, each as its close event would.
    void CloseConnections(bool traced = true) {
        while (!elements.empty()) CloseElement(elements.rbegin()->first, /*abort=*/false, traced);
    }

    void CloseAll(bool traced) {
        CloseConnections(traced);
        listener.close();
        idleSweep.stop();
    }

    TagValueAccess& tags;
    SocketTrace& trace;
    const SocketLimits defaults;  // what the settings do not replace
    SocketLimits limits;          // in force since the last Open
    ClientAddressList setters;
    QTcpServer listener;
    QTimer idleSweep;
    int32_t localPort = 0;
    std::map<int, Element> elements;  // sckHost 1 ...
};

HostSocketServer::HostSocketServer(TagValueAccess& tags, SocketTrace& trace, SocketLimits limits)
    : impl_(std::make_unique<Impl>(tags, trace, limits)) {}

HostSocketServer::~HostSocketServer() = default;

void HostSocketServer::OpenHostSocket(std::string_view jobSetupFolder) {
    try {
        impl_->Open(jobSetupFolder);
    } catch (const std::bad_alloc&) {
        impl_->Report(VbError(ErrOutOfMemory));
    }
}

void HostSocketServer::CloseHostSocket() { impl_->CloseAll(/*traced=*/false); }

int32_t HostSocketServer::LocalPort() const { return impl_->localPort; }

bool HostSocketServer::IsListening() const { return impl_->listener.isListening(); }

std::vector<int> HostSocketServer::ConnectionElements() const {
    std::vector<int> numbers;
    for (const auto& [number, element] : impl_->elements) numbers.push_back(number);
    return numbers;
}
