#include "BoardFixtures.h"
#include "FileFixtures.h"
#include "TestSupport.h"
#include "app/LumexExtraDataDialog.h"
#include "widgets/DialogSeam.h"

#include <QCheckBox>
#include <QMetaEnum>
#include <QRegularExpression>
#include <QTest>
#include <QTreeWidget>

using namespace Orvex;

namespace {

// One line per item, indented by depth: name, value and "*" for extra data.
void describe(const QTreeWidgetItem* a_item, int a_depth, QStringList& a_lines)
{
    if (a_depth >= 0)
        a_lines << QString(a_depth * 2, QLatin1Char(' ')) + a_item->text(0) + " = " + a_item->text(1) +
                       (a_item->data(0, LumexExtraDataDialog::ExtraDataRole).toBool() ? " *" : "");
    for (int index = 0; index < a_item->childCount(); ++index)
        describe(a_item->child(index), a_depth + 1, a_lines);
}

QStringList describe(const QTreeWidget* a_tree)
{
    QStringList lines;
    describe(a_tree->invisibleRootItem(), -1, lines);
    return lines;
}

} // namespace

class TestDialogs : public QObject
{
    Q_OBJECT

private slots:
    void seamFallbacks_data()
    {
        OrvexTest::addTableRows("tests/app/data/seam-answers.txt",
                                {"buttons", "defaultButton", "queued", "answer", "fromQueue"});
    }

    void seamFallbacks()
    {
        const auto button = [](const char* a_column) {
            const QMetaEnum names = QMetaEnum::fromType<QMessageBox::StandardButtons>();
            return names.keysToValue(OrvexTest::field(a_column).replace(' ', '|').constData());
        };
        const int buttons = button("buttons");
        const int defaultButton = button("defaultButton");
        const int queued = OrvexTest::field("queued").isEmpty() ? -1 : button("queued");
        const int answer = button("answer");
        const bool fromQueue = OrvexTest::field("fromQueue") == "1";

        DialogSeam::reset();
        DialogSeam::setTestMode(true);
        if (queued >= 0)
            DialogSeam::queueAnswer(QMessageBox::StandardButton(queued));
        if (queued >= 0 && !fromQueue)
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression("not a button of Title"));
        const QMessageBox::StandardButton given =
            DialogSeam::warning(nullptr, "Title", "<p>Text</p>", QMessageBox::StandardButtons(buttons),
                                QMessageBox::StandardButton(defaultButton));
        QCOMPARE(int(given), answer);
        QCOMPARE(DialogSeam::pendingAnswers(), 0);
        const QList<DialogSeam::Record> log = DialogSeam::log();
        QCOMPARE(log.size(), 1);
        QCOMPARE(log[0].m_kind, DialogSeam::Kind::Warning);
        QCOMPARE(log[0].m_text, QStringLiteral("<p>Text</p>"));
        QCOMPARE(int(log[0].m_answer), answer);
        QCOMPARE(log[0].m_fromQueue, fromQueue);

        // Choosers answer from their own queue, not from the message boxes' one.
        DialogSeam::queueAnswer(QMessageBox::Ok);
        QCOMPARE(DialogSeam::openFileName(nullptr, "Open", "/tmp", "Any (*)"), QString());
        DialogSeam::queueFileName("/tmp/a.lumex");
        QCOMPARE(DialogSeam::saveFileName(nullptr, "Save", "/tmp", "Any (*)"),
                 QStringLiteral("/tmp/a.lumex"));
        QCOMPARE(DialogSeam::pendingAnswers(), 1);
        DialogSeam::reset();
        QVERIFY(!DialogSeam::testMode());
        QVERIFY(DialogSeam::log().isEmpty());
    }

    // One case per folder, named after the content of its file that the schema does not know.
    void extraDataTree_data() { OrvexTest::addFolderRows("tests/app/data/extradata"); }

    void extraDataTree()
    {
        QFETCH(QString, folder);
        const QStringList lines =
            QString(OrvexTest::fileBytes(folder + "/expected.txt")).split('\n', Qt::SkipEmptyParts);

        OrvexTest::CameraDocument document;
        document.load(folder + "/camera.lumex", OrvexTest::sourcePath("tests/undo/data/commands/camera.xsd"));
        LumexExtraDataDialog dialog;
        dialog.fill(&document.tree);
        QCOMPARE(describe(dialog.tree()), lines);
        QCOMPARE(dialog.hasExtraData(), !lines.isEmpty());

        // A refill replaces the contents; no document empties the tree.
        dialog.fill(&document.tree);
        QCOMPARE(describe(dialog.tree()), lines);
        dialog.fill(nullptr);
        QCOMPARE(dialog.tree()->topLevelItemCount(), 0);
        QVERIFY(!dialog.hasExtraData());

        // Each document starts by keeping its extra data, whatever the previous one chose.
        auto* preserve = dialog.findChild<QCheckBox*>();
        QVERIFY(preserve && dialog.preserveExtraData());
        preserve->click();
        QVERIFY(!dialog.preserveExtraData());
        dialog.reset();
        QVERIFY(dialog.preserveExtraData() && preserve->isChecked());
    }
};

QTEST_MAIN(TestDialogs)
#include "tst_dialogs.moc"
