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

// Bounds that keep a misbehaving client from hurting the monitor. The socket settings may replace
// the idle time and the per-address cap (net/clsWindowsSockets.h).
struct SocketLimits {
    // Open connections at once. A connection request beyond this closes another connection to make
    // room, so silent clients can never keep a new one out: one that never sent a whole request
    // goes before one that did, and of those the one silent longest.
    int MaxConnections = 100;
    // Open connections of one client address at once; beyond this a connection of that same
    // address makes room (chosen as above), so one address never crowds out the others.
    int MaxConnectionsPerAddress = 50;
    // A connection that has sent nothing for this long is closed (checked a few times a second,
    // at least once a second).
    int IdleMs = 120 * 1000;
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

    // (Re)starts the server: reads the port, the listen address, the connection limits and the
    // addresses allowed to set values from jobSetupFolder's "WinSockets.ini", closes every
    // connection, closes element 0 and listens again. Failures are reported to the main log as
    // "OpenHostSocket, Error n. description"; a port that cannot be opened leaves element 0 closed.
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
