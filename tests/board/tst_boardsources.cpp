#include "BoardFixtures.h"
#include "ElementFixtures.h"
#include "FileFixtures.h"
#include "board/Dec2HexValueObserver.h"
#include "board/QNBrdAttachedFilesSource.h"
#include "board/QNBrdDataSource.h"
#include "board/QNBrdModeOpenDialog.h"
#include "board/QNBrdRegsAddressItemModel.h"
#include "board/QNBrdRegsDataItemModel.h"
#include "board/QNBrdRegsValueObserver.h"
#include "board/QNCxpRegsDataItemModel.h"
#include "board/QNCxpRegsValueObserver.h"
#include "board/RegisterFeatureWiring.h"
#include "elements/FeatureListFeature.h"
#include "elements/StringFeature.h"
#include "platform/QNDriver.h"
#include "widgets/DragMenu.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QToolButton>
#include <QUrl>

#include <memory>

using namespace Orvex;
using OrvexTest::HolderElement;

namespace {

const QString g_alpha = QStringLiteral("Bd (0) - Alpha - Full (SN 11)");
const QString g_beta = QStringLiteral("Bd (1) - Beta");

QJsonObject board(const QString& a_kind, bool a_mk2, const QString& a_model = {},
                  const QStringList& a_camList = {}, const QString& a_variant = {}, int a_serial = 0)
{
    QJsonObject result{
        {"kind", a_kind}, {"mk2", a_mk2}, {"model", a_model}, {"variant", a_variant}, {"serial", a_serial}};
    if (!a_camList.isEmpty())
        result["registry"] = QJsonObject{{"QNCamList", QJsonArray::fromStringList(a_camList)}};
    return result;
}

// Board 0: Camera Link with files; 1: CoaXPress with files; 2: an older board, never scanned.
QJsonArray threeBoards(const QStringList& a_cxpFiles = {"b.lumex"})
{
    return {board("CameraLink", true, "Alpha", {"Fast@a.lumex", "a.lumex"}, "Full", 11),
            board("CoaXPress", true, "Beta", a_cxpFiles), board("CameraLink", false, {}, {"a.lumex"})};
}

bool handleOpen(HwBrdHandle a_handle)
{
    return QNIsCL(a_handle) || QNIsCXP(a_handle);
}

// One line per action: "!" marks a disabled one, a submenu lists its entries as text and path; "?" marks a
// submenu or entry that cannot be dragged as the file it names or shows no path or icon.
QStringList describe(const QMenu* a_menu, const QString& a_configPath)
{
    QStringList lines;
    for (const QAction* action : a_menu->actions()) {
        QString line = (action->isEnabled() ? QString() : QStringLiteral("!")) + action->text();
        if (const QMenu* submenu = action->menu()) {
            QStringList entries;
            for (const QAction* entry : submenu->actions()) {
                const QUrl url(entry->property(DragMenu::dragUrlProperty).toString());
                entries << entry->text() + " " + QDir(a_configPath).relativeFilePath(entry->toolTip()) +
                               (url.toLocalFile() == QDir::fromNativeSeparators(entry->toolTip()) &&
                                        !entry->icon().isNull()
                                    ? ""
                                    : "?");
            }
            line += (qobject_cast<const DragMenu*>(submenu) && submenu->toolTipsVisible() ? " {" : " ?{") +
                    entries.join(", ") + "}";
        }
        lines << line;
    }
    return lines;
}

// Board 0: Camera Link; board 1: CoaXPress with a camera. Names are listed out of order on purpose.
const char* const g_registerMachine = R"({"boards": [
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

class TestBoardSources : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    QString m_config;

    void loadMachine(const QJsonArray& a_boards)
    {
        QVERIFY(OrvexTest::loadSimBoards(m_dir.filePath("boards.json"),
                                         QJsonDocument(QJsonObject{{"boards", a_boards}}).toJson()));
    }

    void loadRegisterMachine()
    {
        QVERIFY(OrvexTest::loadSimBoards(m_dir.filePath("boards.json"), g_registerMachine));
    }

    // A name ending in "/" is made a folder.
    void createFiles(const QStringList& a_relative)
    {
        for (const QString& name : a_relative) {
            const QString path = m_config + "/" + name;
            QVERIFY(name.endsWith('/') ? QDir().mkpath(path) : OrvexTest::writeFile(path, {}));
        }
    }

private slots:
    void initTestCase()
    {
        OrvexTest::isolateSettings(QStringLiteral("OrvexBoardSourcesTest"));
        m_config = m_dir.filePath("config");
    }

    void init()
    {
        QSettings().clear();
        QVERIFY(QDir(m_config).removeRecursively());
        QVERIFY(QDir().mkpath(m_config + "/Vrm") && QDir().mkpath(m_config + "/Pld"));
    }

    void attachedFileParsing_data()
    {
        OrvexTest::addTableRows("tests/board/data/attached-files.txt",
                                {"kind", "entries", "files", "expected"});
    }

    void attachedFileParsing()
    {
        QFETCH(QByteArray, files);
        const QByteArray longMode(4084, 'M');
        loadMachine({board(QString(OrvexTest::field("kind")), true, "M",
                           QString(OrvexTest::field("entries").replace("{long}", longMode)).split(','))});
        createFiles(QString(files).split(','));
        QNBrdAttachedFilesSource source;
        source.setConfigPath(m_config);

        const QVector<QNBrdAttachedFilesSource::Board> boards = source.boards();
        QCOMPARE(boards.size(), 1);
        QStringList found;
        for (const QNBrdAttachedFilesSource::AttachedFile& file : boards[0].files)
            found << file.fileMode + ":" + QDir(m_config).relativeFilePath(file.filePath);
        QCOMPARE(
            found,
            QString(OrvexTest::field("expected").replace("{long}", longMode)).split(',', Qt::SkipEmptyParts));
    }

    void menuAndPage_data() { OrvexTest::addTextRows("tests/board/data/menu-and-page.txt"); }

    void menuAndPage()
    {
        const QJsonArray boards =
            OrvexTest::rowText("boards") == "three"
                ? threeBoards()
                : QJsonDocument::fromJson(OrvexTest::rowText("boards").toUtf8()).array();
        const auto list = [](const char* a_column) {
            return OrvexTest::rowText(a_column).split(';', Qt::SkipEmptyParts);
        };
        const QStringList menu = list("menu");
        const QStringList page = list("page");
        const QStringList selected = list("selected");

        loadMachine(boards);
        createFiles({"Vrm/a.lumex", "Pld/b.lumex"});
        DragMenu dragMenu;
        QNBrdAttachedFilesSource source(&dragMenu);
        QSignalSpy changed(&source, &QNBrdAttachedFilesSource::attachedFilesChanged);
        source.setConfigPath(m_config);
        QCOMPARE(changed.count(), boards.isEmpty() ? 0 : 1);

        QCOMPARE(describe(&dragMenu, m_config), menu);
        QStringList selections;
        connect(&source, &QNBrdAttachedFilesSource::fileSelected, this,
                [&](const QString& a_path, const QString& a_mode, int a_board) {
                    selections << a_mode + ":" + QDir(m_config).relativeFilePath(a_path) + " " +
                                      QString::number(a_board);
                });
        for (const QAction* action : dragMenu.actions()) {
            for (QAction* entry : action->menu() ? action->menu()->actions() : QList<QAction*>())
                entry->trigger();
        }

        QWidget window;
        QWidget* documents = source.documentsPageWidget(&window);
        QStringList texts;
        for (const QObject* child : documents->children()) {
            if (const auto* label = qobject_cast<const QLabel*>(child))
                texts << label->text();
            else if (const auto* button = qobject_cast<const QToolButton*>(child))
                texts << button->text();
        }
        QCOMPARE(texts, page);
        QCOMPARE(selections, selected);
        selections.clear();
        for (QToolButton* button : documents->findChildren<QToolButton*>())
            QTest::mouseClick(button, Qt::LeftButton);
        QCOMPARE(selections, selected);

        // Scanning the same boards again changes nothing.
        source.update();
        QCOMPARE(changed.count(), boards.isEmpty() ? 0 : 1);
    }

    void noSecondScanWhileOpenOrScanning()
    {
        loadMachine(threeBoards({"b.lumex", "c.lumex"}));
        createFiles({"Vrm/a.lumex", "Pld/b.lumex"});
        QNBrdAttachedFilesSource source;
        source.setConfigPath(m_config);
        QSignalSpy changed(&source, &QNBrdAttachedFilesSource::attachedFilesChanged);
        const auto fileCount = [&source] { return source.boards().value(1).files.size(); };

        createFiles({"Pld/c.lumex"});
        source.menu()->popup(QPoint(10, 10));
        QCOMPARE(changed.count(), 1);
        QCOMPARE(fileCount(), 2);

        QVERIFY(QFile::remove(m_config + "/Pld/c.lumex"));
        source.autoUpdate();
        QCOMPARE(fileCount(), 2);

        // While the boards are queried the event loop runs, and with it whatever asks for another scan.
        QString status;
        bool refreshEnabled = true;
        int filesDuringScan = -1;
        QTimer::singleShot(0, &source, [&] {
            status = source.menu()->actions().first()->text();
            refreshEnabled = source.refreshAction()->isEnabled();
            source.update();
            filesDuringScan = fileCount();
        });
        source.refreshAction()->trigger();
        QCOMPARE(status, QStringLiteral("Querying VFG 0"));
        QVERIFY(!refreshEnabled);
        QCOMPARE(filesDuringScan, 2);
        QCOMPARE(changed.count(), 2);
        QCOMPARE(fileCount(), 1);
        QCOMPARE(source.menu()->actions().first(), source.refreshAction());
        QVERIFY(source.refreshAction()->isEnabled());

        createFiles({"Pld/c.lumex"});
        source.menu()->hide();
        source.menu()->popup(QPoint(10, 10));
        QCOMPARE(changed.count(), 3);
        QCOMPARE(fileCount(), 2);
    }

    void populateAndPick_data()
    {
        OrvexTest::addTableRows("tests/board/data/data-source.txt",
                                {"filter", "storedFor", "recent", "boards", "opened", "pick", "removed",
                                 "after", "recentAfter", "changes"});
    }

    void populateAndPick()
    {
        QFETCH(QByteArray, filter);
        QFETCH(QByteArray, storedFor);
        QFETCH(QByteArray, opened);
        QFETCH(QByteArray, pick);
        QFETCH(QByteArray, after);
        QFETCH(QByteArray, changes);
        const QStringList recentNames = QString(OrvexTest::field("recent")).split(',', Qt::SkipEmptyParts);
        const QStringList all{g_alpha, g_beta, "Bd (2)"};
        QStringList names;
        for (const QString& number : QString(OrvexTest::field("boards")).split(',', Qt::SkipEmptyParts))
            names << all.value(number.toInt());
        const QString key = QNBrdDataSource::recentBoardsKey(BoardTypes(filter.toInt()));

        loadMachine(threeBoards());
        QSettings().setValue(QNBrdDataSource::recentBoardsKey(BoardTypes(storedFor.toInt())), recentNames);
        auto source = std::make_unique<QNBrdDataSource>(BoardTypes(filter.toInt()));
        QStringList texts;
        for (int index = 1; index < source->count(); ++index) {
            texts << source->itemText(index);
            QCOMPARE(source->itemData(index).toInt(), source->itemText(index).mid(4, 1).toInt());
        }
        QCOMPARE(source->itemData(0).toInt(), -1);
        QCOMPARE(texts, names);
        QCOMPARE(source->board(), quint32(opened.toInt()));
        QCOMPARE(source->currentData().toInt(), opened.toInt());
        const HwBrdHandle first = source->boardHandle();
        QCOMPARE(handleOpen(first), opened.toInt() >= 0);
        QCOMPARE(source->recentBoards(), storedFor == filter ? recentNames : QStringList());
        if (pick.isEmpty())
            return;

        QSignalSpy changed(source.get(), &QNBrdDataSource::sourceChanged);
        if (OrvexTest::field("removed") == "true")
            loadMachine({threeBoards()[0]});
        source->setCurrentIndex(pick.toInt());
        emit source->activated(pick.toInt());
        QCOMPARE(source->board(), quint32(after.toInt()));
        QCOMPARE(source->currentIndex(), after.toInt() < 0 ? 0 : pick.toInt());
        QCOMPARE(QSettings().value(key).toStringList(), QString(OrvexTest::field("recentAfter")).split(','));
        QCOMPARE(changed.count(), changes.toInt());
        QCOMPARE(handleOpen(first), changes == "0");
        const HwBrdHandle current = source->boardHandle();
        QCOMPARE(handleOpen(current), after.toInt() >= 0);
        source.reset();
        QVERIFY(!handleOpen(current));
    }

    // The only board of the kind asked for is chosen, by its number, not by its row.
    void onlyBoardOfTheKindChosen()
    {
        loadMachine(threeBoards());
        QNBrdModeOpenDialog dialog;
        dialog.setBoardTypeFilter(BoardType::CoaXPress);
        QCOMPARE(dialog.boardNames(), QStringList{g_beta});
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
        loadMachine(threeBoards());
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
        loadMachine(threeBoards());
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
    void addressTable_data()
    {
        OrvexTest::addTableRows("tests/board/data/register-names.txt", {"board", "names", "lookup", "id"});
    }

    void addressTable()
    {
        loadRegisterMachine();
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
        loadRegisterMachine();
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
        if (camera)
            QTRY_VERIFY(!static_cast<QNCxpRegsDataItemModel*>(model.data())->isReading());
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

    void registerEntry_data()
    {
        OrvexTest::addTableRows("tests/board/data/register-entry.txt", {"role", "typed", "state"});
    }

    // What a register field lets the user type, with the schema's hexadecimal pattern.
    void registerEntry()
    {
        QFETCH(QByteArray, role);
        QFETCH(QByteArray, typed);
        QFETCH(QByteArray, state);
        // Owns what the wiring makes; outlives the feature that uses it.
        QObject owner;
        HolderElement holder;
        StringFeature feature(&holder);
        feature.setStringPattern(
            QRegExp("0[xX][0-9A-Fa-f]{1,8}", Qt::CaseSensitive, QRegExp::W3CXmlSchema11));
        RegisterFeatureWiring wiring;
        wiring.setOwner(&owner);
        wiring.attach(&feature, role == "board data"       ? RegisterFeatureWiring::BoardRegisterData
                                : role == "camera address" ? RegisterFeatureWiring::CameraRegisterAddress
                                : role == "camera data"    ? RegisterFeatureWiring::CameraRegisterData
                                                           : RegisterFeatureWiring::BoardRegisterAddress);
        QVERIFY(holder.show(feature));
        QString text(typed);
        int position = text.size();
        const QValidator::State expected = state == "taken"   ? QValidator::Acceptable
                                           : state == "begun" ? QValidator::Intermediate
                                                              : QValidator::Invalid;
        QCOMPARE(feature.widget()->findChild<QLineEdit*>()->validator()->validate(text, position), expected);
    }

    void observers_data()
    {
        OrvexTest::addTableRows("tests/board/data/register-observers.txt",
                                {"kind", "board", "typed", "address", "data"});
    }

    void observers()
    {
        loadRegisterMachine();
        QFETCH(QByteArray, board);
        QFETCH(QByteArray, address);
        QFETCH(QByteArray, data);
        QNBrdDataSource source;
        QNBrdRegsAddressItemModel addressModel(&source);
        Dec2HexValueObserver dec2hex;
        QNBrdRegsValueObserver boardObserver(&addressModel);
        QNCxpRegsValueObserver cameraObserver(&source);
        source.setBoard(board == "none" ? QNBrdDataSource::noBoard : board.toUInt());
        const QByteArray kind = OrvexTest::field("kind");
        RegisterWrites writes(kind == "camera" ? QList<ValueFeatureObserverBase*>{&dec2hex, &cameraObserver}
                              : kind == "decimal" ? QList<ValueFeatureObserverBase*>{&dec2hex}
                                                  : QList<ValueFeatureObserverBase*>{&boardObserver});
        QSignalSpy dataChanges(writes.member(1, "data"), &ValueFeatureElementBase::valueChanged);

        // Addresses typed one after the other before the camera answers.
        for (const QByteArray& typed : OrvexTest::field("typed").split(';'))
            writes.member(1, "address")->userSetValue(0, QString(typed));
        QTRY_VERIFY(!cameraObserver.isReading());
        QCOMPARE(writes.member(1, "address")->stringValue(), QString(address));
        QCOMPARE(writes.member(1, "data")->stringValue(), QString(data));
        QCOMPARE(dataChanges.count(), data == "keep" ? 0 : 1);
        QCOMPARE(writes.member(0, "data")->stringValue(), QStringLiteral("keep"));
    }
};

QTEST_MAIN(TestBoardSources)
#include "tst_boardsources.moc"
