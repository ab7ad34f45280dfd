#include "BoardFixtures.h"
#include "ElementFixtures.h"
#include "FileFixtures.h"
#include "board/PreviewAcqIf.h"
#include "board/QNBrdDataSource.h"
#include "board/QNBrdDisplayName.h"
#include "board/QNCamRegsAddressItemModel.h"
#include "elements/FeatureTableFeature.h"
#include "elements/FeatureTableFeatureModel.h"
#include "elements/StringFeature.h"
#include "platform/CameraSettings.h"
#include "platform/QNDriver.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace Orvex;
namespace BA = BufferAcquisition;
using State = Viewport::ImperativeAcquisitionInterface::State;

namespace {

// Board 0 is simulated, so the camera must come after it.
constexpr unsigned g_cameraBoard = 1;

const char* const g_cameraFile = R"(<quarnel_config><camera><modes>
  <mode name="Free"><Sensor><Width>64</Width><Height>48</Height><PixelFormat>Mono8</PixelFormat></Sensor>
    <Timing><FrameRate>200</FrameRate></Timing><Trigger><TriggerMode>Off</TriggerMode></Trigger></mode>
  <mode name="Wide"><Sensor><Width>32</Width><Height>16</Height><PixelFormat>Mono16</PixelFormat></Sensor></mode>
</modes></camera></quarnel_config>)";

BA::CameraSettings::Features parseFeatures(const QByteArray& a_text)
{
    BA::CameraSettings::Features features;
    for (const QByteArray& pair : a_text.split(';')) {
        const int equals = pair.indexOf('=');
        if (equals > 0)
            features.emplace_back(pair.left(equals).toStdString(), pair.mid(equals + 1).toStdString());
    }
    return features;
}

QByteArray joinFeatures(const BA::CameraSettings::Features& a_features)
{
    QByteArrayList pairs;
    for (const auto& feature : a_features)
        pairs << QByteArray::fromStdString(feature.first + "=" + feature.second);
    return pairs.join(';');
}

} // namespace

class TestAravis : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    std::unique_ptr<QNBrdDataSource> m_source;

    HwBrdHandle camera() const { return m_source->boardHandle(); }

private slots:
    void initTestCase()
    {
        QNCamSetInterfaces("Fake");
        QVERIFY(OrvexTest::loadSimBoards(m_dir.filePath("boards.json"),
                                         R"({"boards": [{"kind": "CoaXPress"}]})"));
        BA::CameraSettings::setConfigDir(ORVEX_SOURCE_DIR "/config");
        QVERIFY(OrvexTest::writeFile(m_dir.filePath("cam.lumex"), g_cameraFile));
        m_source = std::make_unique<QNBrdDataSource>(BoardTypes(BoardType::Camera));
        QVERIFY(m_source->openBoard(g_cameraBoard));
    }

    void listing()
    {
        QStringList names;
        for (const QNBrdDisplayName::Board& board : QNBrdDisplayName::boards(BoardType::AnyBoardType))
            names << QStringLiteral("%1 %2").arg(board.boardNumber).arg(board.name);
        QCOMPARE(names, QStringList({"0 Bd (0)", "1 Cam (1) - Aravis Fake (1)"}));
        QCOMPARE(QNBrdDisplayName::boards(BoardType::CoaXPress).size(), 1);
        QCOMPARE(m_source->currentText(), QStringLiteral("Cam (1) - Aravis Fake (1)"));
    }

    void registers_data()
    {
        OrvexTest::addTableRows("tests/platform/data/aravis/registers.txt",
                                {"op", "address", "value", "expect"});
    }
    void registers()
    {
        QFETCH(QByteArray, op);
        QFETCH(QByteArray, address);
        QFETCH(QByteArray, value);
        QFETCH(QByteArray, expect);
        const std::uint32_t at = address.toUInt(nullptr, 0);
        int status = QNStatusOk;
        if (op == "write")
            status = QNCXPWriteReg(camera(), at, value.toUInt(nullptr, 0));
        std::uint32_t read = 0;
        if (status == QNStatusOk)
            status = QNCXPReadReg(camera(), at, &read);
        QCOMPARE(status == QNStatusOk
                     ? QStringLiteral("0x%1").arg(read, 8, 16, QChar('0')).toUpper().replace("0X", "0x")
                     : QString::fromLatin1(QNStatusText(status)),
                 QString(expect));
    }

    void namedRegisters()
    {
        QNCamRegsAddressItemModel model(m_source.get());
        QSignalSpy read(&model, &QNCamRegsAddressItemModel::valuesRead);
        QVERIFY(read.wait(5000));
        QStringList rows;
        for (int row = 0; row < model.rowCount(); ++row) {
            const QModelIndex index = model.index(row, 0);
            const QString text = model.data(index).toString();
            if (text.startsWith("WidthRegister ") || text.startsWith("TestRegister "))
                rows << text + " | " + model.data(index, Qt::EditRole).toString();
        }
        QCOMPARE(rows, QStringList({"WidthRegister  0x00000100 = 0x00000200 | 0x00000100",
                                    "TestRegister  0x000001F0 = 0x12345678 | 0x000001F0"}));
    }

    // A register write's cell shows the name the camera gives its address; the value keeps only the address.
    void addressNote_data()
    {
        QTest::addColumn<QString>("address");
        QTest::addColumn<QString>("cell");
        QTest::newRow("named") << "0x000001F0"
                               << "0x000001F0  TestRegister";
        QTest::newRow("short form") << "0x100"
                                    << "0x100  WidthRegister";
        QTest::newRow("unnamed") << "0x00000FF0"
                                 << "0x00000FF0";
    }
    void addressNote()
    {
        QFETCH(QString, address);
        QFETCH(QString, cell);
        QNCamRegsAddressItemModel names(m_source.get());
        OrvexTest::HolderElement holder;
        FeatureTableFeature table(&holder);
        auto* field = new StringFeature(&table);
        field->setCompleterModel(&names);
        table.addMember(field);
        qobject_cast<StringFeature*>(table.member(0, 0))->setValue(address);
        const QModelIndex index = table.model()->index(0, FeatureTableFeatureModel::FirstMemberColumn);
        QCOMPARE(index.data().toString(), cell);
        QCOMPARE(index.data(Qt::EditRole).toString(), address);
    }

    void apply_data()
    {
        OrvexTest::addTableRows("tests/platform/data/aravis/apply.txt",
                                {"before", "features", "outcomes", "readback"});
    }
    void apply()
    {
        QFETCH(QByteArray, before);
        QFETCH(QByteArray, features);
        QFETCH(QByteArray, outcomes);
        QFETCH(QByteArray, readback);
        for (const BA::FeatureOutcome& outcome : BA::CameraSettings::apply(camera(), parseFeatures(before)))
            QCOMPARE(int(outcome.m_kind), int(BA::FeatureOutcome::Kind::Applied));
        const BA::CameraSettings::Features mode = parseFeatures(features);
        static const char* const kinds[] = {"applied", "clamped", "rejected", "missing"};
        QByteArrayList results;
        for (const BA::FeatureOutcome& outcome : BA::CameraSettings::apply(camera(), mode))
            results << QByteArray::fromStdString(outcome.m_feature + " " + kinds[int(outcome.m_kind)] + " " +
                                                 outcome.m_detail)
                           .trimmed();
        QCOMPARE(results.join(" / "), outcomes);
        std::vector<std::string> names;
        for (const auto& feature : mode)
            names.push_back(feature.first);
        QCOMPARE(joinFeatures(BA::CameraSettings::read(camera(), names)), readback);
    }

    void preview()
    {
        PreviewAcqIf acquisition(g_cameraBoard, m_dir.filePath("cam.lumex"), QStringLiteral("Free"));
        QVERIFY(acquisition.setupMode(QStringLiteral("Free")));
        QCOMPARE(acquisition.pixelLayout(), Viewport::PixelLayout::Mono8);
        std::uint32_t width = 0;
        QCOMPARE(QNCXPReadReg(camera(), 0x100, &width), int(QNStatusOk));
        QCOMPARE(width, 64u);
        QVERIFY(QNInterruptClearCounters(camera()) == QNStatusOk);
        QVERIFY(acquisition.startFixed(5));
        QTRY_COMPARE_WITH_TIMEOUT(acquisition.acquisitionState(), State::Stopped, 10000);
        QCOMPARE(acquisition.framesDelivered(), quint64(5));
        QNInterruptCounters counters;
        QCOMPARE(QNInterruptGetCounters(camera(), &counters), int(QNStatusOk));
        QCOMPARE(counters.m_frames, std::uint64_t(5));

        QVERIFY(acquisition.start());
        QTRY_VERIFY_WITH_TIMEOUT(acquisition.framesDelivered() > 0, 10000);
        QVERIFY(acquisition.pause());
        QCOMPARE(acquisition.acquisitionState(), State::Paused);
        QCOMPARE(acquisition.frameRate(), 0.0);

        // The in-process camera runs freely whatever its trigger mode; the trigger reaches it all the same.
        QVERIFY(acquisition.trigger());
        QCOMPARE(QNInterruptGetCounters(camera(), &counters), int(QNStatusOk));
        QCOMPARE(counters.m_triggers, std::uint64_t(1));

        QVERIFY(acquisition.setupMode(QStringLiteral("Wide")));
        QCOMPARE(acquisition.pixelLayout(), Viewport::PixelLayout::Mono16);
        QVERIFY(acquisition.startFixed(2));
        QTRY_COMPARE_WITH_TIMEOUT(acquisition.acquisitionState(), State::Stopped, 10000);
        QCOMPARE(acquisition.framesDelivered(), quint64(2));
    }
};

QTEST_MAIN(TestAravis)
#include "tst_aravis.moc"
