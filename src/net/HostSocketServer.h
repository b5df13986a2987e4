#pragma once
// The monitor's TCP request server (sckHost): element 0 listens on the port of WinSockets.ini, each
// accepted connection gets an element of its own, and every piece of data that arrives on a
// connection is one request (net/SocketProtocol.h). Everything runs on the Qt event loop of the one
// thread; nothing here blocks, so requests are served whenever the monitor lets events run,
// including between the steps of a scan.
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "net/SocketTrace.h"
#include "net/TagValueAccess.h"

// Bounds that keep a misbehaving client from hurting the monitor.
struct SocketLimits {
    // Open connections at once; a connection request beyond this is closed at once, unserved.
    int MaxConnections = 100;
    // Bytes taken as one request. A longer piece is no request of this protocol: the connection
    // that sent it is closed.
    int MaxRequestBytes = 4096;
    // Unsent reply bytes a connection may hold; a reply beyond this (a client that sends but never
    // reads) is dropped.
    int MaxPendingReplyBytes = 65536;
};

class HostSocketServer {
public:
    HostSocketServer(TagValueAccess& tags, SocketTrace& trace, SocketLimits limits = {});
    ~HostSocketServer();
    HostSocketServer(const HostSocketServer&) = delete;
    HostSocketServer& operator=(const HostSocketServer&) = delete;

    // (Re)starts the server: reads the port (and listen address) from jobSetupFolder's
    // "WinSockets.ini", closes every connection, closes element 0 and listens again. Failures are
    // reported to the main log as "OpenHostSocket, Error n. description" and leave element 0 closed.
    void OpenHostSocket(std::string_view jobSetupFolder);

    // Closes every connection and element 0 without tracing (at shutdown).
    void CloseHostSocket();

    // For the About box: element 0's local port and whether it is listening.
    int32_t LocalPort() const;
    bool IsListening() const;

    // Element numbers of the live connections, ascending.
    std::vector<int> ConnectionElements() const;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};
