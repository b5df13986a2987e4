#pragma once
// A HostDdeLabel over the platform's DDE client link (the main window's hidden label).
#include "host/HostDdeLabel.h"

class DdeLink;

class DdeLinkLabel : public HostDdeLabel {
public:
    explicit DdeLinkLabel(DdeLink& link) : link_(link) {}
    VbError Poke(const std::string& topic, const std::string& item, const std::string& data) override;
    VbResult<std::string> Request(const std::string& topic, const std::string& item) override;
    VbError Execute(const std::string& topic, const std::string& command) override;

private:
    VbError OpenManual(const std::string& topic, const std::string& item);
    DdeLink& link_;
};
