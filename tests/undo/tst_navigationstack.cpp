#include "FileFixtures.h"
#include "TestElement.h"
#include "elements/ElementBaseDelayQueue.h"
#include "elements/NavigationStack.h"

#include <QAction>
#include <QMenu>
#include <QPointer>
#include <QSignalSpy>
#include <QStyle>
#include <QtTest>

using Orvex::NavigationStack;

namespace {

// Elements made on first mention by name, under a camera and a mode (menu entries name them too); all of
// them share one raise/lower log.
class Elements
{
public:
    TestElement* get(const QString& a_name)
    {
        QPointer<TestElement>& element = m_elements[a_name];
        if (!element && !m_deleted.contains(a_name))
            element = new TestElement(a_name, &m_log, &m_mode);
        return element;
    }
    void remove(const QString& a_name)
    {
        delete m_elements.value(a_name).data();
        m_deleted << a_name;
    }
    QStringList& log() { return m_log; }

private:
    TestElement m_camera{QStringLiteral("Camera")};
    TestElement m_mode{QStringLiteral("Mode"), nullptr, &m_camera};
    QStringList m_log;
    QMap<QString, QPointer<TestElement>> m_elements;
    QStringList m_deleted;
};

// Runs the steps of a_script (tests/undo/data/navigation-history.txt explains them).
void run(NavigationStack& a_stack, Elements& a_elements, const QString& a_script)
{
    for (const QString& step : a_script.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
        if (step == QLatin1String("<"))
            a_stack.back();
        else if (step == QLatin1String(">"))
            a_stack.forward();
        else if (step.startsWith(QLatin1Char('-')))
            a_elements.remove(step.mid(1));
        else if (step.startsWith(QLatin1Char('#')))
            a_stack.setIndex(static_cast<size_t>(step.mid(1).toULongLong()));
        else if (step.startsWith(QLatin1String("max")))
            a_stack.setMaxDepth(step.mid(3).toInt());
        else if (step.startsWith(QLatin1Char('e')))
            for (int i = 0; i < step.mid(1).toInt(); ++i)
                a_stack.recordVisit(a_elements.get(QStringLiteral("e%1").arg(i)));
        else
            a_stack.recordVisit(a_elements.get(step));
    }
}

// The entries ("-" for a deleted element) with the current one in brackets.
QString entries(const NavigationStack& a_stack)
{
    QStringList names;
    for (int i = 0; i < a_stack.count(); ++i) {
        const QString name = a_stack.elementAt(i) ? a_stack.elementAt(i)->name() : QStringLiteral("-");
        names << (i == a_stack.index() ? '[' + name + ']' : name);
    }
    return names.join(QLatin1Char(' '));
}

} // namespace

class TestNavigationStack : public QObject
{
    Q_OBJECT

private slots:
    void history_data()
    {
        OrvexTest::addTableRows(QStringLiteral("tests/undo/data/navigation-history.txt"),
                                {"script", "expected"});
    }

    // Going back or forward when it is not possible changes nothing and announces nothing.
    void history()
    {
        QFETCH(QByteArray, script);
        QFETCH(QByteArray, expected);

        Elements elements;
        NavigationStack stack;
        run(stack, elements, QString::fromUtf8(script));
        QSignalSpy enabledSpy(&stack, &NavigationStack::actionEnabled);
        QSignalSpy stateSpy(&stack, &NavigationStack::stateChanged);
        stack.emit_actionEnabled();
        QVERIFY(enabledSpy.count() == 1);
        const QString outcome = QStringLiteral("%1 %2%3")
                                    .arg(entries(stack))
                                    .arg(enabledSpy.at(0).at(0).toInt())
                                    .arg(enabledSpy.at(0).at(1).toInt());
        QCOMPARE(outcome.trimmed(), QString::fromUtf8(expected));
        if (!stack.canGoBack())
            stack.back();
        if (!stack.canGoForward())
            stack.forward();
        QCOMPARE((entries(stack) + outcome.right(3)).trimmed(), QString::fromUtf8(expected));
        QCOMPARE(stateSpy.count(), 0);
    }

    void raiseAndLowerAfterFlush()
    {
        Elements elements;
        NavigationStack stack;
        run(stack, elements, QStringLiteral("a b"));
        elements.get(QStringLiteral("b"))->raise();
        elements.log().clear();

        stack.back();
        QCOMPARE(stack.index(), 0);
        // Nothing acts until the event that caused the switch has been handled.
        QVERIFY(elements.log().isEmpty());
        QTRY_COMPARE(elements.log(), (QStringList{"lower b", "raise a"}));
        // The element raised by the switch reports itself as visited; that must not add an entry.
        run(stack, elements, QStringLiteral("a"));
        QCOMPARE(stack.count(), 2);

        // Switches that have not acted yet when their target goes leave the element that remains raised.
        elements.log().clear();
        run(stack, elements, QStringLiteral("> #0 -b"));
        Orvex::ElementBaseDelayQueue::instance()->flush();
        QCOMPARE(elements.log(), (QStringList{"lower a", "raise a"}));
    }

    // Entries of live elements only, named after the elements above them, with an arrow towards the
    // current one; selecting one goes there, unless its element has gone since the menu was filled.
    void historyMenu()
    {
        Elements elements;
        NavigationStack stack;
        run(stack, elements, QStringLiteral("e6 #3 -e1 -e4"));
        QMenu menu;
        stack.fillHistoryMenu(&menu);
        const QIcon behind = menu.style()->standardIcon(QStyle::SP_ArrowLeft);
        const QIcon ahead = menu.style()->standardIcon(QStyle::SP_ArrowRight);
        QStringList found;
        for (const QAction* entry : menu.actions()) {
            const QImage icon = entry->icon().pixmap(16, 16).toImage();
            const QString kind = entry->icon().isNull()                    ? "*"
                                 : icon == behind.pixmap(16, 16).toImage() ? "<"
                                 : icon == ahead.pixmap(16, 16).toImage()  ? ">"
                                                                           : "?";
            found << entry->text() + kind + QString::number(entry->isChecked());
        }
        QCOMPARE(found.join(", "), "Camera > Mode > e5>0, Camera > Mode > e3*1, Camera > Mode > e2<0, "
                                   "Camera > Mode > e0<0");

        menu.actions().at(2)->trigger();
        QCOMPARE(stack.index(), 2);
        elements.remove(QStringLiteral("e0"));
        menu.actions().at(3)->trigger();
        // Only integer data selects a position.
        menu.actions().at(0)->setData(QStringLiteral("3"));
        menu.actions().at(0)->trigger();
        QCOMPARE(stack.index(), 2);
    }
};

QTEST_MAIN(TestNavigationStack)
#include "tst_navigationstack.moc"
