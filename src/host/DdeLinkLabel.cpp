#include "host/DdeLinkLabel.h"

#include "platform/Dde.h"

VbError DdeLinkLabel::OpenManual(const std::string& topic, const std::string& item) {
    if (link_.Topic() != topic) link_.SetTopic(topic);
    if (VbError e = link_.SetItem(item)) return e;
    if (link_.Mode() != DdeLinkMode::Manual) return link_.SetMode(DdeLinkMode::Manual);
    return {};
}

VbError DdeLinkLabel::Poke(const std::string& topic, const std::string& item, const std::string& data) {
    link_.SetText(data);
    if (VbError e = OpenManual(topic, item)) return e;
    return link_.Poke();
}

VbResult<std::string> DdeLinkLabel::Request(const std::string& topic, const std::string& item) {
    VbResult<std::string> result;
    result.Error = OpenManual(topic, item);
    if (!result.Error) result.Error = link_.Request();
    result.Value = link_.Text();
    return result;
}

VbError DdeLinkLabel::Execute(const std::string& topic, const std::string& command) {
    if (link_.Topic() != topic || link_.Mode() != DdeLinkMode::Manual) {
        link_.SetTopic(topic);
        if (VbError e = link_.SetMode(DdeLinkMode::Manual)) return e;
    }
    return link_.Execute(command);
}
