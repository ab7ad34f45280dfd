#include "BoardFixtures.h"
#include "ElementFixtures.h"
#include "WindowFixtures.h"
#include "app/LumexExtraDataDialog.h"
#include "app/Window.h"

#include <QAction>
#include <QDir>
#include <QFile>
#include <QProgressDialog>
#include <QPushButton>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QTreeWidget>

using namespace Orvex;
using namespace OrvexTest;

class TestWindow : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_dir;

private slots:
    void initTestCase() { isolateSettings(QStringLiteral("Orvex")); }

    void init() { QVERIFY((m_dir = startWindowTest())->isValid()); }

    void cancelDuringLoad()
    {
        auto window = makeWindow();
        QTimer::singleShot(0, window.get(), [&window] {
            auto* dialog = window->findChild<QProgressDialog*>();
            QVERIFY(dialog && dialog->isVisible());
            dialog->findChild<QPushButton*>()->click();
        });
        QVERIFY(!window->openFile(copyExample(m_dir->filePath("cam.lumex"))));
        QVERIFY(!window->hasDocument());
        QVERIFY(window->isDocumentsPageShown());
        QCOMPARE(messages(), QStringList());
    }

    // The dialog is filled when it is asked for, with the document open then: a file with comments, then
    // one without.
    void extraDataOfOpenDocument()
    {
        auto window = makeWindow();
        const QString commented = copyExample(m_dir->filePath("commented.lumex"));
        QFile file(commented);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray plain =
            QString::fromUtf8(file.readAll()).remove(QRegularExpression("(?s)<!--.*?-->")).toUtf8();
        const QString uncommented = m_dir->filePath("plain.lumex");
        QFile out(uncommented);
        QVERIFY(out.open(QIODevice::WriteOnly) && out.write(plain) == plain.size());
        out.close();
        QAction* action = nullptr;
        for (QAction* candidate : window->findChildren<QAction*>())
            action = candidate->text() == QLatin1String("&Extra Data...") ? candidate : action;
        QVERIFY(action);
        for (const QString& path : {commented, uncommented}) {
            QVERIFY(window->openFile(path));
            int comments = -1;
            QTimer::singleShot(0, window.get(), [&] {
                QTreeWidget* tree = window->extraDataDialog()->tree();
                comments = tree->findItems("#comment", Qt::MatchExactly | Qt::MatchRecursive).size();
                window->extraDataDialog()->reject();
            });
            action->trigger();
            QCOMPARE(comments > 0, path == commented);
            QVERIFY(window->closeDocument());
        }
    }

    void titleRule_data() { addTextRows("tests/app/data/title-rule.txt"); }

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
