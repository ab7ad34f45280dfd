#include "elements/ElementBase.h"
#include "elements/WidgetElementBase.h"
#include "elements/WidgetSimpleDragEventFilter.h"

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

using namespace Orvex;

namespace {

class RootElement : public ElementBase
{
public:
    using ElementBase::ElementBase;

    const WindowElement* windowElement() const override { return nullptr; }
    // Any recognisable address will do; nothing dereferences it.
    WindowElement* windowElement() override { return reinterpret_cast<WindowElement*>(this); }

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
    void widgetIsOwnedByElement_data()
    {
        QTest::addColumn<bool>("widgetDestroyedFirst");
        QTest::newRow("element destroyed first") << false;
        QTest::newRow("widget destroyed first") << true;
    }

    // The current widget goes with the element; a replaced one is left alone.
    void widgetIsOwnedByElement()
    {
        QFETCH(bool, widgetDestroyedFirst);
        RootElement root;
        auto* element = new TestElement(nullptr, &root);
        QPointer<QWidget> replaced = new QWidget;
        QPointer<QWidget> widget = new QWidget;

        element->setWidget(replaced);
        element->setWidget(nullptr);
        element->setWidget(widget);
        QCOMPARE(element->changedTo, (QList<QWidget*>{replaced, nullptr, widget}));
        if (widgetDestroyedFirst) {
            delete widget;
            QVERIFY(!element->widget());
        }
        delete element;
        QVERIFY(!widget && replaced);
        delete replaced;
    }

    // Raising passes on to the parent element; lowering takes the focus from the widget.
    void raiseAndLower()
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
        QVERIFY(root.isRaised() && edit->hasFocus());
        element.lower();
        QVERIFY(!edit->hasFocus() && root.isRaised());
        element.setWidget(nullptr);
        element.raise();
        element.lower();

        // The window element is asked of the parent chain, in its writable form even from a const one.
        TestElement feature(&element, &element);
        QCOMPARE(static_cast<const TestElement&>(feature).windowElement(),
                 reinterpret_cast<WindowElement*>(&root));
        QVERIFY(!TestElement(nullptr, nullptr).windowElement());
    }

    void highlightSignals_data()
    {
        QTest::addColumn<QString>("calls");
        QTest::addColumn<QStringList>("emitted");
        const QStringList onOff{"activated", "triggered 1", "deactivated", "triggered 0"};
        QTest::newRow("active true and false, twice each") << "A1 A1 A0 A0" << onOff;
        QTest::newRow("inactive false and true, twice each") << "I0 I0 I1 I1" << onOff;
        QTest::newRow("clearing a clear flag") << "I1 A0" << QStringList{};
    }

    // Each change of the highlight state is announced once; setting the same state again says nothing.
    void highlightSignals()
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
            call[0] == 'A' ? element.setHighlightActive(call[1] == '1')
                           : element.setHighlightInactive(call[1] == '1');
            if (call == "A1" || call == "I0")
                QVERIFY(element.isHighlightActive());
        }
        QCOMPARE(log, emitted);
        QVERIFY(!element.isHighlightActive());
    }

    void highlightEffect_data()
    {
        QTest::addColumn<QString>("effectBefore");
        QTest::addColumn<QColor>("color");
        QTest::newRow("no effect") << "none" << QColor(Qt::red);
        QTest::newRow("colorize effect is reused") << "colorize" << QColor(Qt::blue);
        QTest::newRow("other effect is replaced") << "opacity" << QColor(Qt::red);
    }

    // A red tint fades out twice on every container; highlighting again restarts the same animation, and
    // the state clears when the first animation ends.
    void highlightEffect()
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
        const auto animations = first->findChildren<QPropertyAnimation*>();
        QCOMPARE(animations.size(), 1);
        QPropertyAnimation* animation = animations.first();
        QVERIFY(animation->targetObject() == effect && animation->propertyName() == "strength");
        QCOMPARE(animation->state(), QAbstractAnimation::Running);
        QVERIFY(element.isHighlightActive());

        // Highlighting again part way through starts the same animation over.
        animation->setCurrentTime(animation->duration() / 2);
        element.highlightContainers({first});
        QCOMPARE(first->graphicsEffect(), effect);
        QCOMPARE(first->findChildren<QPropertyAnimation*>(), animations);
        QCOMPARE(animation->state(), QAbstractAnimation::Running);
        QVERIFY(animation->currentLoop() == 0 && animation->currentLoopTime() < animation->duration() / 2);

        QTRY_VERIFY(!element.isHighlightActive());
        QTRY_COMPARE(animation->state(), QAbstractAnimation::Stopped);
        QCOMPARE(effect->strength(), 0.0);
        QCOMPARE((QList<int>{activated.count(), deactivated.count()}), (QList<int>{1, 1}));
        element.highlightContainers({first});
        QVERIFY(element.isHighlightActive());
        QCOMPARE(activated.count(), 2);
        QTRY_COMPARE(deactivated.count(), 2);
    }

    void highlightScrollsFirstContainerIntoView_data()
    {
        QTest::addColumn<int>("first");
        QTest::addColumn<bool>("scrolls");
        QTest::newRow("container at the top") << 0 << false;
        QTest::newRow("last container") << 49 << true;
    }

    void highlightScrollsFirstContainerIntoView()
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
            containers << new QWidget;
            containers.last()->setFixedHeight(100);
            layout->addWidget(containers.last());
        }
        area.setWidget(content);
        area.show();
        QVERIFY(QTest::qWaitForWindowExposed(&area));

        element.highlightContainers({containers[first], containers[5]});
        QCOMPARE(area.verticalScrollBar()->value() > 0, scrolls);
        const QRect container(containers[first]->mapTo(area.viewport(), QPoint(0, 0)),
                              containers[first]->size());
        QVERIFY(area.viewport()->rect().contains(container));
    }

    void dragFilter_data()
    {
        const int distance = QApplication::startDragDistance();
        QTest::addColumn<bool>("withTemplate");
        QTest::addColumn<Qt::MouseButtons>("buttons");
        QTest::addColumn<QPoint>("offset");
        QTest::addColumn<bool>("drags");
        const Qt::MouseButtons left(Qt::LeftButton);
        QTest::newRow("start distance") << true << left << QPoint(distance, 0) << true;
        QTest::newRow("start distance diagonally")
            << true << left << QPoint(-distance / 2, distance - distance / 2) << true;
        QTest::newRow("short move") << true << left << QPoint(0, distance - 1) << false;
        QTest::newRow("right button held")
            << true << Qt::MouseButtons(Qt::RightButton) << QPoint(2 * distance, 0) << false;
        QTest::newRow("no template") << false << left << QPoint(2 * distance, 0) << false;
    }

    // A left-button move of at least the start distance starts a copy drag of a copy of the template,
    // releasing the pressed button; the filter leaves other widgets alone.
    void dragFilter()
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
        QVERIFY(!filter->eventFilter(&other, &press) && !filter->eventFilter(&other, &move));

        // The filter owns its template: the same one set again stays, a new one replaces it.
        QPointer<const QMimeData> replaced = filter->dragData();
        auto* next = new QMimeData;
        filter->setDragData(next);
        filter->setDragData(next);
        QVERIFY(!replaced && next->parent() == filter && filter->dragData() == next);
    }
};

QTEST_MAIN(TestWidgetElement)
#include "tst_widgetelement.moc"
