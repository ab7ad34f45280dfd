#pragma once

#include "platform/CameraSettings.h"

#include <QObject>
#include <QString>

#include <functional>
#include <string>
#include <vector>

namespace Orvex {

class ModeElement;

// Carries a mode of the open document to the camera of a board and back. The camera is reached on a
// thread of its own, since each feature waits for the camera's answer; the outcome comes back on the
// GUI thread through one of the signals, and the task deletes itself after that. Connect with a
// receiver's context: the task outlives a window closed meanwhile.
class CameraModeTransfer : public QObject
{
    Q_OBJECT

public:
    using Features = BufferAcquisition::CameraSettings::Features;
    using Outcomes = std::vector<BufferAcquisition::FeatureOutcome>;

    // The mode's features that hold a value, by name, in the mode's order: one value per feature, the
    // first instance's, as the camera file writes it.
    static Features modeFeatures(const ModeElement* a_mode);
    // Gives every feature of a_mode named in a_values that value, as one undoable step named
    // a_description; values a feature cannot hold are left out. The names of the features changed.
    static QStringList fillMode(ModeElement* a_mode, const Features& a_values, const QString& a_description);
    // The report of an apply: a table of feature, value asked for, outcome and detail, in rich text.
    static QString reportText(const Outcomes& a_outcomes);

    // Writes a_features to the camera of a_handle; appliedToCamera() carries the outcomes. Connect,
    // then call start().
    static CameraModeTransfer* applying(HwBrdHandle a_handle, const Features& a_features);
    // Reads the camera's values of a_features; readFromCamera() carries them.
    static CameraModeTransfer* reading(HwBrdHandle a_handle, const std::vector<std::string>& a_features);

    void start();

signals:
    void appliedToCamera(const Outcomes& a_outcomes);
    void readFromCamera(const Features& a_values);
    void failed(const QString& a_message);

private:
    explicit CameraModeTransfer(std::function<void(CameraModeTransfer*)> a_work);

    std::function<void(CameraModeTransfer*)> m_work;
    bool m_applying = false;
    Outcomes m_outcomes;
    Features m_values;
    QString m_failure;
};

} // namespace Orvex
