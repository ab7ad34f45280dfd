#include "BoardFixtures.h"
#include "FileFixtures.h"
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

    // The only board of the kind asked for is chosen, by its number, not by its row.
    void onlyBoardOfTheKindChosen()
    {
        QNBrdModeOpenDialog dialog;
        dialog.setBoardTypeFilter(BoardType::CoaXPress);
        QCOMPARE(dialog.boardNames(), QStringList{"Bd (1) - Beta - Quad"});
        QCOMPARE(dialog.currentBoardNumber(), 1);
    }

    void selection_data()
    {
        OrvexTest::addTableRows("tests/board/data/mode-dialog-choice.txt",
                                {"modes", "board", "mode", "currentBoard", "currentMode"});
    }

    void selection()
    {
        QFETCH(QByteArray, modes);
        QFETCH(QByteArray, mode);
        QFETCH(QByteArray, currentBoard);
        QFETCH(QByteArray, currentMode);
        QNBrdModeOpenDialog dialog;
        dialog.setProperty("modes", QString(modes).split(','));
        // A choice made earlier must not survive an unlisted one.
        dialog.setProperty("currentBoardNumber", 0);
        dialog.setProperty("currentBoardNumber", OrvexTest::field("board").toInt());
        if (!mode.isEmpty())
            dialog.setProperty("currentMode", QString(mode));

        QCOMPARE(dialog.property("currentBoardNumber").toInt(), currentBoard.toInt());
        QCOMPARE(dialog.property("currentMode").toString(), QString(currentMode));
        QPushButton* open = nullptr;
        for (QPushButton* button : dialog.findChildren<QPushButton*>())
            open = button->text() == QLatin1String("Open") ? button : open;
        QCOMPARE(open->isEnabled(), currentBoard.toInt() >= 0 && !currentMode.isEmpty());
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
