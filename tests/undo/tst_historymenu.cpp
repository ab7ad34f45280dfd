#include "undo/HistoryMenu.h"

#include <QAction>
#include <QActionGroup>
#include <QMenu>
#include <QtTest>

using Orvex::HistoryMenu;

class TestHistoryMenu : public QObject
{
    Q_OBJECT

private slots:
    void span_data()
    {
        QTest::addColumn<int>("count");
        QTest::addColumn<int>("current");
        QTest::addColumn<QString>("expected"); // newest and oldest position listed

        QTest::newRow("one, before it") << 1 << -1 << "0 0";
        QTest::newRow("three, at the first") << 3 << 0 << "2 0";
        QTest::newRow("fifteen, near the start") << 15 << 1 << "11 0";
        QTest::newRow("twenty, before the first") << 20 << -1 << "19 0";
        QTest::newRow("thirty, at the first") << 30 << 0 << "19 0";
        QTest::newRow("thirty, at the last") << 30 << 29 << "29 10";
        QTest::newRow("forty, in the middle") << 40 << 20 << "30 11";
    }

    // Twenty entries at most, up to ten of them beyond the current one, and a full menu whenever the
    // history allows.
    void span()
    {
        QFETCH(int, count);
        QFETCH(int, current);
        QFETCH(QString, expected);
        const auto [first, last] = HistoryMenu::span(count, current);
        QCOMPARE(QStringLiteral("%1 %2").arg(first).arg(last), expected);
    }

    // Texts are cut after 64 characters; entries share one exclusive group, also when a cleared menu is
    // filled again; only the current one is checked and bold.
    void entries()
    {
        const QString x61(61, QLatin1Char('x'));
        QCOMPARE(HistoryMenu::shortened(x61 + "abc"), x61 + "abc");
        QCOMPARE(HistoryMenu::shortened(x61 + "abcd"), x61 + "...");

        QMenu menu;
        for (int fill = 0; fill < 2; ++fill) {
            menu.clear();
            HistoryMenu history(&menu, QStringLiteral("group"));
            history.addEntry(QIcon(), QStringLiteral("a"), QStringLiteral("tip a"));
            HistoryMenu::markCurrent(history.addEntry(QIcon(), QStringLiteral("b"), QString()));
        }
        QCOMPARE(menu.findChildren<QActionGroup*>().size(), 1);
        QStringList found;
        for (const QAction* entry : menu.actions()) {
            QVERIFY(entry->isCheckable() && entry->actionGroup() == menu.findChild<QActionGroup*>());
            found << QStringLiteral("%1 %2 %3%4")
                         .arg(entry->text(), entry->toolTip())
                         .arg(entry->isChecked())
                         .arg(entry->font().bold());
        }
        QCOMPARE(found, (QStringList{"a tip a 00", "b b 11"}));
        QVERIFY(menu.findChild<QActionGroup*>()->isExclusive());
    }
};

QTEST_MAIN(TestHistoryMenu)
#include "tst_historymenu.moc"
