#pragma once
// Serves the host's configuration listings of mimics, which the monitor does not use; the host
// object creates it and it holds nothing.
class Telvane;

class TelvaneMimic {
public:
    explicit TelvaneMimic(Telvane* host = nullptr) : host_(host) {}
    Telvane* Host() const { return host_; }

private:
    Telvane* host_ = nullptr;
};
