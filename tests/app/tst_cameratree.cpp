#include "FileFixtures.h"
#include "app/CameraTreeModel.h"
#include "elements/CameraElement.h"
#include "elements/ModeElement.h"
#include "elements/UndoRedoStack.h"
#include "elements/WindowElement.h"
#include "widgets/DialogSeam.h"

#include <QAbstractItemModelTester>
#include <QItemSelectionModel>
#include <QMimeData>
#include <QSignalSpy>
#include <QTest>

#include <memory>

using namespace Orvex;

namespace {

// A document of modes without categories, the tree over it, and the checks run on every change.
struct Document
{
    explicit Document(const QStringList& a_modes)
    {
        for (const QString& name : a_modes) {
            auto* mode = new ModeElement(element.camera());
            mode->setName(name);
            element.camera()->appendMode(mode);
        }
        model.setWindowElement(&element);
    }

    QStringList rows() const
    {
        QStringList names;
        for (int row = 0; row < model.rowCount(model.cameraIndex()); ++row)
            names << model.modeIndex(row).data().toString();
        return names;
    }

    QStringList cameraOrder() const
    {
        QStringList names;
        for (const ModeElement* mode : element.camera()->modes())
            names << mode->name();
        return names;
    }

    UndoRedoStack* stack() const { return element.undoRedoStack(); }

    WindowElement element{nullptr};
    CameraTreeModel model{nullptr};
    QAbstractItemModelTester tester{&model, QAbstractItemModelTester::FailureReportingMode::QtTest};
};

} // namespace

class TestCameraTree : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        DialogSeam::reset();
        DialogSeam::setTestMode(true);
    }

    void moveWrapsAround_data()
    {
        QTest::addColumn<int>("selected");
        QTest::addColumn<bool>("up");
        QTest::addColumn<QStringList>("order");

        QTest::newRow("middle up") << 1 << true << QStringList{"B", "A", "C"};
        QTest::newRow("middle down") << 1 << false << QStringList{"A", "C", "B"};
        QTest::newRow("first up swaps with last") << 0 << true << QStringList{"C", "B", "A"};
        QTest::newRow("last down swaps with first") << 2 << false << QStringList{"C", "B", "A"};
    }

    void moveWrapsAround()
    {
        QFETCH(int, selected);
        QFETCH(bool, up);
        QFETCH(QStringList, order);

        Document document({"A", "B", "C"});
        const QString moved = document.rows().at(selected);
        document.model.selectPosition(selected);
        QSignalSpy treeChanged(&document.model, &CameraTreeModel::treeChanged);
        if (up)
            document.model.moveModeUp();
        else
            document.model.moveModeDown();

        QCOMPARE(document.rows(), order);
        QCOMPARE(document.cameraOrder(), order);
        QCOMPARE(document.model.selectedMode()->name(), moved);
        QVERIFY(!treeChanged.isEmpty());
        document.stack()->unapply();
        QCOMPARE(document.rows(), (QStringList{"A", "B", "C"}));
        document.stack()->reapply();
        QCOMPARE(document.rows(), order);
    }

    void rename_data()
    {
        OrvexTest::addTableRows("tests/app/data/mode-rename.txt", {"typed", "expected", "refusal"});
    }

    void rename()
    {
        QFETCH(QByteArray, typed);
        QFETCH(QByteArray, expected);
        QFETCH(QByteArray, refusal);

        Document document({"A", "B"});
        QSignalSpy labelsChanged(&document.model, &CameraTreeModel::labelsChanged);
        const bool accepted = document.model.setData(document.model.modeIndex(1), QString(typed));

        QCOMPARE(accepted, refusal.isEmpty());
        QCOMPARE(document.rows(), (QStringList{"A", QString(expected)}));
        const QList<DialogSeam::Record> log = DialogSeam::log();
        if (refusal.isEmpty()) {
            QVERIFY(log.isEmpty());
            QCOMPARE(labelsChanged.count(), 1);
            document.stack()->unapply();
            QCOMPARE(document.rows(), (QStringList{"A", "B"}));
            QCOMPARE(labelsChanged.count(), 2);
        } else {
            QCOMPARE(log.size(), 1);
            QCOMPARE(log.first().m_title, QStringLiteral("Mode Name Error"));
            QCOMPARE(log.first().m_text, QString(refusal));
            QCOMPARE(document.stack()->count(), 0);
        }
    }

    void cloneAndDelete()
    {
        Document document({"Default", "Fast"});
        QVERIFY(!document.model.canCloneMode());
        document.model.selectPosition(0);
        QVERIFY(document.model.canDeleteMode());

        document.model.cloneMode();
        QCOMPARE(document.rows(), (QStringList{"Default", "Default_1", "Fast"}));
        QCOMPARE(document.model.selectedPosition(), 1);

        document.model.deleteMode();
        document.model.selectPosition(0);
        document.model.deleteMode();
        QCOMPARE(document.rows(), QStringList{"Fast"});
        QVERIFY(!document.model.canDeleteMode());

        document.stack()->unapply();
        QCOMPARE(document.rows(), (QStringList{"Default", "Fast"}));
        document.stack()->unapply();
        QCOMPARE(document.rows(), (QStringList{"Default", "Default_1", "Fast"}));
        document.stack()->unapply();
        QCOMPARE(document.rows(), (QStringList{"Default", "Fast"}));
        document.stack()->reapply();
        QCOMPARE(document.rows(), (QStringList{"Default", "Default_1", "Fast"}));
    }

    void dragsModeName()
    {
        Document document({"Default", "Fast"});
        QVERIFY(document.model.flags(document.model.modeIndex(1)).testFlag(Qt::ItemIsDragEnabled));
        QVERIFY(!document.model.flags(document.model.cameraIndex()).testFlag(Qt::ItemIsDragEnabled));

        std::unique_ptr<QMimeData> mime(document.model.mimeData({document.model.modeIndex(1)}));
        QVERIFY(mime);
        QCOMPARE(mime->data("QuarnelOrvex/ModeNameString"), QByteArray("Fast"));
        QVERIFY(!document.model.mimeData({document.model.cameraIndex()}));
    }
};

QTEST_MAIN(TestCameraTree)
#include "tst_cameratree.moc"
