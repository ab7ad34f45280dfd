#include "board/ViewportWindowQt.h"

#include "board/ViewportFrameConverter.h"
#include "board/ViewportImageView.h"

#include <QButtonGroup>
#include <QCloseEvent>
#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QSettings>
#include <QSpinBox>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>

namespace Viewport {

namespace {

using Op = ImperativeAcquisitionInterface;

} // namespace

WindowQt::WindowQt(ImperativeAcquisitionInterface* a_acquisition, QWidget* a_parent)
    : QWidget(a_parent), m_acquisition(a_acquisition)
{
    setObjectName(QStringLiteral("viewportWindow"));
    setWindowFlag(Qt::Window);
    setWindowTitle(tr("Acquisition Preview"));
    buildControls();

    m_counterTimer = new QTimer(this);
    m_counterTimer->setInterval(CounterIntervalMs);
    connect(m_counterTimer, &QTimer::timeout, this, &WindowQt::refresh);
    m_counterTimer->start();

    // Frames can come faster than the screen shows them; one conversion per interval is enough.
    m_displayTimer = new QTimer(this);
    m_displayTimer->setSingleShot(true);
    m_displayTimer->setInterval(DisplayIntervalMs);
    connect(m_displayTimer, &QTimer::timeout, this, &WindowQt::showLatestFrame);

    connectAcquisition();
    reloadSetupModes();
    showLatestFrame();
    refresh();
}

WindowQt::~WindowQt()
{
    // An acquisition that is a child of this window dies while the widgets go; it must not call back.
    if (m_acquisition)
        disconnect(m_acquisition, nullptr, this, nullptr);
}

QImage WindowQt::displayedImage() const
{
    return m_view->image();
}

bool WindowQt::fitToWindow() const
{
    return m_view->fitToWindow();
}

QString WindowQt::geometrySettingsKey()
{
    return QStringLiteral("preview_window/geometry");
}

void WindowQt::restoreSavedGeometry()
{
    const QByteArray geometry = QSettings().value(geometrySettingsKey()).toByteArray();
    if (geometry.isEmpty() || !restoreGeometry(geometry))
        resize(800, 640);
}

void WindowQt::saveGeometryToSettings() const
{
    QSettings().setValue(geometrySettingsKey(), saveGeometry());
}

void WindowQt::setFitToWindow(bool a_fit)
{
    m_scrollArea->setWidgetResizable(a_fit);
    m_view->setFitToWindow(a_fit);
    m_fitButton->setChecked(a_fit);
    m_actualSizeButton->setChecked(!a_fit);
}

void WindowQt::refresh()
{
    ImperativeAcquisitionInterface* acquisition = m_acquisition;
    const auto state = acquisition ? acquisition->acquisitionState() : Op::State::NotSetUp;
    const bool setUp = state != Op::State::NotSetUp;
    const bool idle = state == Op::State::Stopped;
    const bool canSetup = acquisition && acquisition->canSetup();
    m_modeCombo->setEnabled(canSetup && acquisition->canSetupMode() && m_modeCombo->count() > 0);
    m_setupButton->setEnabled(canSetup);
    m_cleanupButton->setEnabled(setUp);
    m_triggerButton->setEnabled(setUp);
    m_startButton->setEnabled(idle || state == Op::State::Paused);
    m_startFixedButton->setEnabled(idle || state == Op::State::Paused);
    m_fixedCount->setEnabled(m_startFixedButton->isEnabled());
    m_pauseButton->setEnabled(state == Op::State::Running);
    m_stopButton->setEnabled(state == Op::State::Running || state == Op::State::Paused);

    if (!acquisition)
        return;
    m_frameRateLabel->setText(tr("Frame rate: %1 fps").arg(acquisition->frameRate(), 0, 'f', 1));
    m_queuedLabel->setText(tr("Queued: %1").arg(acquisition->framesQueued()));
    m_droppedLabel->setText(tr("Dropped: %1").arg(acquisition->framesDropped()));
    m_deliveredLabel->setText(tr("Delivered: %1").arg(acquisition->framesDelivered()));
    m_failedLabel->setText(tr("Failed: %1").arg(acquisition->framesFailed()));
    // A run that ended on its own says why once; the next operation's outcome replaces the text.
    const QString interruption = acquisition->interruption();
    if (interruption != m_shownInterruption) {
        m_shownInterruption = interruption;
        if (!interruption.isEmpty())
            m_statusLabel->setText(interruption);
    }
}

void WindowQt::closeEvent(QCloseEvent* a_event)
{
    saveGeometryToSettings();
    QWidget::closeEvent(a_event);
}

void WindowQt::userSetup()
{
    if (m_acquisition)
        report(m_acquisition->setupMode(m_modeCombo->currentText()), tr("Setup"));
}

void WindowQt::userCleanup()
{
    if (m_acquisition)
        report(m_acquisition->cleanup(), tr("Cleanup"));
}

void WindowQt::userTrigger()
{
    if (m_acquisition)
        report(m_acquisition->trigger(), tr("Trigger"));
}

void WindowQt::userStart()
{
    if (m_acquisition)
        report(m_acquisition->start(), tr("Start"));
}

void WindowQt::userStartFixed()
{
    if (m_acquisition)
        report(m_acquisition->startFixed(static_cast<quint64>(m_fixedCount->value())), tr("Start"));
}

void WindowQt::userPause()
{
    if (m_acquisition)
        report(m_acquisition->pause(), tr("Pause"));
}

void WindowQt::userStop()
{
    if (m_acquisition)
        report(m_acquisition->stop(), tr("Stop"));
}

void WindowQt::buildControls()
{
    auto* layout = new QVBoxLayout(this);

    auto* setupRow = new QHBoxLayout;
    setupRow->addWidget(new QLabel(tr("Mode:"), this));
    m_modeCombo = new QComboBox(this);
    m_modeCombo->setObjectName(QStringLiteral("setupModeCombo"));
    m_modeCombo->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    setupRow->addWidget(m_modeCombo);
    layout->addLayout(setupRow);

    auto* runRow = new QHBoxLayout;
    layout->addLayout(runRow);
    const auto inRow = [](QHBoxLayout* a_row, QPushButton* a_button) {
        a_row->addWidget(a_button);
        return a_button;
    };
    m_setupButton =
        inRow(setupRow, addButton(tr("Setup"), "setupButton", Op::SetupOperation, &WindowQt::userSetup));
    m_cleanupButton = inRow(
        setupRow, addButton(tr("Cleanup"), "cleanupButton", Op::CleanupOperation, &WindowQt::userCleanup));
    m_triggerButton = inRow(
        setupRow, addButton(tr("Trigger"), "triggerButton", Op::TriggerOperation, &WindowQt::userTrigger));
    setupRow->addStretch();

    m_fitButton = new QToolButton(this);
    m_fitButton->setObjectName(QStringLiteral("fitButton"));
    m_fitButton->setText(tr("Fit"));
    m_fitButton->setToolTip(tr("Scale the image to fit the window."));
    m_actualSizeButton = new QToolButton(this);
    m_actualSizeButton->setObjectName(QStringLiteral("actualSizeButton"));
    m_actualSizeButton->setText(tr("1:1"));
    m_actualSizeButton->setToolTip(tr("Show the image pixel for pixel."));
    auto* zoomGroup = new QButtonGroup(this);
    for (QToolButton* button : {m_fitButton.data(), m_actualSizeButton.data()}) {
        button->setCheckable(true);
        zoomGroup->addButton(button);
        setupRow->addWidget(button);
    }
    connect(m_fitButton, &QToolButton::clicked, this, [this] { setFitToWindow(true); });
    connect(m_actualSizeButton, &QToolButton::clicked, this, [this] { setFitToWindow(false); });

    m_startButton =
        inRow(runRow, addButton(tr("Start"), "startButton", Op::StartOperation, &WindowQt::userStart));
    m_startFixedButton = inRow(runRow, addButton(tr("Start Fixed"), "startFixedButton",
                                                 Op::StartFixedOperation, &WindowQt::userStartFixed));
    m_fixedCount = new QSpinBox(this);
    m_fixedCount->setObjectName(QStringLiteral("fixedFrameCount"));
    m_fixedCount->setRange(1, 1000000);
    m_fixedCount->setValue(10);
    m_fixedCount->setSuffix(tr(" frames"));
    m_fixedCount->setVisible(m_startFixedButton->isVisibleTo(this));
    runRow->addWidget(m_fixedCount);
    m_pauseButton =
        inRow(runRow, addButton(tr("Pause"), "pauseButton", Op::PauseOperation, &WindowQt::userPause));
    m_stopButton = inRow(runRow, addButton(tr("Stop"), "stopButton", Op::StopOperation, &WindowQt::userStop));
    runRow->addStretch();

    m_view = new ImageView;
    m_view->setObjectName(QStringLiteral("imageView"));
    m_scrollArea = new QScrollArea(this);
    m_scrollArea->setBackgroundRole(QPalette::Dark);
    m_scrollArea->setAlignment(Qt::AlignCenter);
    m_scrollArea->setWidget(m_view);
    layout->addWidget(m_scrollArea, 1);
    setFitToWindow(true);

    auto* counterRow = new QHBoxLayout;
    layout->addLayout(counterRow);
    const auto counter = [&](const char* a_objectName, Op::Operation a_operation) {
        auto* label = new QLabel(this);
        label->setObjectName(QString::fromLatin1(a_objectName));
        label->setVisible(m_acquisition && m_acquisition->supports(a_operation));
        counterRow->addWidget(label);
        return label;
    };
    m_frameRateLabel = counter("frameRateLabel", Op::FrameRateOperation);
    m_queuedLabel = counter("queuedLabel", Op::FramesQueuedOperation);
    m_droppedLabel = counter("droppedLabel", Op::FramesDroppedOperation);
    m_deliveredLabel = counter("deliveredLabel", Op::FramesDeliveredOperation);
    m_failedLabel = counter("failedLabel", Op::FramesFailedOperation);
    counterRow->addStretch();
    m_statusLabel = new QLabel(this);
    m_statusLabel->setObjectName(QStringLiteral("statusLabel"));
    counterRow->addWidget(m_statusLabel);
}

void WindowQt::connectAcquisition()
{
    if (!m_acquisition)
        return;
    connect(m_acquisition, &AcquisitionInterface::acquisitionStateChanged, this, &WindowQt::refresh);
    connect(m_acquisition, &AcquisitionInterface::featureSetChanged, this, &WindowQt::reloadSetupModes);
    connect(m_acquisition, &AcquisitionInterface::nextFrameChanged, this, &WindowQt::scheduleDisplay);
    connect(m_acquisition, &QObject::destroyed, this, [this] {
        m_view->setImage(QImage());
        refresh();
    });
}

void WindowQt::reloadSetupModes()
{
    m_modeCombo->clear();
    if (!m_acquisition)
        return;
    for (int i = 0; i < m_acquisition->setupModeCount(); ++i) {
        m_modeCombo->addItem(m_acquisition->setupModeName(i));
        m_modeCombo->setItemData(i, m_acquisition->setupModeDescription(i), Qt::ToolTipRole);
    }
    const int current = m_modeCombo->findText(m_acquisition->currentSetupMode());
    if (current >= 0)
        m_modeCombo->setCurrentIndex(current);
    refresh();
}

void WindowQt::scheduleDisplay()
{
    if (!m_displayTimer->isActive())
        m_displayTimer->start();
}

void WindowQt::showLatestFrame()
{
    if (!m_acquisition)
        return;
    Frame frame;
    bool available = false;
    {
        const ScopedFrameLock lock = m_acquisition->getFrameLock();
        if (lock) {
            available = true;
            frame = m_acquisition->nextFrame();
        }
    }
    if (!available) {
        m_shownSerial = 0;
        m_view->setImage(QImage());
        return;
    }
    if (frame.m_serial == m_shownSerial)
        return;
    m_shownSerial = frame.m_serial;
    m_view->setImage(FrameConverter::toImage(frame));
}

void WindowQt::report(bool a_succeeded, const QString& a_operation)
{
    m_statusLabel->setText(a_succeeded ? QString() : tr("%1 failed.").arg(a_operation));
    refresh();
}

QPushButton* WindowQt::addButton(const QString& a_text, const QString& a_objectName,
                                 ImperativeAcquisitionInterface::Operation a_operation,
                                 void (WindowQt::*a_slot)())
{
    auto* button = new QPushButton(a_text, this);
    button->setObjectName(a_objectName);
    button->setVisible(m_acquisition && m_acquisition->supports(a_operation));
    connect(button, &QPushButton::clicked, this, a_slot);
    return button;
}

} // namespace Viewport
