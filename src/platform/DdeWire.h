#pragma once
// The wire of the DDE stand-in, shared by client and server: one local socket per application in
// <prefix>/run/dde, and a line protocol of tab-separated fields ("%", tab, CR and LF escaped as %XX).
//   client: INIT topic | REQ item | POKE item data | EXEC command | ADV item | UNADV item
//   server: OK data | ERR number message      (the answer to each client line, in order)
//           DATA item data                    (a pushed change of an advised item, at any time)
#include <string>
#include <string_view>
#include <vector>

#include "platform/VbError.h"

// Socket file of an application (names compare without regard to case).
std::string DdeSocketPath(std::string_view application);

std::string DdeEncodeLine(const std::vector<std::string>& fields);
std::vector<std::string> DdeDecodeLine(std::string_view line);

// Splits "application|topic" at the first "|"; no "|" gives an empty topic.
void DdeSplitTopic(std::string_view applicationAndTopic, std::string& application, std::string& topic);
bool DdeNamesEqual(std::string_view a, std::string_view b);

// Non-blocking local socket connected to the application's server, or -1 (no server).
int DdeConnect(std::string_view application);

// Accumulates bytes and hands out complete lines.
class DdeLineBuffer {
public:
    void Append(const char* data, size_t size) { pending_.append(data, size); }
    // Takes the next complete line (without its LF); false when none is complete.
    bool TakeLine(std::string& line);
    size_t Size() const { return pending_.size(); }

private:
    std::string pending_;
};

enum class DdeReadResult { Data, Nothing, Closed };
// Reads what is available from a non-blocking descriptor into buffer.
DdeReadResult DdeReadAvailable(int fd, DdeLineBuffer& buffer);
// Writes all of data, waiting for the socket to take it up to timeoutMs. False when the peer is gone or stuck.
bool DdeWriteAll(int fd, std::string_view data, int timeoutMs);
