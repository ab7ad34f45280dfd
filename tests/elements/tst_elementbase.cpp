#include "ElementFixtures.h"
#include "elements/ElementBase.h"
#include "elements/ElementBaseDelayQueue.h"
#include "elements/FeatureElementBase.h"
#include "elements/WidgetElementBase.h"
#include "elements/WidgetSimpleDragEventFilter.h"
#include "widgets/HighlightTint.h"

#include <QApplication>
#include <QCoreApplication>
#include <QDrag>
#include <QGraphicsColorizeEffect>
#include <QLayout>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPropertyAnimation>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <QVBoxLayout>
#include <functional>
#include <memory>

using namespace Orvex;
using OrvexTest::HolderElement;
using HookElement = OrvexTest::RecordingElement;

namespace {

QStringList s_messages;

void recordMessage(QtMsgType a_type, const QMessageLogContext&, const QString& a_message)
{
    s_messages << QStringLiteral("%1 %2").arg(a_type == QtDebugMsg ? "debug" : "other", a_message);
}

class TestElement : public WidgetElementBase
{
public:
    using WidgetElementBase::highlightContainers;
    using WidgetElementBase::setHighlightActive;
    using WidgetElementBase::setHighlightInactive;
    using WidgetElementBase::WidgetElementBase;

    void highlight(size_t) override {}

    int raises = 0;
    int lowers = 0;

protected:
    void onRaise() override
    {
        ++raises;
        WidgetElementBase::onRaise();
    }
    void onLower() override
    {
        ++lowers;
        WidgetElementBase::onLower();
    }
};

QMouseEvent mouseEvent(QEvent::Type a_type, QPoint a_pos, Qt::MouseButton a_button,
                       Qt::MouseButtons a_buttons)
{
    return QMouseEvent(a_type, a_pos, a_pos, a_pos, a_button, a_buttons, Qt::NoModifier);
}

// Values are named after their creation order, so where each one ends up shows which instance moved.
class TestFeature : public FeatureElementBase
{
public:
    using FeatureElementBase::FeatureElementBase;
    using FeatureElementBase::instanceRecord;
    using FeatureElementBase::setInstanceValueWidget;

    QStringList values;
    QStringList requests;
    int created = 0;
    bool applyRequests = false;

    QVariant dataSet() const override { return values; }
    void setDataSet(const QVariant& a_dataSet) override { values = a_dataSet.toStringList(); }
    void highlight(size_t) override {}

protected:
    void insertInstanceValue(size_t a_index) override
    {
        values.insert(int(a_index), QStringLiteral("v%1").arg(created++));
    }
    QWidget* createInstanceValueWidget(size_t a_index) override
    {
        return new QLineEdit(values[int(a_index)]);
    }
    void removeInstanceValue(size_t a_index) override { values.removeAt(int(a_index)); }
    void moveInstanceValue(size_t a_from, size_t a_to) override { values.move(int(a_from), int(a_to)); }
    void requestInstanceChanges(const QVector<InstanceChange>& a_changes) override
    {
        const char* kinds[] = {"insert", "remove", "reinsert"};
        for (const InstanceChange& change : a_changes) {
            requests << QStringLiteral("%1 %2").arg(kinds[change.kind]).arg(change.index);
            if (change.kind == InstanceChange::Reinsert)
                requests.last() += QStringLiteral(" %1").arg(change.newIndex);
            // What the undo command will do right away when it is pushed.
            if (applyRequests && change.kind == InstanceChange::Remove)
                removeInstance(change.index);
        }
    }
};

// "min..max", with "*" for unbounded.
std::pair<size_t, size_t> bounds(const QString& a_text)
{
    const QString max = a_text.section("..", 1);
    return {a_text.section("..", 0, 0).toULongLong(),
            max == "*" ? FeatureElementBase::Unbounded : size_t(max.toULongLong())};
}

// Built the way loading does it: a copy of a schema template, which brings the bounds but none of the
// template's instances, then instances appended.
std::unique_ptr<TestFeature> makeFeature(ElementBase* a_parent, const QString& a_bounds, size_t a_count,
                                         const QString& a_widget = QString())
{
    TestFeature schemaTemplate(a_parent);
    schemaTemplate.setName(QStringLiteral("TapGeometry"));
    schemaTemplate.setIsAttribute(true);
    schemaTemplate.setMaxOccurs(bounds(a_bounds).second);
    schemaTemplate.setMinOccurs(bounds(a_bounds).first);
    auto feature = std::make_unique<TestFeature>(&schemaTemplate, a_parent);
    if (a_widget == "before")
        feature->createWidget();
    for (size_t i = 0; i < a_count; ++i)
        feature->insertInstance(FeatureElementBase::NoIndex);
    if (a_widget == "after")
        feature->createWidget();
    return feature;
}

QToolButton* trailingButton(TestFeature& a_feature, const QString& a_text)
{
    QLayout* layout = a_feature.widget()->layout();
    for (auto* button : layout->itemAt(layout->count() - 1)->widget()->findChildren<QToolButton*>()) {
        if (button->text() == a_text)
            return button;
    }
    return nullptr;
}

// One row per instance, in order, the value first, the buttons enabled exactly while the bounds allow.
void checkRows(TestFeature& a_feature, bool a_buttons)
{
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    const int count = int(a_feature.instanceCount());
    const bool canRemove = a_feature.instanceCount() > a_feature.minOccurs();
    const bool canInsert = a_feature.instanceCount() < a_feature.maxOccurs();
    QLayout* layout = a_feature.widget()->layout();
    QCOMPARE(layout->count(), count + (a_buttons ? 1 : 0));
    QCOMPARE(a_feature.widget()->findChildren<QLineEdit*>().size(), count);
    QCOMPARE(a_feature.widget()->findChildren<QToolButton*>().size(), a_buttons ? 2 * (count + 1) : 0);
    for (int i = 0; i < count; ++i) {
        FeatureInstanceRecord* record = a_feature.instanceRecord(size_t(i));
        QCOMPARE(layout->itemAt(i)->widget(), record->row());
        // Without buttons an instance has no row around its value.
        QWidget* value = a_buttons ? record->row()->layout()->itemAt(0)->widget() : record->row();
        auto* edit = qobject_cast<QLineEdit*>(value);
        QVERIFY(edit && edit == record->valueWidget());
        QCOMPARE(edit->text(), a_feature.values[i]);
        if (a_buttons) {
            QCOMPARE(record->removeButton()->isEnabled(), canRemove);
            QCOMPARE(record->insertButton()->isEnabled(), canInsert);
        }
    }
    if (a_buttons) {
        QCOMPARE(trailingButton(a_feature, "-")->isEnabled(), canRemove);
        QCOMPARE(trailingButton(a_feature, "+")->isEnabled(), canInsert);
    }
}

} // namespace

class TestElementBases : public QObject
{
    Q_OBJECT

private slots:
    void cleanup()
    {
        ElementBaseDelayQueue::instance()->flush();
        QCoreApplication::sendPostedEvents();
    }

    // The registry follows the new id; the counter never hands it out again; a former holder of a shared
    // id does not take the entry with it.
    void idPropertyRekeysRegistry()
    {
        // "far" lies beyond the ids the counter hands out densely; it runs last, as it moves the counter.
        for (const QString target : {"unused", "zero", "other", "same", "far"}) {
            auto element = std::make_unique<HookElement>();
            auto other = std::make_unique<HookElement>();
            const quint64 oldId = element->id();
            const quint64 newId = target == "unused"  ? other->id() + 1000
                                  : target == "far"   ? quint64(1) << 40
                                  : target == "zero"  ? 0
                                  : target == "other" ? other->id()
                                                      : oldId;

            QVERIFY(element->setProperty("id", QVariant::fromValue(newId)));
            QCOMPARE(element->id(), newId);
            QVERIFY(newId == oldId || !ElementBase::findById(oldId));
            other.reset();
            QCOMPARE(ElementBase::findById(newId),
                     newId ? static_cast<ElementBase*>(element.get()) : nullptr);
            HookElement next;
            QVERIFY(next.id() > newId);
            element.reset();
            QVERIFY(!ElementBase::findById(newId));
        }
    }

    void raiseAndLower_data() { OrvexTest::addTextRows("tests/elements/data/elementbase/raise.txt"); }

    void raiseAndLower()
    {
        HookElement root;
        TestElement mid(nullptr, &root);
        TestElement leaf(nullptr, &mid);
        const QList<ElementBase*> elements{&root, &mid, &leaf};
        const auto hooks = [&](bool a_raises) {
            return QStringLiteral("%1%2%3")
                .arg(a_raises ? root.raises : root.lowers)
                .arg(a_raises ? mid.raises : mid.lowers)
                .arg(a_raises ? leaf.raises : leaf.lowers);
        };
        QStringList noted;
        for (const QString& step : OrvexTest::rowText("steps").split(' ')) {
            if (step == "run") {
                QCoreApplication::sendPostedEvents();
            } else if (step == "|") {
                root.raises = mid.raises = leaf.raises = root.lowers = mid.lowers = leaf.lowers = 0;
            } else if (step == "=") {
                QString raised, active;
                for (int i = 0; i < 3; ++i) {
                    raised += elements[i]->isRaised() ? QStringLiteral("rml").mid(i, 1) : QString();
                    active += elements[i]->isActive() ? QStringLiteral("rml").mid(i, 1) : QString();
                }
                noted << QStringLiteral("%1/%2 %3/%4")
                             .arg(raised.isEmpty() ? "-" : raised, active.isEmpty() ? "-" : active,
                                  hooks(true), hooks(false));
            } else {
                ElementBase* element = elements[QString("rml").indexOf(step[0])];
                const char operation = step[1].toLatin1();
                operation == '+'   ? element->raise()
                : operation == '-' ? element->lower()
                : operation == '>' ? element->raiseLater()
                                   : element->lowerLater();
            }
        }
        QCOMPARE(noted.join(' '), OrvexTest::rowText("states"));
    }

    // Raises queued while the queue runs get one more pass; a direct flush leaves nothing for the queued
    // one. Elements destroyed while queued, null targets and unknown operations are passed over, the
    // unknown ones with a debug message; the rest still run.
    void delayQueue()
    {
        ElementBaseDelayQueue* queue = ElementBaseDelayQueue::instance();
        QSignalSpy flushRequests(queue, &ElementBaseDelayQueue::doFlushOps);
        HookElement first;
        HookElement second;
        HookElement third;
        first.whenRaised = [&] {
            second.raiseLater();
            third.raiseLater();
        };

        first.raiseLater();
        third.lowerLater();
        QCOMPARE(flushRequests.count(), 1);
        QCoreApplication::sendPostedEvents();
        QVERIFY(first.isRaised() && !second.isRaised());
        QCOMPARE(flushRequests.count(), 2);
        QCoreApplication::sendPostedEvents();
        QVERIFY(second.isRaised() && third.isRaised());
        QCoreApplication::sendPostedEvents();
        QCOMPARE(flushRequests.count(), 2);

        first.lowerLater();
        queue->flush();
        QVERIFY(!first.isRaised());
        first.raise();
        QCoreApplication::sendPostedEvents();
        QCOMPARE(first.lowers, 1);

        auto doomed = std::make_unique<HookElement>();
        doomed->raiseLater();
        queue->enqueue(ElementBaseDelayQueue::OperationRaise, nullptr);
        queue->enqueue(2, &third);
        queue->enqueue(-1, &third);
        second.lower();
        second.raiseLater();
        doomed.reset();
        third.raises = third.lowers = 0;
        s_messages.clear();
        const QtMessageHandler previous = qInstallMessageHandler(recordMessage);
        QCoreApplication::sendPostedEvents();
        qInstallMessageHandler(previous);
        QCOMPARE(third.raises + third.lowers, 0);
        QVERIFY(second.isRaised());
        QCOMPARE(s_messages, QStringList({"debug Unknown operation type with ID = 2.",
                                          "debug Unknown operation type with ID = -1."}));
    }

    // Raising passes on to the parent element; lowering takes the focus from the widget.
    void widgetRaiseAndLower()
    {
        HookElement root;
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

    // A red tint fades out twice on every container; highlighting again restarts the same fade, and the
    // state clears when the first fade ends.
    void highlightEffect()
    {
        TestElement element(nullptr, nullptr);
        QWidget panel;
        auto* first = new QWidget(&panel);
        auto* second = new QWidget(&panel);
        QSignalSpy activated(&element, &WidgetElementBase::highlightActivated);
        QSignalSpy deactivated(&element, &WidgetElementBase::highlightDeactivated);

        element.highlightContainers({first, nullptr, second});
        HighlightTint* tint = first->findChild<HighlightTint*>();
        QVERIFY(tint && tint->isFlashing() && element.isHighlightActive());
        QVERIFY(second->findChild<HighlightTint*>() && second->findChild<HighlightTint*>()->isFlashing());
        auto* fade = tint->findChild<QPropertyAnimation*>();
        fade->setCurrentTime(fade->duration() / 2);
        const qreal halfway = tint->strength();
        element.highlightContainers({first});
        QCOMPARE(first->findChildren<HighlightTint*>(), QList<HighlightTint*>{tint});
        QVERIFY(tint->isFlashing() && tint->strength() > halfway && tint->isVisibleTo(first));
        // A viewport scrolls its children along; the next frame puts the tint back over all of it.
        panel.show();
        first->scroll(0, 7);
        fade->setCurrentTime(fade->currentTime() + 10);
        QCOMPARE(tint->geometry(), first->rect());

        QTRY_VERIFY(!element.isHighlightActive());
        QTRY_VERIFY(!tint->isFlashing());
        QVERIFY(tint->strength() == 0.0 && !tint->isVisibleTo(first));
        QCOMPARE((QList<int>{activated.count(), deactivated.count()}), (QList<int>{1, 1}));
        element.highlightContainers({first});
        QVERIFY(element.isHighlightActive());
        QCOMPARE(activated.count(), 2);
        QTRY_COMPARE(deactivated.count(), 2);
    }

    void highlightLooksLikeColorize_data()
    {
        QTest::addColumn<qreal>("strength");
        QTest::newRow("strong") << 0.8;
        QTest::newRow("fading") << 0.3;
    }

    // Inside the container's widgets the tint looks like a colorize effect of the same strength; the
    // page behind the gaps between them stays untouched.
    void highlightLooksLikeColorize()
    {
        QFETCH(qreal, strength);
        const auto shot = [strength](bool a_effect) {
            QWidget page;
            QPalette palette = page.palette();
            palette.setColor(QPalette::Window, Qt::darkGray);
            page.setPalette(palette);
            page.setAutoFillBackground(true);
            page.resize(220, 60);
            auto* row = new QWidget(&page);
            row->setGeometry(10, 10, 200, 40);
            (new QLineEdit(QStringLiteral("1500"), row))->setGeometry(0, 0, 120, 30);
            if (a_effect) {
                auto* effect = new QGraphicsColorizeEffect;
                effect->setColor(Qt::red);
                effect->setStrength(strength);
                row->setGraphicsEffect(effect);
            } else {
                HighlightTint::of(row)->setStrength(strength);
            }
            page.show();
            return page.grab().toImage();
        };
        const QImage expected = shot(true);
        const QImage tinted = shot(false);
        int worst = 0;
        for (const QRect& area : {QRect(12, 12, 116, 26), QRect(140, 10, 80, 50)}) {
            for (int y = area.top(); y <= area.bottom(); ++y) {
                for (int x = area.left(); x <= area.right(); ++x) {
                    const QRgb a = expected.pixel(x, y), b = tinted.pixel(x, y);
                    worst = std::max({worst, std::abs(qRed(a) - qRed(b)), std::abs(qGreen(a) - qGreen(b)),
                                      std::abs(qBlue(a) - qBlue(b))});
                }
            }
        }
        QVERIFY2(worst <= 2, qPrintable(QString::number(worst)));
    }

    void highlightScrollsFirstContainerIntoView()
    {
        for (const int first : {0, 49}) {
            const bool scrolls = first > 0;
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
    }

    void dragFilter_data() { OrvexTest::addTextRows("tests/elements/data/elementbase/drag.txt"); }

    // A left-button move of at least the start distance starts a copy drag of a copy of the template,
    // releasing the pressed button; the filter leaves other widgets alone.
    void dragFilter()
    {
        const bool drags = OrvexTest::rowFlag("drags");
        const Qt::MouseButtons buttons(OrvexTest::rowText("buttons") == "LeftButton" ? Qt::LeftButton
                                                                                     : Qt::RightButton);
        const QPoint offset(OrvexTest::rowText("offset").section(' ', 0, 0).toInt(),
                            OrvexTest::rowText("offset").section(' ', 1).toInt());
        QApplication::setStartDragDistance(10);
        // Elsewhere a drag runs a real nested event loop that would wait for a drop.
        if (drags && QGuiApplication::platformName() != QLatin1String("offscreen"))
            QSKIP("Starting a drag needs the offscreen platform");

        QPushButton button(QStringLiteral("Mode"));
        button.resize(300, 300);
        auto* filter = new WidgetSimpleDragEventFilter(&button);
        if (OrvexTest::rowFlag("template")) {
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

    void instanceChanges_data()
    {
        OrvexTest::addTextRows("tests/elements/data/featureelement/instances.txt");
    }

    void instanceChanges()
    {
        QFETCH(QString, widget);
        QFETCH(QString, before);
        const size_t count = OrvexTest::rowText("countText").toULongLong();
        QFETCH(QString, operation);
        QFETCH(QString, after);
        QFETCH(QString, values);
        HolderElement holder;
        // Built under a page or on its own, the widget takes the page as its parent when there is one.
        if (widget == "before")
            holder.setWidget(new QWidget);
        auto feature = makeFeature(&holder, before, count, widget);
        QVERIFY(feature->name() == "TapGeometry" && feature->isAttribute());
        QStringList log;
        connect(feature.get(), &FeatureElementBase::instanceInserted, this,
                [&](size_t a_index) { log << QStringLiteral("inserted %1").arg(a_index); });
        connect(feature.get(), &FeatureElementBase::instanceCountIsMinOccurs, this,
                [&](bool a_at) { log << QStringLiteral("min %1").arg(int(a_at)); });
        connect(feature.get(), &FeatureElementBase::instanceCountIsMaxOccurs, this,
                [&](bool a_at) { log << QStringLiteral("max %1").arg(int(a_at)); });

        const QStringList words = operation.split(' ');
        const size_t argument = words.value(1).toULongLong();
        const size_t second = words.value(2).toULongLong();
        if (words[0] == "click" && words[2] == "trailing") {
            trailingButton(*feature, words[1])->click();
        } else if (words[0] == "click") {
            FeatureInstanceRecord* record = feature->instanceRecord(second);
            (words[1] == "+" ? record->insertButton() : record->removeButton())->click();
        } else if (operation == "user insert" || operation == "user remove") {
            words[1] == "insert" ? feature->userInsert() : feature->userRemove();
        } else if (words[0] == "user") {
            const size_t index = words[2].toULongLong();
            if (words[1] == "insert" || words[1] == "remove")
                words[1] == "insert" ? feature->userInsert(index) : feature->userRemove(index);
            else if (words[1] == "reinsert")
                feature->userReinsert(index, words[3].toULongLong());
            else
                feature->userSetEnabled(index != 0);
        } else if (words[0] == "insert")
            feature->insertInstance(argument);
        else if (words[0] == "remove")
            feature->removeInstance(argument);
        else if (words[0] == "move")
            QCOMPARE(feature->moveInstance(argument, words[2].toULongLong()), words[2].toULongLong() < count);
        else if (words[0] == "enabled")
            QVERIFY(feature->setProperty("enabled", argument != 0));
        else
            QVERIFY(feature->setProperty(words[0].toLatin1(), QVariant::fromValue(argument)));

        for (const QString& request : feature->requests)
            log << "ask " + request;
        QCOMPARE(log.join(','), OrvexTest::rowText("signalLog"));
        const QStringList expectedValues = values.split(' ', Qt::SkipEmptyParts);
        QCOMPARE(feature->values, expectedValues);
        QCOMPARE(QList<size_t>({feature->instanceCount(), feature->minOccurs(), feature->maxOccurs()}),
                 QList<size_t>({size_t(expectedValues.size()), bounds(after).first, bounds(after).second}));
        QCOMPARE(feature->isEnabled(), !expectedValues.isEmpty());
        if (widget == "none") {
            QVERIFY(!feature->widget());
            return;
        }
        QCOMPARE(feature->createWidget()->parentWidget(), holder.widget());
        const bool buttons = bounds(before).second - bounds(before).first > 1;
        checkRows(*feature, buttons);
        if (expectedValues.isEmpty())
            return;
        FeatureInstanceRecord* record = feature->instanceRecord(0);
        QPointer<QWidget> old = record->valueWidget();
        auto* replacement = new QLineEdit(feature->values[0]);
        feature->setInstanceValueWidget(*record, replacement);
        QLayout* row = buttons ? record->row()->layout() : feature->widget()->layout();
        QVERIFY(old && old->isHidden() && row->indexOf(old) == -1);
        QCOMPARE(row->itemAt(0)->widget(), replacement);
        if (!buttons)
            QCOMPARE(record->row(), replacement);
    }

    void widgetOwnership()
    {
        for (bool parentWidgetFirst : {false, true}) {
            HolderElement holder;
            holder.setWidget(new QWidget);
            auto feature = makeFeature(&holder, "0..5", 3, "after");
            QPointer<QWidget> widget = feature->widget();
            QPointer<QWidget> removedRow = feature->instanceRecord(1)->row();
            QPointer<QWidget> removedValue = feature->instanceRecord(1)->valueWidget();

            // The row goes away while its own "-" button is still delivering the click.
            feature->applyRequests = true;
            QTest::mouseClick(feature->instanceRecord(1)->removeButton(), Qt::LeftButton);
            QCOMPARE(feature->values, (QStringList{"v0", "v2"}));
            QVERIFY(removedRow && removedRow->isHidden());
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
            QVERIFY(!removedRow && !removedValue);
            QPointer<QWidget> row = feature->instanceRecord(0)->row();

            if (!parentWidgetFirst) {
                feature.reset();
                QVERIFY(!widget && !row && holder.widget());
                continue;
            }
            delete holder.widget();
            QVERIFY(!widget && !row && !feature->widget());
            // Still complete without its widget, and able to build a fresh one later.
            QVERIFY(feature->insertInstance(0));
            QVERIFY(feature->removeInstance(2));
            QCOMPARE(feature->values, (QStringList{"v3", "v0"}));
            widget = feature->createWidget();
            QVERIFY(!widget->parentWidget());
            checkRows(*feature, true);
            feature.reset();
            QVERIFY(!widget);
        }
    }
};

QTEST_MAIN(TestElementBases)
#include "tst_elementbase.moc"
