#include "TestSupport.h"
#include "app/CameraTreeModel.h"
#include "app/Window.h"
#include "elements/CameraElement.h"
#include "elements/CategoryElementBase.h"
#include "elements/ModeCategoryElementBase.h"
#include "elements/ModeElement.h"
#include "elements/ValueFeatureElementBase.h"
#include "elements/WindowElement.h"
#include "widgets/DialogSeam.h"

#include <QAbstractSpinBox>
#include <QAction>
#include <QApplication>
#include <QDir>
#include <QDragEnterEvent>
#include <QFile>
#include <QLabel>
#include <QMenu>
#include <QMimeData>
#include <QProgressDialog>
#include <QPushButton>
#include <QSettings>
#include <QStandardPaths>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QToolButton>
#include <QTreeView>

#include <memory>

using namespace Orvex;

Q_DECLARE_METATYPE(QMessageBox::StandardButton)

namespace {

const QString s_clSchema = QStringLiteral("config/Vrm/LUMEX-CL.xsd");

std::unique_ptr<Window> makeWindow()
{
    auto window = std::make_unique<Window>();
    window->setConfigPath(OrvexTest::sourcePath("config"));
    window->setCxpXsdPath(OrvexTest::sourcePath("config/Pld/LUMEX-CXP.xsd"));
    window->setClXsdPath(OrvexTest::sourcePath(s_clSchema));
    return window;
}

QAction* action(const Window& a_window, const QString& a_text)
{
    for (QAction* candidate : a_window.findChildren<QAction*>()) {
        if (candidate->text() == a_text)
            return candidate;
    }
    return nullptr;
}

// The titles of the message boxes shown so far; file choosers are left out.
QStringList titles()
{
    QStringList result;
    for (const DialogSeam::Record& record : DialogSeam::log()) {
        if (record.m_kind != DialogSeam::Kind::OpenFileName &&
            record.m_kind != DialogSeam::Kind::SaveFileName)
            result << record.m_title;
    }
    return result;
}

// Picks the mode in the tree and the category tab as a user would, and returns the feature's editor.
QAbstractSpinBox* numericEditor(Window& a_window, const QString& a_mode, const QString& a_category,
                                const QString& a_feature)
{
    CameraTreeModel* tree = a_window.cameraTreeModel();
    ModeElement* mode = a_window.windowElement()->camera()->modeByName(a_mode);
    const QModelIndex row = tree->modeIndex(a_window.windowElement()->camera()->indexOfMode(mode));
    a_window.cameraTreeView()->setCurrentIndex(row);
    QTabWidget* tabs = a_window.categoryTabs();
    for (int tab = 0; tab < tabs->count(); ++tab) {
        if (tabs->tabText(tab) == a_category)
            tabs->setCurrentIndex(tab);
    }
    CategoryElementBase* category = a_window.tabCategory(tabs->currentIndex());
    if (!category || category->name() != a_category || !category->widget())
        return nullptr;
    auto* feature = qobject_cast<ValueFeatureElementBase*>(category->feature(a_feature));
    return feature && feature->widget() ? feature->widget()->findChild<QAbstractSpinBox*>() : nullptr;
}

QVariant featureValue(Window& a_window, const QString& a_mode, const QString& a_category,
                      const QString& a_feature)
{
    ModeElement* mode = a_window.windowElement()->camera()->modeByName(a_mode);
    for (int position = 0; mode && position < mode->categoryCount(); ++position) {
        if (mode->category(position)->name() != a_category)
            continue;
        const auto* feature =
            qobject_cast<ValueFeatureElementBase*>(mode->category(position)->feature(a_feature));
        return feature ? feature->value() : QVariant();
    }
    return QVariant();
}

QStringList modeNames(const Window& a_window)
{
    QStringList names;
    CameraTreeModel* tree = a_window.cameraTreeModel();
    for (int row = 0; row < tree->rowCount(tree->cameraIndex()); ++row)
        names << tree->modeIndex(row).data().toString();
    return names;
}

} // namespace

class TestWindow : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void editSaveAndReopen();
    void saveStateQuestionOnClose_data();
    void saveStateQuestionOnClose();
    void cancelDuringLoad();
    void fileChangedOnDisk();
    void openWithMode_data();
    void openWithMode();
    void dragAndDrop_data();
    void dragAndDrop();
    void titleRule_data();
    void titleRule();

private:
    QString copyExample(const QString& a_name = QStringLiteral("Example_CL.lumex"));

    std::unique_ptr<QTemporaryDir> m_dir;
};

void TestWindow::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    QCoreApplication::setOrganizationName(QStringLiteral("Quarnel"));
    QCoreApplication::setApplicationName(QStringLiteral("Orvex"));
    QSettings().clear();
}

void TestWindow::init()
{
    DialogSeam::reset();
    DialogSeam::setTestMode(true);
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
}

QString TestWindow::copyExample(const QString& a_name)
{
    const QString path = m_dir->filePath(a_name);
    QFile::remove(path);
    if (!QFile::copy(OrvexTest::sourcePath("examples/Example_CL.lumex"), path))
        return QString();
    QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner);
    return path;
}

void TestWindow::editSaveAndReopen()
{
    auto window = makeWindow();
    QVERIFY(window->isDocumentsPageShown());
    QVERIFY(!action(*window, "&Save")->isEnabled());
    QVERIFY(window->openFile(copyExample()));
    QVERIFY(!window->isDocumentsPageShown());
    QCOMPARE(modeNames(*window), (QStringList{"Default", "Fast", "Precision", "Calibration"}));
    QCOMPARE(window->categoryTabs()->count(), 1);
    QCOMPARE(window->nameLabel()->text(), QStringLiteral("<h3>&nbsp;Camera</h3>"));

    auto* changesButton = window->findChild<QToolButton*>("RecentChangesButton");
    QVERIFY(changesButton && changesButton->menu());
    QVERIFY(!changesButton->isEnabled());
    QCOMPARE(changesButton->menu()->actions().size(), 1);
    QCOMPARE(changesButton->menu()->actions().first()->text(), QStringLiteral("No Recent Changes"));

    QVERIFY(numericEditor(*window, "Default", "Timing", "ExposureTime"));
    QVERIFY(window->nameLabel()->text().contains("<a href=\"mode:Default\""));
    const auto currentTab = [&window] {
        return window->categoryTabs()->tabText(window->categoryTabs()->currentIndex());
    };
    QTest::mouseClick(window->cameraTreeView()->viewport(), Qt::BackButton);
    QTRY_COMPARE(currentTab(), QStringLiteral("Sensor"));
    QTest::mouseClick(window->cameraTreeView()->viewport(), Qt::ForwardButton);
    QTRY_COMPARE(currentTab(), QStringLiteral("Timing"));

    QAbstractSpinBox* exposure = numericEditor(*window, "Default", "Timing", "ExposureTime");
    QVERIFY(exposure);
    exposure->setFocus();
    exposure->selectAll();
    QTest::keyClicks(exposure, "7000");
    QTest::keyClick(exposure, Qt::Key_Return);
    QCOMPARE(featureValue(*window, "Default", "Timing", "ExposureTime").toDouble(), 7000.0);
    QVERIFY(window->isDocumentModified());
    QVERIFY(changesButton->isEnabled());
    QCOMPARE(changesButton->defaultAction(), changesButton->menu()->actions().first());

    action(*window, "&Undo")->trigger();
    QCOMPARE(featureValue(*window, "Default", "Timing", "ExposureTime").toDouble(), 5000.0);
    QVERIFY(!window->isDocumentModified());
    action(*window, "&Redo")->trigger();
    QCOMPARE(featureValue(*window, "Default", "Timing", "ExposureTime").toDouble(), 7000.0);

    // The clone follows the edited mode and is renamed in place, as the tree's editor commits.
    window->cameraTreeView()->setCurrentIndex(window->cameraTreeModel()->modeIndex(0));
    action(*window, "&Clone")->trigger();
    QCOMPARE(modeNames(*window).at(1), QStringLiteral("Default_1"));
    QVERIFY(window->cameraTreeModel()->setData(window->cameraTreeModel()->modeIndex(1), "Slow"));
    QCOMPARE(window->windowElement()->camera()->currentMode()->name(), QStringLiteral("Slow"));

    const QString savedPath = m_dir->filePath("saved.lumex");
    DialogSeam::queueFileName(savedPath);
    const bool savedOk = window->saveAs();
    QVERIFY(savedOk);
    QVERIFY(!window->isDocumentModified());
    QCOMPARE(window->documentPath(), QDir::toNativeSeparators(savedPath));
    QCOMPARE(window->windowTitle(), Window::titleFor(savedPath));
    QString lint;
    QCOMPARE(OrvexTest::runXmllint(savedPath, OrvexTest::sourcePath(s_clSchema), &lint), 0);

    QVERIFY(window->closeDocument());
    QVERIFY(window->isDocumentsPageShown());
    QCOMPARE(window->windowTitle(), QStringLiteral("Orvex"));
    QVERIFY(window->openFile(savedPath));
    QCOMPARE(modeNames(*window), (QStringList{"Default", "Slow", "Fast", "Precision", "Calibration"}));
    QCOMPARE(featureValue(*window, "Default", "Timing", "ExposureTime").toDouble(), 7000.0);
    QCOMPARE(featureValue(*window, "Slow", "Timing", "ExposureTime").toDouble(), 7000.0);
    QVERIFY(titles().isEmpty());
}

void TestWindow::saveStateQuestionOnClose_data()
{
    QTest::addColumn<QMessageBox::StandardButton>("answer");
    QTest::addColumn<bool>("closed");

    QTest::newRow("cancel keeps the document") << QMessageBox::Cancel << false;
    QTest::newRow("discard closes it") << QMessageBox::Discard << true;
}

void TestWindow::saveStateQuestionOnClose()
{
    QFETCH(QMessageBox::StandardButton, answer);
    QFETCH(bool, closed);

    auto window = makeWindow();
    window->show();
    QVERIFY(window->openFile(copyExample()));
    window->cameraTreeView()->setCurrentIndex(window->cameraTreeModel()->modeIndex(1));
    action(*window, "Move &Up")->trigger();
    QCOMPARE(modeNames(*window).first(), QStringLiteral("Fast"));

    DialogSeam::queueAnswer(answer);
    QCOMPARE(window->close(), closed);
    QCOMPARE(titles(), QStringList{"Save File State?"});
    QCOMPARE(DialogSeam::log().first().m_defaultButton, QMessageBox::Cancel);
    QCOMPARE(window->hasDocument(), !closed);
}

void TestWindow::cancelDuringLoad()
{
    auto window = makeWindow();
    QTimer::singleShot(0, window.get(), [&window] {
        auto* dialog = window->findChild<QProgressDialog*>();
        QVERIFY(dialog);
        QVERIFY(dialog->isVisible());
        QCOMPARE(dialog->windowTitle(), QStringLiteral("File Load Progress"));
        const auto buttons = dialog->findChildren<QPushButton*>();
        QCOMPARE(buttons.size(), 1);
        buttons.first()->click();
    });
    QVERIFY(!window->openFile(copyExample()));
    QVERIFY(!window->hasDocument());
    QVERIFY(window->isDocumentsPageShown());
    QVERIFY(titles().isEmpty());
}

void TestWindow::fileChangedOnDisk()
{
    auto window = makeWindow();
    const QString path = copyExample();
    QVERIFY(window->openFile(path));
    QVERIFY(window->save());
    QTest::qWait(200);
    QVERIFY(titles().isEmpty());

    DialogSeam::queueAnswer(QMessageBox::No);
    QFile file(path);
    QVERIFY(file.open(QIODevice::Append));
    file.write("<!-- touched by another program -->\n");
    file.close();
    QTRY_COMPARE(titles(), QStringList{"Current File Changed"});
    QVERIFY(DialogSeam::log().first().m_text.startsWith("<p>" + QDir::toNativeSeparators(path) + "</p>"));
    QVERIFY(window->isDocumentModified());

    DialogSeam::queueAnswer(QMessageBox::Discard);
    QVERIFY(window->closeDocument());
    QCOMPARE(titles(), (QStringList{"Current File Changed", "Save File State?"}));
}

void TestWindow::openWithMode_data()
{
    QTest::addColumn<QString>("mode");
    QTest::addColumn<QString>("shown");
    QTest::addColumn<QStringList>("messages");

    QTest::newRow("existing") << "Precision"
                              << "Precision" << QStringList();
    QTest::newRow("missing") << "Turbo" << QString() << QStringList{"Mode Missing"};
}

void TestWindow::openWithMode()
{
    QFETCH(QString, mode);
    QFETCH(QString, shown);
    QFETCH(QStringList, messages);

    auto window = makeWindow();
    QVERIFY(window->openFile(copyExample(), mode, -1));
    QCOMPARE(titles(), messages);
    ModeElement* current = window->windowElement()->camera()->currentMode();
    QCOMPARE(current ? current->name() : QString(), shown);
    QCOMPARE(window->cameraTreeModel()->selectedMode(), current);
    QCOMPARE(window->categoryTabs()->count() > 1, !shown.isEmpty());
}

void TestWindow::dragAndDrop_data()
{
    QTest::addColumn<QStringList>("names");
    QTest::addColumn<bool>("accepted");

    QTest::newRow("one camera file") << QStringList{"a.lumex"} << true;
    QTest::newRow("two camera files") << QStringList{"a.lumex", "b.lumex"} << false;
    QTest::newRow("other kind of file") << QStringList{"a.xml"} << false;
}

void TestWindow::dragAndDrop()
{
    QFETCH(QStringList, names);
    QFETCH(bool, accepted);

    auto window = makeWindow();
    QMimeData mime;
    QList<QUrl> urls;
    for (const QString& name : names)
        urls << QUrl::fromLocalFile(copyExample(name));
    mime.setUrls(urls);

    QDragEnterEvent enter(QPoint(10, 10), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(window.get(), &enter);
    QCOMPARE(enter.isAccepted(), accepted);
    QDropEvent drop(QPointF(10, 10), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(window.get(), &drop);
    QCOMPARE(drop.isAccepted(), accepted);
    QCOMPARE(window->hasDocument(), accepted);
    if (accepted)
        QCOMPARE(window->documentPath(), QDir::toNativeSeparators(m_dir->filePath(names.first())));
}

void TestWindow::titleRule_data()
{
    QTest::addColumn<int>("folderLength");
    QTest::addColumn<bool>("cut");

    QTest::newRow("32 characters shown whole") << 32 << false;
    QTest::newRow("33 characters cut") << 33 << true;
}

void TestWindow::titleRule()
{
    QFETCH(int, folderLength);
    QFETCH(bool, cut);

    const QString base = QDir::toNativeSeparators(QFileInfo(m_dir->path()).canonicalFilePath());
    const int nameLength = folderLength - base.size() - 1;
    QVERIFY(nameLength > 0);
    const QString folder = base + QDir::separator() + QString(nameLength, QLatin1Char('f'));
    QVERIFY(QDir().mkpath(folder));
    const QString file = folder + QDir::separator() + "cam.lumex";

    const QString shown = cut ? folder.left(32) + "..." + QDir::separator() : folder + QDir::separator();
    QCOMPARE(Window::titleFor(file), "Orvex (" + shown + "cam.lumex)");
}

QTEST_MAIN(TestWindow)
#include "tst_window.moc"
