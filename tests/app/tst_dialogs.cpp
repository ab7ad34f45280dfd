#include "BoardFixtures.h"
#include "FileFixtures.h"
#include "app/LumexExtraDataDialog.h"
#include "model/LumexTree.h"
#include "model/LumexTreeElement.h"
#include "model/LumexTreeMode.h"
#include "widgets/DialogSeam.h"

#include <QCheckBox>
#include <QMetaEnum>
#include <QRegularExpression>
#include <QTest>
#include <QTreeWidget>

using namespace Orvex;

namespace {

class FakeMode : public QObject
{
    Q_OBJECT
    Q_PROPERTY(quint64 id READ id)
    Q_PROPERTY(QString name READ name)

public:
    quint64 id() const { return 41; }
    QString name() const { return QStringLiteral("Fast"); }
};

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

// a_kind names the node's flag property.
LumexTreeElement* add(LumexTreeElement* a_parent, const QString& a_name, const QByteArray& a_value,
                      const char* a_kind = nullptr)
{
    LumexTreeElement* node = a_parent->addChild(a_name);
    node->setValue(a_value);
    if (a_kind)
        node->setProperty(a_kind, true);
    return node;
}

// A compliant camera with features, a mode template and one attached mode; a_extras adds what the
// schema does not know.
void buildTree(LumexTree& a_tree, FakeMode& a_mode, const QStringList& a_extras)
{
    const QStringList features{"quarnel_config", "camera", "features"};
    LumexTreeElement* model = a_tree.elementByPath(features + QStringList{"Model"}, true);
    model->setValue("QC-4M180");
    a_tree.elementByPath(features + QStringList{"SerialNumber"}, true)->setValue("QC24");
    a_tree.elementByPath({"quarnel_config", "camera", "modes", "mode", "Sensor", "Width"}, true);
    LumexTreeMode* mode = a_tree.attachMode(&a_mode);
    QVERIFY(mode);

    if (a_extras.contains("comment"))
        add(a_tree.elementByPath({"quarnel_config"}, true), "", " Quarnel Imaging QC-4M180 ", "isComment");
    if (a_extras.contains("attribute"))
        add(model, "revision", "B", "isAttribute");
    if (a_extras.contains("element")) {
        LumexTreeElement* vendor = add(a_tree.elementByPath(features, true), "Vendor", "");
        add(vendor, "id", "7", "isAttribute");
        add(vendor, "", "\n   Quarnel\n   Imaging ", "isText");
    }
    if (a_extras.contains("mode"))
        add(mode->childByName("Sensor"), "Binning", "2");
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

    // One case per folder, named after the content added that the schema does not know.
    void extraDataTree_data() { OrvexTest::addFolderRows("tests/app/data/extradata"); }

    void extraDataTree()
    {
        QFETCH(QString, folder);
        const QStringList lines =
            QString(OrvexTest::fileBytes(folder + "/expected.txt")).split('\n', Qt::SkipEmptyParts);

        LumexTree tree("camera.lumex");
        FakeMode mode;
        buildTree(tree, mode, {QFileInfo(folder).fileName()});
        LumexExtraDataDialog dialog;
        dialog.fill(&tree);
        QCOMPARE(describe(dialog.tree()), lines);
        QCOMPARE(dialog.hasExtraData(), !lines.isEmpty());

        // A refill replaces the contents; no document empties the tree.
        dialog.fill(&tree);
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
