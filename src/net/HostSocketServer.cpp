#include "net/HostSocketServer.h"

#include <map>
#include <string>

#include <QHostAddress>
#include <QTcpServer>
#include <QTcpSocket>

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
    };

    Impl(TagValueAccess& t, SocketTrace& tr, SocketLimits l) : tags(t), trace(tr), limits(l) {
        QObject::connect(&listener, &QTcpServer::newConnection, &listener, [this] { AcceptPending(); });
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
        {
            clsWindowsSockets settings(jobSetupFolder);
            const VbResult<int32_t> port = settings.VoltarisMonitorPortNo();
            if (!port.Ok()) Report(port.Error);
            localPort = port.Value;
            addressText = settings.ListenAddress();
        }

        CloseConnections();
        listener.close();

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
        const std::string remoteIp = DottedIp(socket->peerAddress());
        Trace("Connection request id " + requestId + " from " + remoteIp);

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
        elements[number] = Element{socket, requestId, remoteIp};

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

        const Element& element = elements.at(number);
        const RequestOutcome outcome =
            HandleRequest(std::string_view(data.constData(), static_cast<size_t>(data.size())),
                          element.RemoteIp, element.Label, tags);
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
    }

    TagValueAccess& tags;
    SocketTrace& trace;
    SocketLimits limits;
    QTcpServer listener;
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
