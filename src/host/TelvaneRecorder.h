#pragma once
// Cursor over the host's chart recorders: 1 to 5 on V4, recorder 1 on V5, none without a host.
#include <cstdint>
#include <string>

class Telvane;

class TelvaneRecorder {
public:
    explicit TelvaneRecorder(Telvane* host = nullptr) : host_(host) {}

    int32_t IndexMax() const;
    int32_t IndexMin() const { return 1; }
    int32_t Index() const { return index_; }
    void Index(int32_t value);
    // The host has at least as many recorders as the selected number.
    bool Enabled();
    std::string IndexReference() const;  // "R2"
    void IndexReference(const std::string& reference);

private:
    Telvane* host_ = nullptr;
    int32_t index_ = 0;
};
