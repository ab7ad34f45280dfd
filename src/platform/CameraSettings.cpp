#include "platform/CameraSettings.h"

#include "platform/QNExceptionBase.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <map>
#include <mutex>

namespace BufferAcquisition {

namespace {

constexpr const char* NamesFile = "CameraFeatureNames.json";
// Features that others depend on come first; the rest follow in the mode's order.
constexpr const char* Precedence[] = {"PixelFormat",
                                      "BinningHorizontal",
                                      "BinningVertical",
                                      "DecimationHorizontal",
                                      "DecimationVertical",
                                      "Width",
                                      "Height",
                                      "OffsetX",
                                      "OffsetY",
                                      "TriggerSelector",
                                      "TriggerSource",
                                      "TriggerActivation",
                                      "TriggerMode",
                                      "ExposureMode",
                                      "ExposureAuto",
                                      "ExposureTime",
                                      "GainAuto",
                                      "Gain",
                                      "BlackLevel",
                                      "AcquisitionFrameRateEnable",
                                      "AcquisitionFrameRate"};
// A value clamped or refused because of another feature's old value gets more tries once the others
// are in: an offset that only fits the new width, a width that only fits the new offset.
constexpr int Passes = 3;

struct NameTable
{
    std::mutex m_mutex;
    std::map<std::string, std::vector<std::string>> m_names;
};

NameTable& table()
{
    static NameTable s_table;
    return s_table;
}

std::size_t precedenceOf(const std::string& a_cameraName)
{
    const auto it = std::find(std::begin(Precedence), std::end(Precedence), a_cameraName);
    return static_cast<std::size_t>(it - std::begin(Precedence));
}

std::string cameraNameOf(HwBrdHandle a_handle, const std::string& a_feature)
{
    char value[QNStringBufferSize];
    for (const std::string& name : CameraSettings::candidateNames(a_feature)) {
        const int status = QNCamGetFeature(a_handle, name.c_str(), value);
        if (status == QNStatusNotFound)
            continue;
        if (status == QNStatusBadHandle || status == QNStatusCameraLost)
            QNExceptionBase::throwOnFailure(status, "QNCamGetFeature");
        return name;
    }
    return {};
}

} // namespace

void CameraSettings::setConfigDir(const std::string& a_configDir)
{
    std::map<std::string, std::vector<std::string>> names;
    QFile file(QFile::decodeName(a_configDir.c_str()) + QStringLiteral("/") + QLatin1String(NamesFile));
    if (!a_configDir.empty() && file.open(QIODevice::ReadOnly)) {
        QJsonParseError error;
        const QJsonDocument document = QJsonDocument::fromJson(file.readAll(), &error);
        const std::string path = QFile::encodeName(file.fileName()).toStdString();
        if (!document.isObject())
            throw QNExceptionBase(path + ": " + error.errorString().toStdString(), QNStatusBadArgument);
        const QJsonObject object = document.object();
        for (auto it = object.begin(); it != object.end(); ++it) {
            std::vector<std::string>& list = names[it.key().toStdString()];
            for (const QJsonValue& name : it.value().toArray()) {
                if (!name.isString() || name.toString().isEmpty())
                    throw QNExceptionBase(path + ": the names of \"" + it.key().toStdString() +
                                              "\" must be a list of texts",
                                          QNStatusBadArgument);
                list.push_back(name.toString().toStdString());
            }
            if (list.empty())
                throw QNExceptionBase(path + ": \"" + it.key().toStdString() + "\" lists no names",
                                      QNStatusBadArgument);
        }
    }
    std::lock_guard<std::mutex> lock(table().m_mutex);
    table().m_names = std::move(names);
}

std::vector<std::string> CameraSettings::candidateNames(const std::string& a_feature)
{
    std::lock_guard<std::mutex> lock(table().m_mutex);
    const auto it = table().m_names.find(a_feature);
    return it == table().m_names.end() ? std::vector<std::string>{a_feature} : it->second;
}

std::vector<FeatureOutcome> CameraSettings::apply(HwBrdHandle a_handle, const Features& a_features)
{
    std::vector<FeatureOutcome> outcomes(a_features.size());
    std::vector<std::size_t> order;
    for (std::size_t i = 0; i < a_features.size(); ++i) {
        outcomes[i].m_feature = a_features[i].first;
        outcomes[i].m_requested = a_features[i].second;
        outcomes[i].m_cameraName = cameraNameOf(a_handle, a_features[i].first);
        if (!outcomes[i].m_cameraName.empty())
            order.push_back(i);
    }
    std::stable_sort(order.begin(), order.end(), [&](std::size_t a_left, std::size_t a_right) {
        return precedenceOf(outcomes[a_left].m_cameraName) < precedenceOf(outcomes[a_right].m_cameraName);
    });

    char result[QNStringBufferSize];
    for (int pass = 0; pass < Passes && !order.empty(); ++pass) {
        bool changed = false;
        std::vector<std::size_t> retry;
        for (const std::size_t index : order) {
            FeatureOutcome& outcome = outcomes[index];
            result[0] = '\0';
            const int status =
                QNCamSetFeature(a_handle, outcome.m_cameraName.c_str(), outcome.m_requested.c_str(), result);
            FeatureOutcome::Kind kind = FeatureOutcome::Kind::Applied;
            switch (status) {
            case QNStatusOk:
                break;
            case QNStatusClamped:
                kind = FeatureOutcome::Kind::Clamped;
                break;
            case QNStatusRefused:
                kind = FeatureOutcome::Kind::Refused;
                break;
            case QNStatusNotFound:
                kind = FeatureOutcome::Kind::Missing;
                break;
            default:
                QNExceptionBase::throwOnFailure(status, "QNCamSetFeature");
            }
            changed = changed || pass == 0 || kind != outcome.m_kind || result != outcome.m_detail;
            outcome.m_kind = kind;
            outcome.m_detail = kind == FeatureOutcome::Kind::Missing ? std::string() : std::string(result);
            if (kind == FeatureOutcome::Kind::Clamped || kind == FeatureOutcome::Kind::Refused)
                retry.push_back(index);
        }
        if (!changed)
            break;
        order = std::move(retry);
    }
    return outcomes;
}

CameraSettings::Features CameraSettings::read(HwBrdHandle a_handle,
                                              const std::vector<std::string>& a_features)
{
    Features values;
    char value[QNStringBufferSize];
    for (const std::string& feature : a_features) {
        const std::string name = cameraNameOf(a_handle, feature);
        if (name.empty())
            continue;
        const int status = QNCamGetFeature(a_handle, name.c_str(), value);
        if (status == QNStatusOk)
            values.emplace_back(feature, value);
        else if (status == QNStatusBadHandle || status == QNStatusCameraLost)
            QNExceptionBase::throwOnFailure(status, "QNCamGetFeature");
    }
    return values;
}

} // namespace BufferAcquisition
