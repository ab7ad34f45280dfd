#include "BoardFixtures.h"
#include "TestSupport.h"
#include "WindowFixtures.h"
#include "app/CameraTreeModel.h"
#include "app/Window.h"
#include "elements/CameraElement.h"
#include "elements/ModeCategoryElementBase.h"
#include "elements/ModeElement.h"
#include "elements/ValueFeatureElementBase.h"
#include "elements/WindowElement.h"
#include "widgets/DialogSeam.h"

#include <QAbstractSpinBox>
#include <QAction>
#include <QDir>
#include <QLabel>
#include <QMenu>
#include <QProgressDialog>
#include <QPushButton>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QToolButton>
#include <QTreeView>

using namespace Orvex;
using namespace OrvexTest;

namespace {

// The exposure time of the "Default" mode, on its "Timing" page.
ValueFeatureElementBase* exposure(const Window& a_window)
{
    const ModeElement* mode = a_window.windowElement()->camera()->modeByName("Default");
    for (int position = 0; position < mode->categoryCount(); ++position) {
        if (mode->category(position)->name() == "Timing")
            return qobject_cast<ValueFeatureElementBase*>(mode->category(position)->feature("ExposureTime"));
    }
    return nullptr;
}

// Picks the mode in the tree and the page's tab as a user would; the exposure's editor, if shown.
QAbstractSpinBox* exposureEditor(Window& a_window)
{
    a_window.cameraTreeView()->setCurrentIndex(a_window.cameraTreeModel()->modeIndex(0));
    for (int tab = 0; tab < a_window.categoryTabs()->count(); ++tab) {
        if (a_window.categoryTabs()->tabText(tab) == "Timing")
            a_window.categoryTabs()->setCurrentIndex(tab);
    }
    QWidget* editor = exposure(a_window)->widget();
    return editor ? editor->findChild<QAbstractSpinBox*>() : nullptr;
}

} // namespace

class TestWindow : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_dir;

    QString example() { return copyExample(m_dir->filePath("cam.lumex")); }

private slots:
    void initTestCase() { isolateSettings(QStringLiteral("Orvex")); }

    void init() { QVERIFY((m_dir = startWindowTest())->isValid()); }

    void editSaveAndReopen()
    {
        auto window = makeWindow();
        QVERIFY(window->isDocumentsPageShown());
        QVERIFY(!windowAction(*window, "&Save")->isEnabled());
        QVERIFY(window->openFile(example()));
        QVERIFY(!window->isDocumentsPageShown());
        QCOMPARE(window->nameLabel()->text(), QStringLiteral("<h3>&nbsp;Camera</h3>"));
        auto* changes = window->findChild<QToolButton*>("RecentChangesButton");
        QVERIFY(!changes->isEnabled());
        QCOMPARE(changes->menu()->actions().size(), 1);

        QVERIFY(exposureEditor(*window) && window->nameLabel()->text().contains("<a href=\"mode:Default\""));
        QTabWidget* tabs = window->categoryTabs();
        // Back to the camera's page and forward again: the window follows the pages the document goes to.
        const QStringList pages{"Sensor", "Global Features", "Sensor", "Timing"};
        for (int step = 0; step < pages.size(); ++step) {
            QTest::mouseClick(window->cameraTreeView()->viewport(),
                              step < 2 ? Qt::BackButton : Qt::ForwardButton);
            QTRY_COMPARE(tabs->tabText(tabs->currentIndex()), pages[step]);
        }

        QAbstractSpinBox* editor = exposureEditor(*window);
        editor->setFocus();
        editor->selectAll();
        QTest::keyClicks(editor, "7000");
        QTest::keyClick(editor, Qt::Key_Return);
        const auto value = [&window] { return exposure(*window)->value().toDouble(); };
        QCOMPARE(value(), 7000.0);
        QVERIFY(window->isDocumentModified());
        QCOMPARE(changes->defaultAction(), windowAction(*window, "&Undo"));
        QVERIFY(changes->isEnabled());
        windowAction(*window, "&Undo")->trigger();
        QCOMPARE(value(), 5000.0);
        QVERIFY(!window->isDocumentModified());
        windowAction(*window, "&Redo")->trigger();

        // A name without a suffix is given the camera files' one.
        DialogSeam::queueFileName(m_dir->filePath("saved"));
        QVERIFY(window->saveAs());
        const QString saved = m_dir->filePath("saved.lumex");
        QVERIFY(!window->isDocumentModified());
        QCOMPARE(window->documentPath(), QDir::toNativeSeparators(saved));
        QCOMPARE(window->windowTitle(), Window::titleFor(saved));
        QCOMPARE(runXmllint(saved, sourcePath("config/Vrm/LUMEX-CL.xsd")), 0);

        QVERIFY(window->closeDocument());
        QVERIFY(window->isDocumentsPageShown());
        QCOMPARE(window->windowTitle(), QStringLiteral("Orvex"));
        QVERIFY(window->openFile(saved, "Precision"));
        QCOMPARE(value(), 7000.0);
        QCOMPARE(window->cameraTreeModel()->selectedMode()->name(), QStringLiteral("Precision"));
        QVERIFY(window->categoryTabs()->count() > 1);
        QCOMPARE(messages(), QStringList());
    }

    void cancelDuringLoad()
    {
        auto window = makeWindow();
        QTimer::singleShot(0, window.get(), [&window] {
            auto* dialog = window->findChild<QProgressDialog*>();
            QVERIFY(dialog && dialog->isVisible());
            dialog->findChild<QPushButton*>()->click();
        });
        QVERIFY(!window->openFile(example()));
        QVERIFY(!window->hasDocument());
        QVERIFY(window->isDocumentsPageShown());
        QCOMPARE(messages(), QStringList());
    }

    void openWithMissingMode()
    {
        auto window = makeWindow();
        QVERIFY(window->openFile(example(), "Turbo", -1));
        QCOMPARE(messages(true), QStringList{"Mode Missing"});
        QVERIFY(!window->windowElement()->camera()->currentMode());
    }

    void titleRule_data()
    {
        QTest::addColumn<QString>("folder");
        QTest::addColumn<QString>("shown");
        // Folders that do not exist are shown as given, however long the temporary folder's path is.
        const QString folder32 = QDir::toNativeSeparators(QDir::rootPath() + QString(31, 'f'));
        QTest::newRow("32 characters shown whole") << folder32 << folder32;
        QTest::newRow("33 characters cut") << folder32 + "g" << folder32 + "...";
        QTest::newRow("no doubled separator at the root") << QDir::toNativeSeparators(QDir::rootPath()) << "";
    }

    void titleRule()
    {
        QFETCH(QString, folder);
        QFETCH(QString, shown);
        const QString file = QDir::toNativeSeparators(QDir(folder).filePath("cam.lumex"));
        QCOMPARE(Window::titleFor(file), "Orvex (" + shown + QDir::separator() + "cam.lumex)");
    }
};

QTEST_MAIN(TestWindow)
#include "tst_window.moc"
