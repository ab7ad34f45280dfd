#include "BoardFixtures.h"
#include "FileFixtures.h"
#include "app/RecentlyOpenedFilesSource.h"
#include "widgets/DragMenu.h"

#include <QApplication>
#include <QDir>
#include <QDrag>
#include <QMimeData>
#include <QMouseEvent>
#include <QSettings>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QToolButton>

#include <memory>

using namespace Orvex;

namespace {

QStringList canonical(const QStringList& a_names)
{
    QStringList result;
    for (const QString& name : a_names)
        result << QFileInfo(name).canonicalFilePath();
    return result;
}

void store(const QStringList& a_paths)
{
    QSettings().setValue("recent_documents", a_paths);
}

} // namespace

class TestRecentFiles : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_dir;

private slots:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        QCoreApplication::setOrganizationName(QStringLiteral("Quarnel"));
        QCoreApplication::setApplicationName(QStringLiteral("OrvexRecentFilesTest"));
    }

    void init()
    {
        QSettings().clear();
        m_dir = std::make_unique<QTemporaryDir>();
        QVERIFY(QDir::setCurrent(m_dir->path()));
        QStringList names{"a.lumex", "b.lumex", "c.lumex", "R&D.lumex"};
        for (int index = 1; index <= 26; ++index)
            names << QStringLiteral("f%1.lumex").arg(index);
        for (const char* folder : {"x/A", "y/A", "B"}) {
            QVERIFY(QDir().mkpath(folder));
            names << QString(folder) + "/b.lumex";
        }
        for (const QString& name : names)
            QVERIFY(QFile(name).open(QIODevice::WriteOnly));
        QVERIFY(QFile::link(m_dir->filePath("c.lumex"), "l.lumex"));
    }

    void listUpdates_data()
    {
        OrvexTest::addTableRows("tests/app/data/recentfiles.txt",
                                {"initial", "removed", "added", "expected", "changed"});
    }

    void listUpdates()
    {
        QFETCH(QByteArray, initial);
        QFETCH(QByteArray, removed);
        QFETCH(QByteArray, added);
        QFETCH(QByteArray, expected);
        QFETCH(QByteArray, changed);

        store(QString::fromUtf8(initial).split(',', Qt::SkipEmptyParts));
        RecentlyOpenedFilesSource source;
        QSignalSpy spy(&source, &RecentlyOpenedFilesSource::recentFilesChanged);
        if (!removed.isEmpty())
            QVERIFY(QFile::remove(QString::fromUtf8(removed)));
        if (added.isEmpty())
            source.update();
        else
            source.addPath(QString::fromUtf8(added));

        const QStringList after = canonical(QString::fromUtf8(expected).split(','));
        QCOMPARE(source.recentFiles(), after);
        QCOMPARE(QSettings().value("recent_documents").toStringList(), after);
        QCOMPARE(spy.count(), changed.toInt());
    }

    void menuAndPage_data() { OrvexTest::addTableRows("tests/app/data/recent-menu.txt", {"files", "texts"}); }

    void menuAndPage()
    {
        const QStringList files = QString(OrvexTest::field("files")).split(';', Qt::SkipEmptyParts);
        const QStringList texts = QString(OrvexTest::field("texts")).split(';', Qt::SkipEmptyParts);

        const QStringList paths = canonical(files);
        store(paths);
        DragMenu menu;
        RecentlyOpenedFilesSource source(&menu);
        QWidget window;
        QWidget* page = source.documentsPageWidget(&window);
        QSignalSpy selected(&source, &RecentlyOpenedFilesSource::fileSelected);
        // The window records every file it opens, which rebuilds the list from within the entry's click.
        connect(&source, &RecentlyOpenedFilesSource::fileSelected, &source,
                &RecentlyOpenedFilesSource::addPath);

        // After the refresh action: the entries, or one disabled placeholder.
        const QList<QAction*> actions = menu.actions().mid(1);
        QList<QToolButton*> buttons = page->findChildren<QToolButton*>();
        QCOMPARE(buttons.size(), files.size());
        if (files.isEmpty()) {
            QCOMPARE(actions.size(), 1);
            QVERIFY(!actions[0]->isEnabled());
            return;
        }
        QCOMPARE(actions.size(), files.size());
        for (int index = 0; index < files.size(); ++index) {
            QCOMPARE(actions[index]->text(), texts[index]);
            QCOMPARE(actions[index]->toolTip(), QDir::toNativeSeparators(paths[index]));
            const QUrl url(actions[index]->property(DragMenu::dragUrlProperty).toString());
            QCOMPARE(url.toLocalFile(), paths[index]);
            QCOMPARE(buttons[index]->text(), texts[index]);
        }

        actions.last()->trigger();
        QCOMPARE(selected.count(), 1);
        QCOMPARE(selected.first().first().toString(), paths.last());
        QCOMPARE(menu.actions()[1]->data().toString(), paths.last());
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        buttons = page->findChildren<QToolButton*>();
        QCOMPARE(buttons.first()->text(), texts.last());
        QTest::mouseClick(buttons[1], Qt::LeftButton);
        QCOMPARE(selected.last().first().toString(), paths.first());
    }

    void autoUpdateOncePerShowing()
    {
        const QStringList abc = canonical({"a.lumex", "b.lumex", "c.lumex"});
        store(abc.mid(2));
        RecentlyOpenedFilesSource source;
        QSignalSpy changed(&source, &RecentlyOpenedFilesSource::recentFilesChanged);

        // Other windows of the editor write the store meanwhile.
        store(abc.mid(1));
        source.menu()->popup(QPoint(10, 10));
        QCOMPARE(changed.count(), 1);
        QCOMPARE(source.menu()->actions().size(), 3);
        store(abc);
        source.autoUpdate();
        QCOMPARE(changed.count(), 1);
        source.menu()->hide();
        source.menu()->popup(QPoint(10, 10));
        QCOMPARE(changed.count(), 2);
        QCOMPARE(source.recentFiles(), abc);

        store(abc.mid(2));
        source.refreshAction()->trigger();
        QCOMPARE(source.recentFiles(), abc.mid(2));
    }

    void dragMenu_data()
    {
        OrvexTest::addTableRows("tests/app/data/drag-menu.txt", {"draggable", "offset", "drags"});
    }

    void dragMenu()
    {
        const bool draggable = OrvexTest::field("draggable") == "1";
        const QPoint offset(OrvexTest::field("offset").split(' ')[0].toInt(),
                            OrvexTest::field("offset").split(' ')[1].toInt());
        const bool drags = OrvexTest::field("drags") == "1";
        QApplication::setStartDragDistance(10);
        // Elsewhere a drag runs a real nested event loop that would wait for a drop.
        if (drags && QGuiApplication::platformName() != QLatin1String("offscreen"))
            QSKIP("Starting a drag needs the offscreen platform");

        DragMenu menu;
        menu.addAction(QStringLiteral("Refresh"));
        QAction* entry = menu.addAction(QStringLiteral("a long enough file name.lumex"));
        const QUrl url(QStringLiteral("file:///cameras/a.lumex"));
        if (draggable)
            entry->setProperty(DragMenu::dragUrlProperty, url.toString());
        QSignalSpy triggered(entry, &QAction::triggered);
        menu.popup(QPoint(10, 10));
        QVERIFY(QTest::qWaitForWindowExposed(&menu));

        const QRect rect = menu.actionGeometry(entry);
        const QPoint pressed = rect.center() - offset / 2;
        for (QEvent::Type type : {QEvent::MouseButtonPress, QEvent::MouseMove, QEvent::MouseButtonRelease}) {
            const QPoint pos = type == QEvent::MouseButtonPress ? pressed : pressed + offset;
            QMouseEvent event(
                type, pos, menu.mapToGlobal(pos), type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton,
                type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::LeftButton, Qt::NoModifier);
            QApplication::sendEvent(&menu, &event);
        }

        QCOMPARE(triggered.count(), drags ? 0 : 1);
        QVERIFY(!menu.isVisible());
        auto* drag = menu.findChild<QDrag*>();
        QCOMPARE(drag != nullptr, drags);
        if (drags) {
            QCOMPARE(drag->mimeData()->urls(), QList<QUrl>{url});
            QCOMPARE(drag->pixmap().size(), rect.size() * menu.devicePixelRatioF());
            QCOMPARE(drag->supportedActions(), Qt::CopyAction);
        }
    }
};

QTEST_MAIN(TestRecentFiles)
#include "tst_recentfiles.moc"
