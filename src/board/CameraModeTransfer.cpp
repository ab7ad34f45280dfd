#include "board/CameraModeTransfer.h"

#include "elements/CategoryElementBase.h"
#include "elements/ModeCategoryElementBase.h"
#include "elements/ModeElement.h"
#include "elements/UndoRedoStack.h"
#include "elements/ValueFeatureElementBase.h"
#include "elements/WindowElement.h"
#include "platform/QNExceptionBase.h"

#include <QThread>

#include <exception>

namespace Orvex {

namespace {

using BufferAcquisition::FeatureOutcome;

QString outcomeText(FeatureOutcome::Kind a_kind)
{
    switch (a_kind) {
    case FeatureOutcome::Kind::Applied:
        return QStringLiteral("applied");
    case FeatureOutcome::Kind::Clamped:
        return QStringLiteral("clamped");
    case FeatureOutcome::Kind::Refused:
        return QStringLiteral("rejected");
    case FeatureOutcome::Kind::Missing:
        break;
    }
    return QStringLiteral("not in the camera");
}

QVector<ValueFeatureElementBase*> valueFeatures(const ModeElement* a_mode)
{
    QVector<ValueFeatureElementBase*> features;
    for (const ModeCategoryElementBase* category : a_mode->categories()) {
        for (FeatureElementBase* feature : category->features()) {
            if (auto* value = qobject_cast<ValueFeatureElementBase*>(feature))
                features.append(value);
        }
    }
    return features;
}

} // namespace

CameraModeTransfer::CameraModeTransfer(std::function<void(CameraModeTransfer*)> a_work)
    : m_work(std::move(a_work))
{
}

CameraModeTransfer::Features CameraModeTransfer::modeFeatures(const ModeElement* a_mode)
{
    Features features;
    for (const ValueFeatureElementBase* feature : valueFeatures(a_mode)) {
        if (feature->instanceCount() > 0 && !feature->isAttribute())
            features.emplace_back(feature->name().toStdString(),
                                  feature->valueText(0).trimmed().toStdString());
    }
    return features;
}

QStringList CameraModeTransfer::fillMode(ModeElement* a_mode, const Features& a_values,
                                         const QString& a_description)
{
    WindowElement* window = a_mode->windowElement();
    UndoRedoStack* stack = window ? window->undoRedoStack() : nullptr;
    if (stack)
        stack->openBatch(a_description);
    QStringList changed;
    const QVector<ValueFeatureElementBase*> features = valueFeatures(a_mode);
    for (const auto& value : a_values) {
        const QString name = QString::fromStdString(value.first);
        for (ValueFeatureElementBase* feature : features) {
            if (feature->name() != name || feature->instanceCount() == 0 || feature->isAttribute())
                continue;
            bool ok = false;
            const QVariant converted = feature->valueFromText(QString::fromStdString(value.second), &ok);
            if (!ok || converted == feature->value(0))
                break;
            feature->userSetValue(0, converted);
            changed << name;
            break;
        }
    }
    if (stack)
        stack->closeBatch();
    return changed;
}

QString CameraModeTransfer::reportText(const Outcomes& a_outcomes)
{
    QString rows;
    for (const FeatureOutcome& outcome : a_outcomes) {
        QString feature = QString::fromStdString(outcome.m_feature).toHtmlEscaped();
        if (!outcome.m_cameraName.empty() && outcome.m_cameraName != outcome.m_feature)
            feature +=
                QStringLiteral(" (%1)").arg(QString::fromStdString(outcome.m_cameraName).toHtmlEscaped());
        rows +=
            QStringLiteral("<tr><td>%1</td><td>%2</td><td>%3</td><td>%4</td></tr>")
                .arg(feature, QString::fromStdString(outcome.m_requested).toHtmlEscaped(),
                     outcomeText(outcome.m_kind), QString::fromStdString(outcome.m_detail).toHtmlEscaped());
    }
    return QStringLiteral(
               "<table cellspacing=\"0\" cellpadding=\"3\" border=\"1\"><tr><th>Feature</th><th>Value</th>"
               "<th>Outcome</th><th>Camera</th></tr>%1</table>")
        .arg(rows);
}

CameraModeTransfer* CameraModeTransfer::applying(HwBrdHandle a_handle, const Features& a_features)
{
    auto* transfer = new CameraModeTransfer([a_handle, a_features](CameraModeTransfer* a_transfer) {
        a_transfer->m_outcomes = BufferAcquisition::CameraSettings::apply(a_handle, a_features);
    });
    transfer->m_applying = true;
    return transfer;
}

CameraModeTransfer* CameraModeTransfer::reading(HwBrdHandle a_handle,
                                                const std::vector<std::string>& a_features)
{
    return new CameraModeTransfer([a_handle, a_features](CameraModeTransfer* a_transfer) {
        a_transfer->m_values = BufferAcquisition::CameraSettings::read(a_handle, a_features);
    });
}

void CameraModeTransfer::start()
{
    // The thread alone touches the results until it has finished; the signals go out after that.
    QThread* thread = QThread::create([this] {
        try {
            m_work(this);
        } catch (const QNExceptionBase& a_error) {
            m_failure = QString::fromStdString(a_error.what());
        } catch (const std::exception& a_error) {
            m_failure = QString::fromUtf8(a_error.what());
        }
    });
    connect(thread, &QThread::finished, thread, &QObject::deleteLater);
    connect(thread, &QThread::finished, this, [this] {
        if (!m_failure.isEmpty())
            emit failed(m_failure);
        else if (m_applying)
            emit appliedToCamera(m_outcomes);
        else
            emit readFromCamera(m_values);
        deleteLater();
    });
    thread->start();
}

} // namespace Orvex
