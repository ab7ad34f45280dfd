#include "BoardFixtures.h"
#include "board/QNBrdModeOpenDialog.h"

#include <QListWidget>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>

using namespace Orvex;

class TestModeOpenDialog : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;

private slots:
    void initTestCase()
    {
        QVERIFY(OrvexTest::loadSimBoards(m_dir.filePath("boards.json"), R"({"boards": [
            {"kind": "CameraLink", "mk2": true, "model": "Alpha", "serial": 5},
            {"kind": "CoaXPress", "mk2": true, "model": "Beta", "variant": "Quad"},
            {"kind": "CameraLink", "mk2": false}]})"));
    }

    void boardsByFilter_data()
    {
        QTest::addColumn<int>("filter");
        QTest::addColumn<QList<int>>("numbers");
        QTest::addColumn<QStringList>("names");
        QTest::addColumn<int>("selected");

        const QString alpha = QStringLiteral("Bd (0) - Alpha (SN 5)");
        const QString beta = QStringLiteral("Bd (1) - Beta - Quad");
        QTest::newRow("none") << 0 << QList<int>() << QStringList() << -1;
        QTest::newRow("Camera Link") << 1 << QList<int>{0, 2} << QStringList{alpha, "Bd (2)"} << -1;
        QTest::newRow("CoaXPress, the only board chosen") << 2 << QList<int>{1} << QStringList{beta} << 1;
        QTest::newRow("any") << 3 << QList<int>{0, 1, 2} << QStringList{alpha, beta, "Bd (2)"} << -1;
    }

    void boardsByFilter()
    {
        QFETCH(int, filter);
        QFETCH(QList<int>, numbers);
        QFETCH(QStringList, names);
        QFETCH(int, selected);

        QNBrdModeOpenDialog dialog;
        QVERIFY(dialog.setProperty("boardTypeFilter", QVariant::fromValue(BoardTypes(filter))));
        QCOMPARE(dialog.property("boardNumbers").value<QList<int>>(), numbers);
        QCOMPARE(dialog.property("boardNames").toStringList(), names);
        QCOMPARE(dialog.property("boardCount").toInt(), numbers.size());
        QCOMPARE(dialog.property("currentBoardNumber").toInt(), selected);
    }

    void selection_data()
    {
        QTest::addColumn<QStringList>("modes");
        QTest::addColumn<int>("board");
        QTest::addColumn<QString>("mode");
        QTest::addColumn<int>("currentBoard");
        QTest::addColumn<QString>("currentMode");

        const QStringList two{"Default", "Fast"};
        QTest::newRow("board only") << two << 1 << "" << 1 << "";
        QTest::newRow("mode only") << two << -1 << "Fast" << -1 << "Fast";
        QTest::newRow("both") << two << 2 << "Fast" << 2 << "Fast";
        QTest::newRow("unlisted board and mode") << two << 7 << "Slow" << -1 << "";
        QTest::newRow("the only mode chosen") << QStringList{"Default"} << 0 << "" << 0 << "Default";
    }

    void selection()
    {
        QFETCH(QStringList, modes);
        QFETCH(int, board);
        QFETCH(QString, mode);
        QFETCH(int, currentBoard);
        QFETCH(QString, currentMode);

        QNBrdModeOpenDialog dialog;
        dialog.setProperty("modes", modes);
        // A choice made earlier must not survive an unlisted one.
        dialog.setProperty("currentBoardNumber", 0);
        dialog.setProperty("currentBoardNumber", board);
        if (!mode.isEmpty())
            dialog.setProperty("currentMode", mode);

        QCOMPARE(dialog.property("currentBoardNumber").toInt(), currentBoard);
        QCOMPARE(dialog.property("currentMode").toString(), currentMode);
        QPushButton* open = nullptr;
        for (QPushButton* button : dialog.findChildren<QPushButton*>())
            open = button->text() == QLatin1String("Open") ? button : open;
        QCOMPARE(open->isEnabled(), currentBoard >= 0 && !currentMode.isEmpty());
    }

    void doubleClickAcceptsOnlyAWholeChoice()
    {
        QNBrdModeOpenDialog dialog;
        dialog.setModes({"Default", "Fast"});
        dialog.show();
        QVERIFY(QTest::qWaitForWindowExposed(&dialog));
        auto* boards = dialog.findChild<QListWidget*>(QStringLiteral("boardList"));
        QVERIFY(boards);
        const QPoint second = boards->visualItemRect(boards->item(1)).center();

        for (const QString& mode : {QString(), QStringLiteral("Fast")}) {
            dialog.setCurrentMode(mode);
            // A real double-click starts as a click: the view acts only on the item it saw pressed.
            QTest::mouseClick(boards->viewport(), Qt::LeftButton, Qt::NoModifier, second);
            QTest::mouseDClick(boards->viewport(), Qt::LeftButton, Qt::NoModifier, second);
            QCOMPARE(dialog.currentBoardNumber(), 1);
            QCOMPARE(dialog.isVisible(), mode.isEmpty());
        }
        QCOMPARE(dialog.result(), int(QDialog::Accepted));
    }
};

QTEST_MAIN(TestModeOpenDialog)
#include "tst_modeopendialog.moc"
