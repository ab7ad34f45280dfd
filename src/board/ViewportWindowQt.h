#pragma once

#include "board/ViewportImperativeAcquisitionInterface.h"

#include <QImage>
#include <QPointer>
#include <QWidget>

class QAbstractButton;
class QComboBox;
class QLabel;
class QPushButton;
class QScrollArea;
class QSpinBox;
class QTimer;
class QToolButton;

namespace Viewport {

class ImageView;

// The viewer's window: the latest frame of an acquisition, the buttons that drive it (only those it
// supports, enabled as its state allows) and its counters. It does not own the acquisition; when the
// acquisition goes away the window stays, inert.
class WindowQt : public QWidget
{
    Q_OBJECT

public:
    static constexpr int CounterIntervalMs = 250;
    static constexpr int DisplayIntervalMs = 30;

    explicit WindowQt(ImperativeAcquisitionInterface* a_acquisition, QWidget* a_parent = nullptr);
    ~WindowQt() override;

    ImperativeAcquisitionInterface* acquisition() const { return m_acquisition; }
    QImage displayedImage() const;
    bool fitToWindow() const;

    // The window keeps its geometry in the settings store under this key when it closes.
    static QString geometrySettingsKey();
    void restoreSavedGeometry();
    void saveGeometryToSettings() const;

public slots:
    void setFitToWindow(bool a_fit);
    // Buttons and counters as the acquisition stands now.
    void refresh();

protected:
    void closeEvent(QCloseEvent* a_event) override;

private:
    void userSetup();
    void userCleanup();
    void userTrigger();
    void userStart();
    void userStartFixed();
    void userPause();
    void userStop();

    void buildControls();
    void connectAcquisition();
    void reloadSetupModes();
    void scheduleDisplay();
    void showLatestFrame();
    void report(bool a_succeeded, const QString& a_operation);
    QPushButton* addButton(const QString& a_text, const QString& a_objectName,
                           ImperativeAcquisitionInterface::Operation a_operation, void (WindowQt::*a_slot)());

    QPointer<ImperativeAcquisitionInterface> m_acquisition;
    QPointer<QComboBox> m_modeCombo;
    QPointer<QPushButton> m_setupButton;
    QPointer<QPushButton> m_cleanupButton;
    QPointer<QPushButton> m_triggerButton;
    QPointer<QPushButton> m_startButton;
    QPointer<QPushButton> m_startFixedButton;
    QPointer<QSpinBox> m_fixedCount;
    QPointer<QPushButton> m_pauseButton;
    QPointer<QPushButton> m_stopButton;
    QPointer<QToolButton> m_fitButton;
    QPointer<QToolButton> m_actualSizeButton;
    QPointer<QScrollArea> m_scrollArea;
    QPointer<ImageView> m_view;
    QPointer<QLabel> m_frameRateLabel;
    QPointer<QLabel> m_queuedLabel;
    QPointer<QLabel> m_droppedLabel;
    QPointer<QLabel> m_deliveredLabel;
    QPointer<QLabel> m_failedLabel;
    QPointer<QLabel> m_statusLabel;
    QPointer<QTimer> m_counterTimer;
    QPointer<QTimer> m_displayTimer;
    quint64 m_shownSerial = 0;
    QString m_shownInterruption;
};

} // namespace Viewport
