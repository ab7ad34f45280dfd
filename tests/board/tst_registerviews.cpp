#include "BoardFixtures.h"
#include "ElementFixtures.h"
#include "FileFixtures.h"
#include "board/Dec2HexValueObserver.h"
#include "board/QNBrdDataSource.h"
#include "board/QNBrdRegsAddressItemModel.h"
#include "board/QNBrdRegsDataItemModel.h"
#include "board/QNBrdRegsValueObserver.h"
#include "board/QNCxpRegsDataItemModel.h"
#include "board/QNCxpRegsValueObserver.h"
#include "elements/FeatureListFeature.h"
#include "elements/StringFeature.h"
#include "platform/QNDriver.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace Orvex;
using OrvexTest::HolderElement;

namespace {

// Board 0: Camera Link; board 1: CoaXPress with a camera. Names are listed out of order on purpose.
const char* const g_machine = R"({"boards": [
    {"kind": "CameraLink", "registers": {"Gain": {"id": 10, "value": 31},
                                         "Exposure": {"id": 3676, "value": 4294967295},
                                         "Blank": {"id": 0, "value": 0}}},
    {"kind": "CoaXPress", "registers": {"Width": {"id": 5, "value": 2048}},
     "cameraRegisters": {"0x2000": 3735928559, "0x20FC": 255, "0x6000 Height": 1024}}
]})";

// A register write list "reg" with two instances of the members "address" and "data".
struct RegisterWrites
{
    HolderElement holder;
    FeatureListFeature* list = new FeatureListFeature(&holder);

    explicit RegisterWrites(const QList<ValueFeatureObserverBase*>& a_addressObservers = {})
    {
        list->setName("reg");
        list->setMaxOccurs(2);
        list->setMinOccurs(2);
        auto* address = new StringFeature(list);
        address->setName("address");
        for (ValueFeatureObserverBase* observer : a_addressObservers)
            address->addObserver(observer);
        auto* data = new StringFeature(list);
        data->setName("data");
        data->setValue(QStringLiteral("keep"));
        list->addMember(address);
        list->addMember(data);
    }
    StringFeature* member(size_t a_instance, const char* a_name) const
    {
        return qobject_cast<StringFeature*>(
            list->member(a_instance, qstrcmp(a_name, "address") == 0 ? 0 : 1));
    }
};

} // namespace

class TestRegisterViews : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;

private slots:
    void initTestCase()
    {
        OrvexTest::isolateSettings(QStringLiteral("OrvexRegisterViewsTest"));
        QVERIFY(OrvexTest::loadSimBoards(m_dir.filePath("boards.json"), g_machine));
    }

    void dec2hex_data() { OrvexTest::addTableRows("tests/board/data/dec2hex.txt", {"typed", "stored"}); }

    void dec2hex()
    {
        QFETCH(QByteArray, typed);
        Dec2HexValueObserver observer;
        HolderElement holder;
        StringFeature feature(&holder);
        feature.addObserver(&observer);
        QSignalSpy changes(&feature, &ValueFeatureElementBase::valueChanged);
        feature.userSetValue(0, QString(typed));
        QCOMPARE(feature.stringValue(), QString(OrvexTest::field("stored")));
        QCOMPARE(changes.count(), typed.isEmpty() ? 0 : 1);
    }

    void addressTable_data()
    {
        OrvexTest::addTableRows("tests/board/data/register-names.txt", {"board", "names", "lookup", "id"});
    }

    void addressTable()
    {
        QFETCH(QByteArray, board);
        QFETCH(QByteArray, id);
        QNBrdDataSource source;
        source.setBoard(1);
        QNBrdRegsAddressItemModel model(&source);
        QCOMPARE(model.rowCount(), 1);
        QSignalSpy resets(&model, &QAbstractItemModel::modelReset);

        source.setBoard(board == "none" ? QNBrdDataSource::noBoard : board.toUInt());
        QCOMPARE(resets.count(), board == "1" ? 0 : 1);
        QStringList listed;
        for (int row = 0; row < model.rowCount(); ++row)
            listed << model.data(model.index(row, 0)).toString();
        QCOMPARE(listed, QString(OrvexTest::field("names")).split(',', Qt::SkipEmptyParts));
        QCOMPARE(model.registerId(QString(OrvexTest::field("lookup"))),
                 id == "none" ? QNRegIdCount : id.toUInt());
    }

    void dataRows_data()
    {
        OrvexTest::addTableRows("tests/board/data/register-completer.txt",
                                {"kind", "board", "address", "typed", "hexValue", "currentValue"});
    }

    void dataRows()
    {
        QFETCH(QByteArray, board);
        QFETCH(QByteArray, address);
        const bool camera = OrvexTest::field("kind") == "camera";
        const QString hexRow = "Hex: " + OrvexTest::field("hexValue");
        const QString currentRow = (camera ? "Cam: " : "Reg: ") + OrvexTest::field("currentValue");
        QNBrdDataSource source;
        QNBrdRegsAddressItemModel addressModel(&source);
        QScopedPointer<StringFeatureCompleterItemModel> model;
        if (camera)
            model.reset(new QNCxpRegsDataItemModel(&source));
        else
            model.reset(new QNBrdRegsDataItemModel(&addressModel));
        RegisterWrites writes;
        // Instance 0 names a register too, so that reading the wrong instance shows.
        writes.member(0, "address")->setValue(camera ? "0x6000" : "Blank");
        writes.member(1, "address")->setValue(QString(address));

        // Board 0 is open until the row's board replaces it, which must be read anew.
        model->setSource(writes.member(1, "data"), 0);
        source.setBoard(board == "none" ? QNBrdDataSource::noBoard : board.toUInt());
        model->setLatestValue(QString(OrvexTest::field("typed")));
        QCOMPARE(model->rowCount(), 2);
        const QModelIndex hex = model->index(0, 0);
        const QModelIndex current = model->index(1, 0);
        QCOMPARE(model->data(hex).toString(), hexRow);
        QCOMPARE(model->data(current).toString(), currentRow);
        QCOMPARE(model->data(hex, Qt::EditRole).toString(), hexRow.mid(5));
        QCOMPARE(model->data(current, Qt::EditRole).toString(), currentRow.mid(5));
        QVERIFY(!model->data(model->index(2, 0)).isValid());

        model->clearSource();
        QCOMPARE(model->data(current).toString(), currentRow.left(5) + "0x00000000");
    }

    void observers_data()
    {
        OrvexTest::addTableRows("tests/board/data/register-observers.txt",
                                {"kind", "board", "typed", "address", "data"});
    }

    void observers()
    {
        QFETCH(QByteArray, board);
        QFETCH(QByteArray, address);
        QFETCH(QByteArray, data);
        QNBrdDataSource source;
        QNBrdRegsAddressItemModel addressModel(&source);
        Dec2HexValueObserver dec2hex;
        QNBrdRegsValueObserver boardObserver(&addressModel);
        QNCxpRegsValueObserver cameraObserver(&source);
        source.setBoard(board == "none" ? QNBrdDataSource::noBoard : board.toUInt());
        RegisterWrites writes(OrvexTest::field("kind") == "camera"
                                  ? QList<ValueFeatureObserverBase*>{&dec2hex, &cameraObserver}
                                  : QList<ValueFeatureObserverBase*>{&boardObserver});
        QSignalSpy dataChanges(writes.member(1, "data"), &ValueFeatureElementBase::valueChanged);

        writes.member(1, "address")->userSetValue(0, QString(OrvexTest::field("typed")));
        QCOMPARE(writes.member(1, "address")->stringValue(), QString(address));
        QCOMPARE(writes.member(1, "data")->stringValue(), QString(data));
        QCOMPARE(dataChanges.count(), data == "keep" ? 0 : 1);
        QCOMPARE(writes.member(0, "data")->stringValue(), QStringLiteral("keep"));
    }
};

QTEST_MAIN(TestRegisterViews)
#include "tst_registerviews.moc"
