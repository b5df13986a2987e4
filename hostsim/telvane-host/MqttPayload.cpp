#include "MqttPayload.h"

#include <QByteArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>

#include <cmath>

#include "DevicePoints.h"
#include "ScenarioText.h"

MqttPayload::MqttPayload(std::string_view payload, bool json) : text_(payload) {
    if (!json || payload.size() > MqttMaxPayload) return;
    QJsonParseError parseError{};
    QJsonDocument doc = QJsonDocument::fromJson(QByteArray::fromRawData(payload.data(), static_cast<qsizetype>(payload.size())),
                                                &parseError);
    isObject_ = parseError.error == QJsonParseError::NoError && doc.isObject();
    if (isObject_) object_ = doc.object();
}

// Refused here rather than when the loop stores it: the message counts as refused and is logged,
// and the point keeps its last good value.
bool MqttPayload::Value(const std::string& field, double& value, std::string& fault) const {
    if (!Number(field, value, fault)) return false;
    if (FitsReading(value)) return true;
    fault = "out of range";
    return false;
}

bool MqttPayload::Number(const std::string& field, double& value, std::string& fault) const {
    if (text_.size() > MqttMaxPayload) {
        fault = "payload too long";
        return false;
    }
    if (field.empty()) {
        if (ParseNumber(text_, value)) return true;
        fault = "not a number";
        return false;
    }
    if (!isObject_) {
        fault = "not a JSON object";
        return false;
    }
    QJsonValue at = object_;
    size_t start = 0;
    while (true) {
        const size_t dot = field.find('.', start);
        const size_t end = dot == std::string::npos ? field.size() : dot;
        const QJsonObject object = at.toObject();
        const auto found = object.constFind(QString::fromUtf8(field.data() + start, static_cast<qsizetype>(end - start)));
        if (!at.isObject() || found == object.constEnd()) {
            fault = "no field " + field;
            return false;
        }
        at = found.value();
        if (dot == std::string::npos) break;
        start = dot + 1;
    }
    if (at.isDouble()) {
        value = at.toDouble();
        if (std::isfinite(value)) return true;
    } else if (at.isBool()) {
        value = at.toBool() ? 1 : 0;
        return true;
    } else if (at.isString() && ParseNumber(at.toString().toStdString(), value)) {
        return true;
    }
    fault = "field " + field + " is not a number";
    return false;
}

bool PayloadValue(std::string_view payload, const std::string& field, double& value, std::string& fault) {
    return MqttPayload(payload, !field.empty()).Value(field, value, fault);
}
