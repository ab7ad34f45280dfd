#include "ElementBase.h"
#include "WidgetElementBase.h"
#include "WidgetSimpleDragEventFilter.h"

#include <QApplication>
#include <QDrag>
#include <QGraphicsColorizeEffect>
#include <QGraphicsOpacityEffect>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPropertyAnimation>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <QVBoxLayout>

#include <memory>

using namespace Orvex;

namespace {

const char* const s_animationName = "ValueFeatureElementBase::Orvex::ValueFeatureElementBase::highlight";

class RootElement : public ElementBase
{
public:
    using ElementBase::ElementBase;

    const WindowElement* windowElement() const override
    {
        ++constAsked;
        return nullptr;
    }
    // Any recognisable address will do; nothing dereferences it.
    WindowElement* windowElement() override
    {
        ++asked;
        return reinterpret_cast<WindowElement*>(this);
    }

    mutable int constAsked = 0;
    int asked = 0;

protected:
    void onRaise() override {}
    void onLower() override {}
};

class TestElement : public WidgetElementBase
{
public:
    using WidgetElementBase::highlightContainers;
    using WidgetElementBase::setHighlightActive;
    using WidgetElementBase::setHighlightInactive;
    using WidgetElementBase::WidgetElementBase;

    void highlight(size_t) override {}

    QList<QWidget*> changedTo;

protected:
    void widgetChanged(QWidget* a_widget) override { changedTo << a_widget; }
};

QMouseEvent mouseEvent(QEvent::Type a_type, QPoint a_pos, Qt::MouseButton a_button,
                       Qt::MouseButtons a_buttons)
{
    return QMouseEvent(a_type, a_pos, a_pos, a_pos, a_button, a_buttons, Qt::NoModifier);
}

} // namespace

class TestWidgetElement : public QObject
{
    Q_OBJECT

private slots:
    void widgetIsOwnedByElement_data();
    void widgetIsOwnedByElement();
    void lowerClearsFocus();
    void windowElementAsksParent();
    void highlightSignals_data();
    void highlightSignals();
    void highlightEffect_data();
    void highlightEffect();
    void highlightScrollsFirstContainerIntoView_data();
    void highlightScrollsFirstContainerIntoView();
    void dragFilter_data();
    void dragFilter();
    void dragFilterOwnsTemplate();
};

void TestWidgetElement::widgetIsOwnedByElement_data()
{
    QTest::addColumn<bool>("widgetDestroyedFirst");
    QTest::newRow("element destroyed first") << false;
    QTest::newRow("widget destroyed first") << true;
}

void TestWidgetElement::widgetIsOwnedByElement()
{
    QFETCH(bool, widgetDestroyedFirst);
    RootElement root;
    auto* element = new TestElement(nullptr, &root);
    QCOMPARE(element->parent(), &root);
    QPointer<QWidget> replaced = new QWidget;
    QPointer<QWidget> widget = new QWidget;

    element->setWidget(replaced);
    element->setWidget(nullptr);
    element->setWidget(widget);
    QCOMPARE(element->changedTo, (QList<QWidget*>{replaced, nullptr, widget}));
    QCOMPARE(element->widget(), widget.data());

    if (widgetDestroyedFirst) {
        delete widget;
        QVERIFY(!element->widget());
    }
    delete element;
    QVERIFY(!widget);
    QVERIFY(replaced);
    delete replaced;
}

void TestWidgetElement::lowerClearsFocus()
{
    RootElement root;
    TestElement element(nullptr, &root);
    QWidget window;
    auto* layout = new QVBoxLayout(&window);
    auto* edit = new QLineEdit;
    layout->addWidget(edit);
    layout->addWidget(new QLineEdit);
    element.setWidget(edit);
    window.show();
    QApplication::setActiveWindow(&window);
    QVERIFY(QTest::qWaitForWindowActive(&window));
    edit->setFocus();
    QTRY_VERIFY(edit->hasFocus());

    element.raise();
    QVERIFY(root.isRaised());
    QVERIFY(edit->hasFocus());
    element.lower();
    QVERIFY(!edit->hasFocus());
    QVERIFY(root.isRaised());

    // Without a widget there is no focus to clear.
    element.setWidget(nullptr);
    element.raise();
    element.lower();
}

void TestWidgetElement::windowElementAsksParent()
{
    RootElement root;
    TestElement category(nullptr, &root);
    TestElement feature(&category, &category);
    const TestElement& constFeature = feature;

    QCOMPARE(constFeature.windowElement(), reinterpret_cast<WindowElement*>(&root));
    QCOMPARE(feature.windowElement(), reinterpret_cast<WindowElement*>(&root));
    QCOMPARE(root.asked, 2);
    QCOMPARE(root.constAsked, 0);

    TestElement orphan(nullptr, nullptr);
    QVERIFY(!orphan.windowElement());
}

void TestWidgetElement::highlightSignals_data()
{
    QTest::addColumn<QString>("calls");
    QTest::addColumn<QStringList>("emitted");
    QTest::newRow("activate twice") << "A1 A1" << QStringList{"activated", "triggered 1"};
    QTest::newRow("activate then deactivate")
        << "A1 I1" << QStringList{"activated", "triggered 1", "deactivated", "triggered 0"};
    QTest::newRow("inactive false activates") << "I0 I0" << QStringList{"activated", "triggered 1"};
    QTest::newRow("active false deactivates")
        << "A1 A0 A0" << QStringList{"activated", "triggered 1", "deactivated", "triggered 0"};
    QTest::newRow("clearing a clear flag") << "I1 A0" << QStringList{};
}

void TestWidgetElement::highlightSignals()
{
    QFETCH(QString, calls);
    QFETCH(QStringList, emitted);
    TestElement element(nullptr, nullptr);
    QStringList log;
    connect(&element, &WidgetElementBase::highlightActivated, this, [&] { log << "activated"; });
    connect(&element, &WidgetElementBase::highlightDeactivated, this, [&] { log << "deactivated"; });
    connect(&element, &WidgetElementBase::highlightTriggered, this,
            [&](bool a_active) { log << QStringLiteral("triggered %1").arg(int(a_active)); });

    for (const QString& call : calls.split(' ')) {
        const bool argument = call[1] == '1';
        call[0] == 'A' ? element.setHighlightActive(argument) : element.setHighlightInactive(argument);
    }
    QCOMPARE(log, emitted);
    QCOMPARE(element.isHighlightActive(), log.isEmpty() ? false : log.last() == "triggered 1");
}

void TestWidgetElement::highlightEffect_data()
{
    QTest::addColumn<QString>("effectBefore");
    QTest::addColumn<QColor>("color");
    QTest::newRow("no effect") << "none" << QColor(Qt::red);
    QTest::newRow("colorize effect is reused") << "colorize" << QColor(Qt::blue);
    QTest::newRow("other effect is replaced") << "opacity" << QColor(Qt::red);
}

void TestWidgetElement::highlightEffect()
{
    QFETCH(QString, effectBefore);
    QFETCH(QColor, color);
    TestElement element(nullptr, nullptr);
    QWidget panel;
    auto* first = new QWidget(&panel);
    auto* second = new QWidget(&panel);
    if (effectBefore == "colorize") {
        auto* effect = new QGraphicsColorizeEffect;
        effect->setColor(Qt::blue);
        first->setGraphicsEffect(effect);
    } else if (effectBefore == "opacity") {
        first->setGraphicsEffect(new QGraphicsOpacityEffect);
    }
    QPointer<QGraphicsEffect> effectGiven = first->graphicsEffect();
    QSignalSpy activated(&element, &WidgetElementBase::highlightActivated);
    QSignalSpy deactivated(&element, &WidgetElementBase::highlightDeactivated);

    element.highlightContainers({first, nullptr, second});
    auto* effect = qobject_cast<QGraphicsColorizeEffect*>(first->graphicsEffect());
    QVERIFY(effect);
    QCOMPARE(effect->color(), color);
    QCOMPARE(effect == effectGiven, effectBefore == "colorize");
    QCOMPARE(qobject_cast<QGraphicsColorizeEffect*>(second->graphicsEffect())->color(), QColor(Qt::red));

    const auto animations = first->findChildren<QPropertyAnimation*>(s_animationName);
    QCOMPARE(animations.size(), 1);
    QPropertyAnimation* animation = animations.first();
    QCOMPARE(animation->targetObject(), effect);
    QCOMPARE(animation->propertyName(), QByteArray("strength"));
    QCOMPARE(animation->duration(), 350);
    QCOMPARE(animation->startValue().toDouble(), 0.8);
    QCOMPARE(animation->endValue().toDouble(), 0.0);
    QCOMPARE(animation->easingCurve().type(), QEasingCurve::InCirc);
    QCOMPARE(animation->loopCount(), 2);
    QCOMPARE(animation->state(), QAbstractAnimation::Running);
    QVERIFY(element.isHighlightActive());

    QTest::qWait(200);
    element.highlightContainers({first});
    QCOMPARE(first->graphicsEffect(), effect);
    QCOMPARE(first->findChildren<QPropertyAnimation*>(s_animationName), animations);
    QCOMPARE(animation->state(), QAbstractAnimation::Running);
    QCOMPARE(animation->currentLoop(), 0);
    QVERIFY(animation->currentLoopTime() < 200);

    // The second container was not restarted, so its animation ends first and clears the state.
    QTRY_VERIFY(!element.isHighlightActive());
    QTRY_COMPARE(animation->state(), QAbstractAnimation::Stopped);
    QCOMPARE(effect->strength(), 0.0);
    QCOMPARE(activated.count(), 1);
    QCOMPARE(deactivated.count(), 1);

    element.highlightContainers({first});
    QVERIFY(element.isHighlightActive());
    QCOMPARE(activated.count(), 2);
    QTRY_COMPARE(deactivated.count(), 2);
}

void TestWidgetElement::highlightScrollsFirstContainerIntoView_data()
{
    QTest::addColumn<int>("first");
    QTest::addColumn<bool>("scrolls");
    QTest::newRow("container at the top") << 0 << false;
    QTest::newRow("container far down") << 40 << true;
    QTest::newRow("last container") << 49 << true;
}

void TestWidgetElement::highlightScrollsFirstContainerIntoView()
{
    QFETCH(int, first);
    QFETCH(bool, scrolls);
    TestElement element(nullptr, nullptr);
    QScrollArea area;
    area.resize(300, 300);
    auto* content = new QWidget;
    auto* layout = new QVBoxLayout(content);
    QList<QWidget*> containers;
    for (int i = 0; i < 50; ++i) {
        auto* row = new QWidget;
        row->setFixedHeight(100);
        layout->addWidget(row);
        containers << row;
    }
    area.setWidget(content);
    area.show();
    QVERIFY(QTest::qWaitForWindowExposed(&area));

    element.highlightContainers({containers[first], containers[5]});
    QCOMPARE(area.verticalScrollBar()->value() > 0, scrolls);
    const QRect shown = area.viewport()->rect();
    const QRect container(containers[first]->mapTo(area.viewport(), QPoint(0, 0)), containers[first]->size());
    QVERIFY(shown.contains(container));
}

void TestWidgetElement::dragFilter_data()
{
    const int distance = QApplication::startDragDistance();
    QTest::addColumn<bool>("withTemplate");
    QTest::addColumn<Qt::MouseButtons>("buttons");
    QTest::addColumn<QPoint>("offset");
    QTest::addColumn<bool>("drags");
    QTest::newRow("start distance") << true << Qt::MouseButtons(Qt::LeftButton) << QPoint(distance, 0)
                                    << true;
    QTest::newRow("start distance diagonally")
        << true << Qt::MouseButtons(Qt::LeftButton) << QPoint(-distance / 2, distance - distance / 2) << true;
    QTest::newRow("short move") << true << Qt::MouseButtons(Qt::LeftButton) << QPoint(0, distance - 1)
                                << false;
    QTest::newRow("right button held")
        << true << Qt::MouseButtons(Qt::RightButton) << QPoint(2 * distance, 0) << false;
    QTest::newRow("no template") << false << Qt::MouseButtons(Qt::LeftButton) << QPoint(2 * distance, 0)
                                 << false;
}

void TestWidgetElement::dragFilter()
{
    QFETCH(bool, withTemplate);
    QFETCH(Qt::MouseButtons, buttons);
    QFETCH(QPoint, offset);
    QFETCH(bool, drags);
    // Elsewhere a drag runs a real nested event loop that would wait for a drop.
    if (drags && QGuiApplication::platformName() != QLatin1String("offscreen"))
        QSKIP("Starting a drag needs the offscreen platform");

    QPushButton button(QStringLiteral("Mode"));
    button.resize(300, 300);
    auto* filter = new WidgetSimpleDragEventFilter(&button);
    QCOMPARE(filter->parent(), &button);
    if (withTemplate) {
        auto* data = new QMimeData;
        data->setText(QStringLiteral("Default_1"));
        data->setData(QStringLiteral("QuarnelOrvex/ModeNameString"), QByteArray("Default_1"));
        filter->setDragData(data);
    }

    const QPoint pressed(100, 100);
    QMouseEvent press = mouseEvent(QEvent::MouseButtonPress, pressed, Qt::LeftButton, Qt::LeftButton);
    QApplication::sendEvent(&button, &press);
    QVERIFY(button.isDown());

    QMouseEvent move = mouseEvent(QEvent::MouseMove, pressed + offset, Qt::NoButton, buttons);
    QCOMPARE(filter->eventFilter(&button, &move), drags);
    QCOMPARE(button.isDown(), !drags);

    auto* drag = button.findChild<QDrag*>();
    QCOMPARE(drag != nullptr, drags);
    if (drags) {
        QVERIFY(drag->mimeData() != filter->dragData());
        QCOMPARE(drag->mimeData()->formats(), filter->dragData()->formats());
        for (const QString& format : filter->dragData()->formats())
            QCOMPARE(drag->mimeData()->data(format), filter->dragData()->data(format));
        QCOMPARE(drag->pixmap().size(), button.grab().size());
        QCOMPARE(drag->supportedActions(), Qt::CopyAction);
    }

    QLineEdit other;
    QCOMPARE(filter->eventFilter(&other, &press), false);
    QCOMPARE(filter->eventFilter(&other, &move), false);
}

void TestWidgetElement::dragFilterOwnsTemplate()
{
    auto* button = new QPushButton;
    auto* filter = new WidgetSimpleDragEventFilter(button);
    QPointer<QMimeData> first = new QMimeData;
    QPointer<QMimeData> second = new QMimeData;

    filter->setDragData(first);
    filter->setDragData(first);
    QVERIFY(first);
    QCOMPARE(first->parent(), filter);
    filter->setDragData(second);
    QVERIFY(!first);
    QCOMPARE(filter->dragData(), second.data());

    delete button;
    QVERIFY(!second);
}

QTEST_MAIN(TestWidgetElement)
#include "tst_widgetelement.moc"
